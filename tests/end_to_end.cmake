# The extension's DLL as Explorer meets it, the program that plays Explorer, and the stand-in suite.
add_executable(end_to_end_tests
  explorer.cpp
  end_to_end_test.cpp hostile_data_test.cpp leak_test.cpp library_test.cpp registration_test.cpp shell_ext_test.cpp)
target_include_directories(end_to_end_tests PRIVATE ${CMAKE_SOURCE_DIR})
target_compile_definitions(end_to_end_tests PRIVATE PROJECT_VERSION="${PROJECT_VERSION}")
target_link_libraries(end_to_end_tests PRIVATE shellext test_helpers gtest_main ntdll version)
add_dependencies(end_to_end_tests NorvakContextMenu menuhost suite type_libraries)
# A process that the emulation ends itself reports success.
gtest_discover_tests(end_to_end_tests DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60 NO_PRETTY_VALUES
  PROPERTIES RUN_SERIAL ON TIMEOUT 120 FAIL_REGULAR_EXPRESSION "wine client error")
