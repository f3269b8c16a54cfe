kv_isolated_test(test_io IsolatedSmartBufferSpill "KORV_MEMORY_MAX=16" "KORV_TEMPFILE_MAX=10")
kv_isolated_test(test_io IsolatedSmartBufferBadLimits "KORV_MEMORY_MAX=lots" "KORV_TEMPFILE_MAX=-5")
kv_isolated_test(test_io IsolatedTempDirChoice "KORV_MEMORY_MAX=16")
