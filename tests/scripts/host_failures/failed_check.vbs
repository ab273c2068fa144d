CheckEqual "two", 2, 3
Done
