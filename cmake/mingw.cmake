# Cross compiles Windows programs with Debian's clang and lld for the processor that the toolchain file has set as
# `processor`. Of the C++ libraries that Debian has for Intel's processors, clang takes the one with the last name: that
# with the system's own threads. The other brings a thread library, which would do work when the DLL is loaded.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR ${processor})
set(triplet ${processor}-w64-mingw32)
set(CMAKE_C_COMPILER clang-19)
set(CMAKE_CXX_COMPILER clang++-19)
set(CMAKE_C_COMPILER_TARGET ${triplet})
set(CMAKE_CXX_COMPILER_TARGET ${triplet})
foreach(kind EXE SHARED MODULE)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT -fuse-ld=lld-19)
endforeach()
# What these make for one processor with 64 bits is right for the other.
string(REPLACE aarch64 x86_64 tools ${triplet})
set(CMAKE_RC_COMPILER ${tools}-windres)
set(WIDL ${tools}-widl)
set(WINDMC ${tools}-windmc)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/../scripts/lib/run-in-wine")
