# Options of Microsoft's compiler, for the same purposes as those in cmake/CompilerGnu.cmake. Written from the
# compiler's documentation and not tried yet: nobody on the team has this compiler.

set(CMAKE_MSVC_RUNTIME_LIBRARY "MultiThreaded$<$<CONFIG:Debug>:Debug>")  # the program then needs no runtime DLLs
set(CMAKE_POLICY_DEFAULT_CMP0091 NEW)  # lets GoogleTest, an older CMake project, use the same library

# The linker adds no manifest: the program has its own among its resources. /DYNAMICBASE, /NXCOMPAT and /HIGHENTROPYVA
# are defaults. The linker also writes the subsystem version into the file header as the system version.
set(TALVENOR_SUBSYSTEM "/SUBSYSTEM:$<IF:$<BOOL:$<TARGET_PROPERTY:WIN32_EXECUTABLE>>,WINDOWS,CONSOLE>$<COMMA>10.00")
set(TALVENOR_FILE_HEADER /MANIFEST:NO /Brepro)

set(TALVENOR_MANY_SECTIONS $<$<CONFIG:Debug>:/bigobj>)
set(TALVENOR_SMALL_CODE $<$<CONFIG:Release>:/O1>)
set(TALVENOR_WIDE_ENTRY)  # the linker finds wmain or wWinMain by itself
set(TALVENOR_RESOURCE_LIBRARY /NOENTRY /SUBSYSTEM:WINDOWS,10.00 ${TALVENOR_FILE_HEADER})
# The load flag 0x800 is LOAD_LIBRARY_SEARCH_SYSTEM32, for the DLLs that the program imports.
set(TALVENOR_LINK_OPTIONS ${TALVENOR_SUBSYSTEM} /DEPENDENTLOADFLAG:0x800 /GUARD:CF ${TALVENOR_FILE_HEADER})

function(talvenor_compiler target)
  target_compile_options(${target} PRIVATE /W4 /permissive- /utf-8 /EHsc /Zc:__cplusplus /guard:cf /Zi
    $<$<BOOL:${TALVENOR_WARNINGS_ARE_ERRORS}>:/WX>)
  # Without this definition, Microsoft's C library warns about every getenv and fopen.
  target_compile_definitions(${target} PRIVATE _CRT_SECURE_NO_WARNINGS)
  target_link_options(${target} PUBLIC ${TALVENOR_LINK_OPTIONS})
endfunction()

# talvenor_symbols(NAME): leaves the linker map and the program database beside the program.
function(talvenor_symbols name)
  target_link_options(${name} PRIVATE
    "/MAP:$<TARGET_FILE_DIR:${name}>/${name}.map" /DEBUG /OPT:REF /OPT:ICF /INCREMENTAL:NO)
endfunction()
