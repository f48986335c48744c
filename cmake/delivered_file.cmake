# harden(TARGET): what every delivered program and DLL has. The compiler finds handlers of exceptions by tables, so no
# address of a 32-bit file is one for the system; 64-bit files have no handlers but those in tables.
function(harden target)
  target_link_libraries(${target} PRIVATE endings)
  target_link_options(${target} PRIVATE -mguard=cf)
  if(CMAKE_SYSTEM_PROCESSOR STREQUAL i686)
    target_link_options(${target} PRIVATE -Wl,--no-seh)
  endif()
  split_symbols(${target})
endfunction()
