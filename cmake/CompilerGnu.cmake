# Options of GCC and clang, for Windows (mingw-w64) and for the text rules on the build machine. Code that only these
# compilers understand is in this file, in framework/FirstObject.h and in framework/ComPointers.h.
# cmake/CompilerMsvc.cmake holds the counterpart for Microsoft's compiler.

# Exploit mitigations, and Windows 10 as the system version. For a program with an older system version, Windows keeps
# old behaviour, such as other frame metrics. tests/hardening checks both in the built files.
set(TALVENOR_FILE_HEADER -Wl,--dynamicbase,--nxcompat,--high-entropy-va,--no-insert-timestamp
  -Wl,--major-os-version,10,--minor-os-version,0,--major-subsystem-version,10,--minor-subsystem-version,0)

set(TALVENOR_WIDE_ENTRY -municode)
set(TALVENOR_MANY_SECTIONS $<$<CONFIG:Debug>:-Wa,-mbig-obj>)
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

# talvenor_symbols(NAME): writes the linker map beside the program. A release build also copies the unstripped program
# and the map to symbols/NAME/ of the build folder, and then strips the program. Only with these copies can an address
# from a crash report be traced to a function.
function(talvenor_symbols name)
  # The map lists which of the compiler's libraries are linked into the program; the SBOM is made from this list.
  target_link_options(${name} PRIVATE "-Wl,-Map=$<TARGET_FILE_DIR:${name}>/${name}.map")
  if(NOT CMAKE_BUILD_TYPE STREQUAL Release)
    return()
  endif()
  set(symbols "${CMAKE_BINARY_DIR}/symbols/${name}")
  add_custom_command(TARGET ${name} POST_BUILD
    COMMAND "${CMAKE_COMMAND}" -E make_directory "${symbols}"
    COMMAND "${CMAKE_COMMAND}" -E copy "$<TARGET_FILE:${name}>" "$<TARGET_FILE_DIR:${name}>/${name}.map" "${symbols}"
    # Without SOURCE_DATE_EPOCH, strip would write into the header the time that the linker has left out.
    COMMAND "${CMAKE_COMMAND}" -E env SOURCE_DATE_EPOCH=0 "${CMAKE_STRIP}" "$<TARGET_FILE:${name}>"
    VERBATIM)
endfunction()
