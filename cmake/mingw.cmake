# Cross compiles Windows programs with Debian's mingw-w64 for the processor that the toolchain file has set as
# `triplet_processor`. Of its two kinds it is the one whose runtime uses the system's own threads: the other brings a
# thread library, which would do work when the DLL is loaded.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR ${triplet_processor})
set(triplet ${triplet_processor}-w64-mingw32)
set(CMAKE_C_COMPILER ${triplet}-gcc-win32)
set(CMAKE_CXX_COMPILER ${triplet}-g++-win32)
set(CMAKE_RC_COMPILER ${triplet}-windres)
set(WIDL ${triplet}-widl)
set(WINDMC ${triplet}-windmc)
set(CMAKE_FIND_ROOT_PATH /usr/${triplet})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/../scripts/lib/run-in-wine")
