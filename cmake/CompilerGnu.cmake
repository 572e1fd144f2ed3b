# GCC and clang: for Windows (mingw-w64), and the text rules for the build machine. Everything that only these compilers
# know stands here and in framework/FirstObject.h; cmake/CompilerMsvc.cmake has the same for Microsoft's.

# Exploit mitigations, and Windows 10 as the system version: for a program of an older one, Windows keeps old behaviour,
# such as other frame metrics. tests/hardening checks the built files for both.
set(TALVENOR_FILE_HEADER -Wl,--dynamicbase,--nxcompat,--high-entropy-va,--no-insert-timestamp
  -Wl,--major-os-version,10,--minor-os-version,0,--major-subsystem-version,10,--minor-subsystem-version,0)

set(TALVENOR_WIDE_ENTRY -municode)
set(TALVENOR_SMALL_CODE $<$<CONFIG:Release>:-Os>)
set(TALVENOR_FUZZER -fsanitize=fuzzer)
set(TALVENOR_RESOURCE_LIBRARY -nostdlib -Wl,--entry=0 ${TALVENOR_FILE_HEADER})
set(TALVENOR_LINK_OPTIONS -static -fstack-protector-strong -Wl,--gc-sections ${TALVENOR_FILE_HEADER})

function(talvenor_compiler target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion -Wshadow
    $<$<BOOL:${TALVENOR_WARNINGS_ARE_ERRORS}>:-Werror>)
  if(WIN32)
    target_compile_options(${target} PRIVATE -ffunction-sections -fdata-sections -fstack-protector-strong)
    target_link_options(${target} PUBLIC ${TALVENOR_LINK_OPTIONS})
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

# talvenor_symbols(NAME): leaves the program's linker map beside it; in a release build also leaves the unstripped program
# and the map in symbols/NAME/ of the build folder, and strips the program. Only with them can an address from a crash
# report be traced to a function.
function(talvenor_symbols name)
  # The map lists what the program holds of the compiler's own libraries; the SBOM is made from it.
  target_link_options(${name} PRIVATE "-Wl,-Map=$<TARGET_FILE_DIR:${name}>/${name}.map")
  if(NOT CMAKE_BUILD_TYPE STREQUAL Release)
    return()
  endif()
  set(symbols "${CMAKE_BINARY_DIR}/symbols/${name}")
  add_custom_command(TARGET ${name} POST_BUILD
    COMMAND "${CMAKE_COMMAND}" -E make_directory "${symbols}"
    COMMAND "${CMAKE_COMMAND}" -E copy "$<TARGET_FILE:${name}>" "$<TARGET_FILE_DIR:${name}>/${name}.map" "${symbols}"
    # Without SOURCE_DATE_EPOCH, strip writes the time into the header again, which the linker has left out.
    COMMAND "${CMAKE_COMMAND}" -E env SOURCE_DATE_EPOCH=0 "${CMAKE_STRIP}" "$<TARGET_FILE:${name}>"
    VERBATIM)
endfunction()
