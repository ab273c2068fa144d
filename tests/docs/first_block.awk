# The first fenced C++ block of a document.
/^```cpp$/ { on = 1; next }
/^```$/ && on { exit }
on
