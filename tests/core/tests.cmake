# Message settings are read once per process, so each environment gets a
# process of its own.
kv_isolated_test(test_core IsolatedSilentLog "KV_SILENT=1" "KV_LOGFILE=${CMAKE_CURRENT_BINARY_DIR}/core-silent.log")
kv_isolated_test(test_core IsolatedDebugEnv "KV_DEBUG=3" "KVENV_DEBUG=1" "KVFINDFILE_DEBUG=yes")
kv_isolated_test(test_core IsolatedSpecialLog "KV_LOGFILE=${CMAKE_CURRENT_BINARY_DIR}/core-special.log")
