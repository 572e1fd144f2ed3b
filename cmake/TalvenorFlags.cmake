# Compiler settings of the program's own code, and functions that add its layers, the program and test time limits.

option(TALVENOR_SANITIZE "Build with address and undefined-behaviour sanitizers (build machine only)" OFF)
option(TALVENOR_FUZZ "Build the text rules and their fuzz targets (clang on the build machine only)" OFF)

# Exploit mitigations, and Windows 10 as the system version: for a program of an older one, Windows keeps old behaviour,
# such as other frame metrics. tests/hardening checks the built files for both.
set(TALVENOR_FILE_HEADER -Wl,--dynamicbase,--nxcompat,--high-entropy-va
  -Wl,--major-os-version,10,--minor-os-version,0,--major-subsystem-version,10,--minor-subsystem-version,0)

function(talvenor_flags target)
  target_include_directories(${target} PUBLIC "${PROJECT_SOURCE_DIR}")
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
  if(WIN32)
    target_compile_definitions(${target} PUBLIC
      UNICODE _UNICODE STRICT NOMINMAX WINVER=0x0A00 _WIN32_WINNT=0x0A00 NTDDI_VERSION=0x0A000006)
    target_compile_options(${target} PRIVATE -ffunction-sections -fdata-sections -fstack-protector-strong)
    target_link_options(${target} PUBLIC -static -fstack-protector-strong -Wl,--gc-sections,--no-insert-timestamp
      ${TALVENOR_FILE_HEADER})
  endif()
  if(TALVENOR_SANITIZE)
    target_compile_options(${target} PUBLIC -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(${target} PUBLIC -fsanitize=address,undefined)
  endif()
  if(TALVENOR_FUZZ)
    target_compile_options(${target} PUBLIC -fsanitize=fuzzer-no-link)
    target_compile_definitions(${target} PUBLIC _GLIBCXX_ASSERTIONS)
  endif()
endfunction()

# talvenor_layer(NAME [BELOW ...]): builds the folder NAME as the static library talvenor_NAME, on top of the libraries
# talvenor_BELOW that it may use. Sources that talvenor_text already holds are left to it.
function(talvenor_layer name)
  file(GLOB sources CONFIGURE_DEPENDS RELATIVE "${PROJECT_SOURCE_DIR}" "${PROJECT_SOURCE_DIR}/${name}/*.cpp")
  get_target_property(text_sources talvenor_text SOURCES)
  list(REMOVE_ITEM sources ${text_sources} ui/Main.cpp ui/TalvenorApp.cpp)
  add_library(talvenor_${name} STATIC ${sources})
  talvenor_flags(talvenor_${name})
  target_link_libraries(talvenor_${name} PUBLIC talvenor_text)
  foreach(below IN LISTS ARGN)
    target_link_libraries(talvenor_${name} PUBLIC talvenor_${below})
  endforeach()
endfunction()

# talvenor_program(NAME LANGUAGE): the program, with german or english as its language at start.
function(talvenor_program name language)
  add_executable(${name} WIN32 "${PROJECT_SOURCE_DIR}/ui/Main.cpp" "${PROJECT_SOURCE_DIR}/ui/TalvenorApp.cpp")
  talvenor_flags(${name})
  target_compile_definitions(${name} PRIVATE TALVENOR_START_LANGUAGE=$<IF:$<STREQUAL:${language},english>,0,1>)
  target_link_libraries(${name} PRIVATE talvenor_ui talvenor_exe_resources)
  # The linker map lists what the program holds of the compiler's own libraries; the SBOM is made from it.
  target_link_options(${name} PRIVATE -municode "-Wl,-Map=$<TARGET_FILE_DIR:${name}>/${name}.map")
  add_dependencies(${name} talvresgerx64 talvresusx64)
  if(CMAKE_BUILD_TYPE STREQUAL Release)
    talvenor_strip(${name})
  endif()
endfunction()

# talvenor_strip(NAME): leaves the unstripped program and its linker map in symbols/NAME/ of the build folder, and strips
# the program. Only with them can an address from a crash report be traced to a function.
function(talvenor_strip name)
  set(symbols "${CMAKE_BINARY_DIR}/symbols/${name}")
  add_custom_command(TARGET ${name} POST_BUILD
    COMMAND "${CMAKE_COMMAND}" -E make_directory "${symbols}"
    COMMAND "${CMAKE_COMMAND}" -E copy "$<TARGET_FILE:${name}>" "$<TARGET_FILE_DIR:${name}>/${name}.map" "${symbols}"
    # Without SOURCE_DATE_EPOCH, strip writes the time into the header again, which the linker has left out.
    COMMAND "${CMAKE_COMMAND}" -E env SOURCE_DATE_EPOCH=0 "${CMAKE_STRIP}" "$<TARGET_FILE:${name}>"
    VERBATIM)
endfunction()

# talvenor_time_limit(TEST SECONDS): after that time tools/run-windows ends the test program and everything that it has
# started. CTest would end the script only, so its own limit is two minutes longer.
function(talvenor_time_limit test seconds)
  math(EXPR longer "${seconds} + 120")
  set_property(TEST ${test} APPEND PROPERTY ENVIRONMENT TALVENOR_TIME_LIMIT=${seconds})
  set_property(TEST ${test} PROPERTY TIMEOUT ${longer})
endfunction()
