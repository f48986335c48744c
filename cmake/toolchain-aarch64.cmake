set(processor aarch64)
include(${CMAKE_CURRENT_LIST_DIR}/mingw.cmake)
# The C++ library and the platform, which scripts/lib/arm64-runtime has built and printed.
execute_process(COMMAND ${CMAKE_CURRENT_LIST_DIR}/../scripts/lib/arm64-runtime
  OUTPUT_VARIABLE CMAKE_SYSROOT OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
set(runtime "-resource-dir=${CMAKE_SYSROOT}/clang")
set(CMAKE_C_FLAGS_INIT "${runtime}")
set(CMAKE_CXX_FLAGS_INIT "${runtime} -stdlib=libc++")
foreach(kind EXE SHARED MODULE)
  string(APPEND CMAKE_${kind}_LINKER_FLAGS_INIT " -rtlib=compiler-rt -unwindlib=libunwind")
endforeach()
