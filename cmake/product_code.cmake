# How the product's own folders are compiled: as small as can be, since every Explorer carries the DLL, and with
# guarded frames wherever an array or a variable whose address is taken is on the stack, and guarded calls through
# pointers.
add_compile_options(-fstack-protector-strong -mguard=cf -fno-rtti)
if(CMAKE_BUILD_TYPE STREQUAL Release)
  add_compile_options(-Oz)
endif()
if(CMAKE_SYSTEM_PROCESSOR STREQUAL i686)
  # Only calls throw exceptions, so these tables are not needed; other processors find their handlers by them.
  add_compile_options(-fno-asynchronous-unwind-tables)
endif()

# add_room(NAME BELOW SOURCE...): a room is a static library, linked with the one below it. The folder's
# own CMakeLists.txt adds what it needs of the platform. The DLL that is delivered takes the sources of all rooms.
function(add_room name below)
  add_library(${name} STATIC ${ARGN})
  compile_together(${name} 0)
  target_link_libraries(${name} PUBLIC ${below})
  list(TRANSFORM ARGN PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
  set_property(GLOBAL APPEND PROPERTY rooms_sources ${ARGN})
endfunction()
