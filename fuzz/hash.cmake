# Stored texts from outside: Base64 and salted-hash texts.
ostr_fuzz_target(hash_text SOURCES ${CMAKE_CURRENT_LIST_DIR}/hash_text.cpp LIBS ostr_hash)
