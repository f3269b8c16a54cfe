# The trace of lookups is switched on at engine start, so it needs a process
# of its own.
kv_isolated_test(test_env IsolatedEnvTrace "KV_DEBUG=1" "KV_SILENT=1" "KVENV_DEBUG=1" "KVFINDFILE_DEBUG=1"
                 "QRN_RELEASE=release-dir" "KV_RELEASE=ignored")
