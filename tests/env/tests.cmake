# The trace of lookups is switched on at engine start, so it needs a process
# of its own.
kv_isolated_test(test_env IsolatedEnvTrace "KV_DEBUG=1" "KV_SILENT=1" "KVENV_DEBUG=1" "KVFINDFILE_DEBUG=1"
                 "QRN_RELEASE=release-dir" "KV_RELEASE=ignored")
# Settings shared by threads, for the thread-checking leg.
add_test(NAME test_env_threads COMMAND test_env --gtest_filter=*Thread*)
set_tests_properties(test_env_threads PROPERTIES TIMEOUT 120
  ENVIRONMENT "KV_TEST_SOURCE_DIR=${CMAKE_SOURCE_DIR};KV_TEST_BINARY_DIR=${CMAKE_CURRENT_BINARY_DIR}")
