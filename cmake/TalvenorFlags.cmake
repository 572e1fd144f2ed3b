# Compiler settings of the program's own code, and functions that add its layers, the program itself and the
# time limits of tests.

option(TALVENOR_WARNINGS_ARE_ERRORS "End the build at a compiler warning" ON)
option(TALVENOR_SANITIZE "Build with address and undefined-behaviour sanitizers (build machine only)" OFF)
option(TALVENOR_PRECOMPILE "Precompile the headers that most sources for Windows read (GCC only)" OFF)
option(TALVENOR_COVERAGE "Count the executed lines of the program's own code (GCC only)" OFF)
option(TALVENOR_FUZZ "Build the text rules and their fuzz targets (clang on the build machine only)" OFF)

# Each of the two files below, of which one is included, defines
#   TALVENOR_WIDE_ENTRY        link options of a program that begins in wmain or wWinMain
#   TALVENOR_SMALL_CODE        compile options for small rather than fast code
#   TALVENOR_MANY_SECTIONS     compile options for sources with very many functions, without optimization
#   TALVENOR_RESOURCE_LIBRARY  link options of a library with only resources: no start-up code, no entry point, no imports
#   TALVENOR_FUZZER            link options of a fuzz target; clang only
#   talvenor_compiler(TARGET)  options of every target
#   talvenor_symbols(PROGRAM)  keeps what is needed to trace an address in the program to its function
if(MSVC)
  include("${CMAKE_CURRENT_LIST_DIR}/CompilerMsvc.cmake")
else()
  include("${CMAKE_CURRENT_LIST_DIR}/CompilerGnu.cmake")
endif()

function(talvenor_flags target)
  target_include_directories(${target} PUBLIC "${PROJECT_SOURCE_DIR}")
  if(WIN32)
    target_compile_definitions(${target} PUBLIC
      UNICODE _UNICODE STRICT NOMINMAX WINVER=0x0A00 _WIN32_WINNT=0x0A00 NTDDI_VERSION=0x0A000006)
  endif()
  talvenor_compiler(${target})
endfunction()

# talvenor_counted(TARGET): counts how often each line of the target is executed, if this build measures the coverage.
function(talvenor_counted target)
  if(TALVENOR_COVERAGE)
    target_compile_options(${target} PRIVATE --coverage -fprofile-update=atomic)
    target_link_options(${target} PUBLIC --coverage)
  endif()
endfunction()

# talvenor_precompiled(TARGET OWNER [HEADER]): compiles TARGET with a precompiled header, which OWNER (maybe
# TARGET itself) makes from HEADER. In a precompiled header, GCC forgets the pragmas with which its library
# turns off warnings about its own code, so these warnings are off for the target. The release, the text rules
# on the build machine and tools/lint use no precompiled header, so they find missing includes and see every
# warning. With a compiler cache (CMAKE_CXX_COMPILER_LAUNCHER), the function does nothing: the cache saves
# more time, and may refuse to store what was compiled with a precompiled header.
function(talvenor_precompiled target owner)
  if(NOT TALVENOR_PRECOMPILE OR NOT CMAKE_CXX_COMPILER_ID STREQUAL GNU OR CMAKE_CXX_COMPILER_LAUNCHER)
    return()
  endif()
  target_compile_options(${target} PRIVATE -Wno-array-bounds -Wno-stringop-overflow -Wno-stringop-overread)
  if(target STREQUAL owner)
    target_precompile_headers(${target} PRIVATE ${ARGN})
  else()
    target_precompile_headers(${target} REUSE_FROM ${owner})
  endif()
endfunction()

# talvenor_layer(NAME [BELOW ...]): builds the folder NAME as the static library talvenor_NAME, which may use the
# libraries talvenor_BELOW. Leaves out sources that are part of talvenor_text or of the program itself.
function(talvenor_layer name)
  file(GLOB sources CONFIGURE_DEPENDS RELATIVE "${PROJECT_SOURCE_DIR}" "${PROJECT_SOURCE_DIR}/${name}/*.cpp")
  get_target_property(text_sources talvenor_text SOURCES)
  list(REMOVE_ITEM sources ${text_sources} ui/Main.cpp ui/TalvenorApp.cpp)
  add_library(talvenor_${name} STATIC ${sources})
  talvenor_flags(talvenor_${name})
  talvenor_counted(talvenor_${name})
  target_link_libraries(talvenor_${name} PUBLIC talvenor_text)
  talvenor_precompiled(talvenor_${name} talvenor_framework "${PROJECT_SOURCE_DIR}/cmake/Precompiled.h")
  foreach(below IN LISTS ARGN)
    target_link_libraries(talvenor_${name} PUBLIC talvenor_${below})
  endforeach()
endfunction()

# talvenor_exe_resources(TARGET): adds icon, manifest and version information. Each program compiles these resources for
# itself, because not every generator links the resources of an object library.
function(talvenor_exe_resources target)
  set(resources "${PROJECT_SOURCE_DIR}/resources")
  target_sources(${target} PRIVATE "${resources}/talvenor.rc")
  target_include_directories(${target} PRIVATE "${PROJECT_BINARY_DIR}")  # for resources/version.h
  # windres does not report the files that it includes, so list them.
  set_source_files_properties("${resources}/talvenor.rc" PROPERTIES OBJECT_DEPENDS
    "${resources}/resource.h;${resources}/version.rc;${resources}/talvenor.ico;${resources}/talvenor.manifest;\
${PROJECT_BINARY_DIR}/resources/version.h")
endfunction()

# talvenor_manifest(TARGET): gives a test program the manifest of the program. Without the manifest, Windows would give
# the test program scaled coordinates and another system version, and would refuse long paths.
function(talvenor_manifest target)
  set(manifest "${PROJECT_SOURCE_DIR}/tests/support/Manifest.rc")
  target_sources(${target} PRIVATE "${manifest}")
  set_source_files_properties("${manifest}" PROPERTIES OBJECT_DEPENDS
    "${PROJECT_SOURCE_DIR}/resources/talvenor.manifest")
endfunction()

# talvenor_program(NAME LANGUAGE): the program, with german or english as its language at start.
function(talvenor_program name language)
  add_executable(${name} WIN32 "${PROJECT_SOURCE_DIR}/ui/Main.cpp" "${PROJECT_SOURCE_DIR}/ui/TalvenorApp.cpp")
  talvenor_flags(${name})
  talvenor_counted(${name})
  if(TALVENOR_COVERAGE)
    target_link_libraries(${name} PRIVATE write_counts)
  endif()
  target_compile_definitions(${name} PRIVATE TALVENOR_START_LANGUAGE=$<IF:$<STREQUAL:${language},english>,0,1>)
  target_link_libraries(${name} PRIVATE talvenor_ui)
  talvenor_exe_resources(${name})
  target_link_options(${name} PRIVATE ${TALVENOR_WIDE_ENTRY})
  talvenor_symbols(${name})
  add_dependencies(${name} talvresgerx64 talvresusx64)
endfunction()

# talvenor_time_limit(TEST SECONDS): tools/run-windows ends the test program, and everything that the program has
# started, after this time. CTest would end only the script, so CTest's own limit is two minutes longer.
function(talvenor_time_limit test seconds)
  math(EXPR longer "${seconds} + 120")
  set_property(TEST ${test} APPEND PROPERTY ENVIRONMENT TALVENOR_TIME_LIMIT=${seconds})
  set_property(TEST ${test} PROPERTY TIMEOUT ${longer})
endfunction()
