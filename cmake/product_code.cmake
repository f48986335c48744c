# How the product's own folders are compiled: as small as can be, since every Explorer carries the DLL, and with
# guarded stack frames.
add_compile_options(-fstack-protector-strong -fno-rtti)
if(CMAKE_BUILD_TYPE STREQUAL Release)
  # Without copies of a function for single callers: the modules could no longer share them.
  add_compile_options(-Oz -fno-ipa-sra -fno-ipa-cp)
endif()
if(CMAKE_SYSTEM_PROCESSOR STREQUAL i686)
  # Exceptions are thrown by calls alone; other processors find their handlers by these tables.
  add_compile_options(-fno-asynchronous-unwind-tables)
endif()
