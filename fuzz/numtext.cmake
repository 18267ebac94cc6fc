# Number text: any text through the literal rule and back through the writers.
ostr_fuzz_target(numtext SOURCES ${CMAKE_CURRENT_SOURCE_DIR}/numtext.cpp LIBS ostr_numtext)
