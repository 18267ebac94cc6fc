# ostr_component(NAME SOURCES... [DEPENDS libs...])
#   A static component library of the core. Components link downward only:
#   core <- numeric, bignum <- hash, persist <- objects <- lang <- script.
#   Every component is folded into the shared library `ostravine`.
function(ostr_component name)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPENDS" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR})
  if(ARG_DEPENDS)
    target_link_libraries(${name} PUBLIC ${ARG_DEPENDS})
  endif()
  set_property(GLOBAL APPEND PROPERTY OSTR_COMPONENTS ${name})
endfunction()

# The shared library: every component, whole, behind a version script made
# from the allow-list of exported names.
function(ostr_add_shared_library)
  get_property(components GLOBAL PROPERTY OSTR_COMPONENTS)
  file(GLOB export_lists CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/docs/exports/*.txt)
  set(names "")
  foreach(list ${export_lists})
    file(STRINGS ${list} lines REGEX "^[A-Za-z_][A-Za-z0-9_]*$")
    list(APPEND names ${lines})
  endforeach()
  list(SORT names)
  set(script "{\n  global:\n")
  foreach(n ${names})
    string(APPEND script "    ${n};\n")
  endforeach()
  string(APPEND script "  local: *;\n};\n")
  file(WRITE ${PROJECT_BINARY_DIR}/ostravine.map "${script}")

  set(objects "")
  foreach(c ${components})
    list(APPEND objects $<TARGET_OBJECTS:${c}>)
  endforeach()
  add_library(ostravine SHARED ${PROJECT_SOURCE_DIR}/cmake/empty.cpp ${objects})
  target_link_options(ostravine PRIVATE -Wl,--version-script=${PROJECT_BINARY_DIR}/ostravine.map)
  if(NOT OSTR_SANITIZE)
    # Sanitizer runtimes are linked into the executable, not the library.
    target_link_options(ostravine PRIVATE -Wl,--no-undefined)
  endif()
  set_target_properties(ostravine PROPERTIES LINK_DEPENDS ${PROJECT_BINARY_DIR}/ostravine.map)
  target_include_directories(ostravine PUBLIC ${PROJECT_SOURCE_DIR}/include)
endfunction()

# A C program linked against the shared library. Under the sanitizers the
# C++ sanitizer runtime the library needs comes only with the C++ driver.
function(ostr_c_program target)
  set_target_properties(${target} PROPERTIES C_STANDARD 11 C_EXTENSIONS OFF)
  target_link_libraries(${target} PRIVATE ostravine)
  if(OSTR_SANITIZE)
    set_target_properties(${target} PROPERTIES LINKER_LANGUAGE CXX)
  endif()
endfunction()
