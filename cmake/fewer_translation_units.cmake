# The headers of the platform and of the library are most of what the compiler reads. The sources include what they use
# all the same: scripts/checks/lint compiles a changed file by itself. Nothing that is delivered with plain code reads
# them precompiled: that form is other bytes each time, and so is then what the debug symbols say of variables.
set(platform_headers
  <windows.h> <ole2.h> <oleauto.h> <shlobj.h> <comdef.h> <comutil.h> <wrl/client.h>
  <algorithm> <array> <cstdint> <functional> <iterator> <map> <memory> <optional> <span> <string> <string_view> <utility>
  <variant> <vector>)

# compile_together(TARGET COUNT): compiles so many of its sources as one translation unit, or all of them for 0,
# unless whoever configures says for all targets how many. A local variable may have a name that another source has too.
function(compile_together target count)
  if(DEFINED CMAKE_UNITY_BUILD)
    return()
  endif()
  set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE ${count})
  target_compile_options(${target} PRIVATE -Wno-shadow)
endfunction()
