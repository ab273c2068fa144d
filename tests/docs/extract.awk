# Makes tests of the examples of a document: each fenced block after "<!-- example: NAME -->" becomes the body of a test,
# the "<!-- check: ... -->" after it its expectations.
BEGIN { print "#include \"docs/Guide.h\"\n\nnamespace orvo::testing {\nnamespace {\n" }
/^<!-- example: / { name = $3; next }
/^```cpp$/ && name != "" { inside = 1; print "TEST_F(Guide, " name ") {"; printf "#line %d \"%s\"\n", FNR + 1, FILENAME; next }
/^```$/ && inside { inside = 0; next }
inside { print; next }
/^<!-- check: / && name != "" {
  sub(/^<!-- check: /, ""); sub(/ -->$/, "")
  printf "#line %d \"%s\"\n", FNR, FILENAME
  print "  " $0 "\n}\n"
  name = ""
}
END { if (name != "") { print "#error example " name " has no check" } print "}  // namespace\n}  // namespace orvo::testing" }
