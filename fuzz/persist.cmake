# The typed-tree reader over arbitrary bytes, in both stream modes.
ostr_fuzz_target(arbtree SOURCES arbtree_fuzz.cpp LIBS ostr_persist)
