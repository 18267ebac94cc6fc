ostr_fuzz_target(evaluate SOURCES evaluate_fuzz.cpp LIBS ostr_lang)
