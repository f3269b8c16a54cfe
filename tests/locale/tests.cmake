# The user locale is asked of the platform once per process, under the
# environment's locale settings.
kv_isolated_test(test_locale IsolatedLocaleUnknown "LC_ALL=xx_XX.nothing" "LANG=xx_XX.nothing")
kv_isolated_test(test_locale IsolatedLocaleC "LC_ALL=C" "LANG=C")
