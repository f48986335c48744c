# The compiler of the 32-bit and the 64-bit build.
set(compiler_folder gnu)
# It names some symbols at random; by the object they are the same in each build.
string(REPLACE "<FLAGS>" "<FLAGS> -frandom-seed=<OBJECT>" CMAKE_CXX_COMPILE_OBJECT "${CMAKE_CXX_COMPILE_OBJECT}")
# The DLL is compiled as one whole when it is linked.
set(whole_program -Oz -flto -flto-partition=none -fexceptions -frandom-seed=${PROJECT_NAME}
  -ffile-prefix-map=${CMAKE_SOURCE_DIR}=/${PROJECT_NAME})
# Once it reads precompiled headers, it no longer sees that they are the platform's, and warns of code inlined from them
# that would be wrong but can never run.
set(precompiled_headers_warnings -Wno-array-bounds -Wno-stringop-overread -Wno-stringop-overflow)
# A local variable may have a name that another source of the unit has too.
set(unity_warnings -Wno-shadow -Wshadow=local)
