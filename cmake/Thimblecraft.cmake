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

# thimblecraft_tests_in_folder(LIBS <deps...>): every tst_*.cpp of the calling folder becomes
# one test executable named after its file (tst_store.cpp -> tst_store).
function(thimblecraft_tests_in_folder)
  cmake_parse_arguments(ARG "" "" "LIBS" ${ARGN})
  file(GLOB tests CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/tst_*.cpp)
  foreach(file ${tests})
    get_filename_component(name ${file} NAME_WE)
    thimblecraft_test(${name} SOURCES ${file} LIBS ${ARG_LIBS})
  endforeach()
endfunction()

# thimblecraft_benchmarks_in_folder(LIBS <deps...>): every bench_*.cpp becomes an executable.
function(thimblecraft_benchmarks_in_folder)
  cmake_parse_arguments(ARG "" "" "LIBS" ${ARGN})
  file(GLOB benches CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/bench_*.cpp)
  foreach(file ${benches})
    get_filename_component(name ${file} NAME_WE)
    add_executable(${name} ${file})
    target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR}/src ${CMAKE_SOURCE_DIR}/bench)
    target_link_libraries(${name} PRIVATE ${ARG_LIBS})
  endforeach()
endfunction()
