# Toolchain: Debian's clang for 64-bit Windows, with the headers, runtime and tools of the mingw-w64 cross compiler.
include("${CMAKE_CURRENT_LIST_DIR}/mingw-w64.cmake")

# clang does not find the folders of Debian's GCC, whose names end in the thread model ("-posix").
execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=libgcc.a
  OUTPUT_VARIABLE gcc_library OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
get_filename_component(gcc_folder "${gcc_library}" DIRECTORY)
set(headers "${gcc_folder}/include/c++")
add_compile_options("$<$<COMPILE_LANGUAGE:CXX>:-nostdinc++;SHELL:-isystem ${headers};\
SHELL:-isystem ${headers}/x86_64-w64-mingw32;SHELL:-isystem ${headers}/backward>")
set(link_flags "-B${gcc_folder} -L${gcc_folder}")
# LLVM's linker: GNU ld would warn about every COMDAT section whose size differs between clang and GCC.
set(CMAKE_EXE_LINKER_FLAGS_INIT "${link_flags} -pthread -fuse-ld=lld")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "${link_flags}")

set(CMAKE_C_COMPILER clang)  # for GoogleTest only
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_COMPILER_TARGET x86_64-w64-mingw32)
set(CMAKE_CXX_COMPILER_TARGET x86_64-w64-mingw32)
