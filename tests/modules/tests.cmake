# The module tests load real libraries: the test bundles of bundles/ and the
# default library korv, all beside the test program (on Windows with
# kvsup.dll, which they link).
if(TARGET test_modules)
  set(KV_TEST_BUNDLE_DIR ${CMAKE_CURRENT_BINARY_DIR})
  add_subdirectory(modules/bundles)
  add_dependencies(test_modules ${KV_TEST_BUNDLES})
  # The default library sits beside the program that holds the library (the
  # test program links its static test build), on either platform.
  add_dependencies(test_modules korv)
  add_custom_command(TARGET test_modules POST_BUILD
    COMMAND ${CMAKE_COMMAND} -E copy_if_different $<TARGET_FILE:korv> $<TARGET_FILE_DIR:test_modules>)
  if(WIN32)
    add_custom_command(TARGET test_modules POST_BUILD
      COMMAND ${CMAKE_COMMAND} -E copy_if_different $<TARGET_FILE:kvsup> $<TARGET_FILE_DIR:test_modules>)
  endif()

  # The trace of loads is switched on at engine start.
  kv_isolated_test(test_modules IsolatedSharedTrace "KVSHARED_DEBUG=1")
  # Loaders shared by threads, for the thread-checking leg.
  add_test(NAME test_modules_threads COMMAND test_modules --gtest_filter=*Thread*)
  set_tests_properties(test_modules_threads PROPERTIES TIMEOUT 120
    ENVIRONMENT "KV_TEST_SOURCE_DIR=${CMAKE_SOURCE_DIR};KV_TEST_BINARY_DIR=${CMAKE_CURRENT_BINARY_DIR}")
endif()
