# Texts of 2 GiB take a while to walk: their suite runs in a process of its
# own, beside the other tests, with room for a loaded machine.
kv_isolated_test(test_util IsolatedUTF8Limits)
set_tests_properties(test_util_IsolatedUTF8Limits PROPERTIES TIMEOUT 300)
