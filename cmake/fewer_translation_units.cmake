# The headers of the platform and of the library are most of what the compiler reads. The sources include what they use
# all the same: scripts/checks/lint compiles a changed file by itself.

# The delivered code is compiled file by file, so that it does not depend on how the build is cut; its headers are read
# once for all targets that are compiled with the same options.
set(platform_headers
  <windows.h> <ole2.h> <oleauto.h> <shlobj.h> <comdef.h> <comutil.h> <wrl/client.h>
  <algorithm> <array> <cstdint> <functional> <iterator> <map> <memory> <optional> <span> <string> <string_view> <utility>
  <variant> <vector>)

# read_headers_once(TARGET [OWNER]): the target has the platform's headers precompiled for itself, or takes those of
# the owner. In the debug flavour, which is not delivered, its sources are one file besides.
function(read_headers_once target)
  if(ARGC EQUAL 1)
    target_precompile_headers(${target} PRIVATE ${platform_headers})
  else()
    target_precompile_headers(${target} REUSE_FROM ${ARGV1})
  endif()
  set_target_properties(${target} PROPERTIES CXX_COMPILER_LAUNCHER ${CMAKE_SOURCE_DIR}/cmake/compile-in-place)
  target_compile_options(${target} PRIVATE ${precompiled_headers_warnings})
  if(NOT CMAKE_BUILD_TYPE STREQUAL Release)
    compile_together(${target} 0)
  endif()
endfunction()

# compile_together(TARGET COUNT): compiles so many of its sources as one translation unit, or all of them for 0. A local
# variable may have a name that another source has too.
function(compile_together target count)
  set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE ${count})
  target_compile_options(${target} PRIVATE ${unity_warnings})
endfunction()
