# Cross compiles Windows programs for ARM64 with Debian's clang and lld, and the runtime that scripts/lib/arm64-runtime
# has built and printed.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
execute_process(COMMAND ${CMAKE_CURRENT_LIST_DIR}/../scripts/lib/arm64-runtime
  OUTPUT_VARIABLE CMAKE_SYSROOT OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
set(CMAKE_C_COMPILER clang-19)
set(CMAKE_CXX_COMPILER clang++-19)
set(CMAKE_C_COMPILER_TARGET aarch64-w64-mingw32)
set(CMAKE_CXX_COMPILER_TARGET aarch64-w64-mingw32)
set(runtime "-resource-dir=${CMAKE_SYSROOT}/clang")
set(CMAKE_C_FLAGS_INIT "${runtime}")
set(CMAKE_CXX_FLAGS_INIT "${runtime} -stdlib=libc++")
foreach(kind EXE SHARED MODULE)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT "-fuse-ld=lld-19 -rtlib=compiler-rt -unwindlib=libunwind")
endforeach()
# What these make is the same for every processor with 64 bits.
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)
set(WIDL x86_64-w64-mingw32-widl)
set(WINDMC x86_64-w64-mingw32-windmc)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/../scripts/lib/run-in-wine")
