# The state file load of the console (its C source, over the C API) and the
# environment reader, fed bodies of any bytes with a correct digest in front.
ostr_fuzz_target(statefile SOURCES statefile_fuzz.cpp ${PROJECT_SOURCE_DIR}/session/statefile.c LIBS ostr_script)
target_include_directories(fuzz_statefile PRIVATE ${PROJECT_SOURCE_DIR}/session ${PROJECT_SOURCE_DIR}/include)
