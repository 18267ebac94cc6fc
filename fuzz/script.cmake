ostr_fuzz_target(script SOURCES script_fuzz.cpp LIBS ostr_script)
