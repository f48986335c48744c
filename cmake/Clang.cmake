# The compiler of the build for ARM64, with its own linker and C++ library.
set(compiler_folder clang)
# Windows checks where calls through pointers go, in programs that have a table of the places.
set(guarded_calls -mguard=cf)
# The DLL is compiled as one whole when it is linked.
set(whole_program -Oz -flto)
set(precompiled_headers_warnings)
set(unity_warnings -Wno-shadow)
# The product is held to it. Of GCC nobody asks it, and tests are full of numbers that have no sign in one call of the
# platform and one in the next.
set(test_warnings -Wno-sign-conversion)
# The linker takes resources as they come from their compiler, which knows no objects of this processor.
set(CMAKE_RC_COMPILE_OBJECT "<CMAKE_RC_COMPILER> -O res <DEFINES> <INCLUDES> <FLAGS> <SOURCE> <OBJECT>")
