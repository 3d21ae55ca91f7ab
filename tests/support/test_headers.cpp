// The headers that are parsed once for all tests are named in tests/CMakeLists.txt.
