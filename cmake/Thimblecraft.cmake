# Shared helpers for the subsystem libraries, tests and benchmarks.

# thimblecraft_library(NAME LIBS <deps...>): a static library from every source in the
# calling folder. The glob keeps one source list per folder without every new file
# having to touch this folder's CMakeLists.txt.
function(thimblecraft_library name)
  cmake_parse_arguments(ARG "" "" "LIBS;RESOURCES" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS
       ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp ${CMAKE_CURRENT_SOURCE_DIR}/*.h)
  add_library(${name} STATIC ${sources} ${ARG_RESOURCES})
  target_include_directories(${name} PUBLIC ${CMAKE_SOURCE_DIR}/src)
  target_link_libraries(${name} PUBLIC ${ARG_LIBS})
endfunction()

# thimblecraft_test(NAME SOURCES <files...> LIBS <deps...>): a Qt Test executable
# registered with CTest, run on the offscreen platform with test-mode paths.
function(thimblecraft_test name)
  cmake_parse_arguments(ARG "" "TIMEOUT" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR}/src ${CMAKE_SOURCE_DIR}/tests)
  target_link_libraries(${name} PRIVATE Qt6::Test ${ARG_LIBS})
  add_test(NAME ${name} COMMAND ${name})
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 300)
  endif()
  set_tests_properties(${name} PROPERTIES
    TIMEOUT ${ARG_TIMEOUT}
    ENVIRONMENT "QT_QPA_PLATFORM=offscreen;QT_QUICK_BACKEND=software;THIMBLECRAFT_BINARY_DIR=${CMAKE_BINARY_DIR}")
endfunction()
