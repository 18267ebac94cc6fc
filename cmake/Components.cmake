# The components of the core and who may use whom: cmake/components.txt is the
# one list; this file reads it.
file(STRINGS ${CMAKE_CURRENT_LIST_DIR}/components.txt ostr_graph_lines REGEX "^[a-z]+:")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/components.txt)
foreach(line ${ostr_graph_lines})
  string(REGEX MATCH "^([a-z]+):([^|]*)\\|(.*)$" _ "${line}")
  set(name ${CMAKE_MATCH_1})
  string(STRIP "${CMAKE_MATCH_2}" uses)
  string(STRIP "${CMAKE_MATCH_3}" headers)
  separate_arguments(uses UNIX_COMMAND "${uses}")
  separate_arguments(headers UNIX_COMMAND "${headers}")
  list(APPEND OSTR_COMPONENT_LIST ${name})
  set(OSTR_USES_${name} ${uses})
  set(OSTR_HEADERS_${name} ${headers})
endforeach()

# ostr_component(NAME SOURCES...)
#   The static library ostr_NAME built from the folder NAME. It links the
#   components the graph lists for it, and its include root holds only its own
#   folder and its own C headers: the roots of what it uses arrive through
#   those links, so an include of anything else does not compile. Every
#   component is folded into the shared library `ostravine`.
function(ostr_component name)
  cmake_parse_arguments(ARG "" "" "SOURCES" ${ARGN})
  if(NOT DEFINED OSTR_HEADERS_${name} AND NOT DEFINED OSTR_USES_${name})
    message(FATAL_ERROR "component ${name} is not in cmake/components.txt")
  endif()
  set(root ${PROJECT_BINARY_DIR}/include_roots/${name})
  file(MAKE_DIRECTORY ${root}/ostravine)
  file(CREATE_LINK ${PROJECT_SOURCE_DIR}/${name} ${root}/${name} SYMBOLIC)
  foreach(h ${OSTR_HEADERS_${name}})
    file(CREATE_LINK ${PROJECT_SOURCE_DIR}/include/ostravine/${h} ${root}/ostravine/${h} SYMBOLIC)
  endforeach()
  add_library(ostr_${name} STATIC ${ARG_SOURCES})
  target_include_directories(ostr_${name} PUBLIC ${root})
  foreach(dep ${OSTR_USES_${name}})
    target_link_libraries(ostr_${name} PUBLIC ostr_${dep})
  endforeach()
  set_property(GLOBAL APPEND PROPERTY OSTR_COMPONENTS ostr_${name})
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
