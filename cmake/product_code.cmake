# How the product's own folders are compiled: as small as can be, since every Explorer carries the DLL, and with
# guarded frames wherever an array or a variable whose address is taken is on the stack.
add_compile_options(-fstack-protector-strong -fno-rtti)
if(CMAKE_BUILD_TYPE STREQUAL Release)
  # The DLL is compiled as one whole when it is linked; what else links these folders takes the plain code.
  add_compile_options(-Oz -flto -ffat-lto-objects)
  set(whole_program -Oz -flto -flto-partition=none -fexceptions -frandom-seed=${PROJECT_NAME}
    -ffile-prefix-map=${CMAKE_SOURCE_DIR}=/${PROJECT_NAME})
endif()
if(CMAKE_SYSTEM_PROCESSOR STREQUAL i686)
  # Only calls throw exceptions, so these tables are not needed; other processors find their handlers by them.
  add_compile_options(-fno-asynchronous-unwind-tables)
endif()

# add_room(NAME BELOW SOURCE...): a room is a static library, linked with the one below it. The folder's
# own CMakeLists.txt adds what it needs of the platform.
function(add_room name below)
  add_library(${name} STATIC ${ARGN})
  if(below)
    target_link_libraries(${name} PUBLIC ${below})
    read_headers_once(${name} base)
  else()
    read_headers_once(${name})
  endif()
endfunction()
