set(processor x86_64)
include(${CMAKE_CURRENT_LIST_DIR}/mingw.cmake)
