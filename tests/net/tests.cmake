# The network tests talk to real peers on 127.0.0.1, started around the test
# run by servers.sh (nginx, tinyproxy and the tests' own peer).
set(KV_NET_PEERS ${CMAKE_CURRENT_BINARY_DIR}/net-peers)
add_test(NAME net_peers_start COMMAND bash ${CMAKE_CURRENT_SOURCE_DIR}/net/servers.sh start ${KV_NET_PEERS})
add_test(NAME net_peers_stop COMMAND bash ${CMAKE_CURRENT_SOURCE_DIR}/net/servers.sh stop ${KV_NET_PEERS})
set_tests_properties(net_peers_start PROPERTIES FIXTURES_SETUP net_peers TIMEOUT 60)
set_tests_properties(net_peers_stop PROPERTIES FIXTURES_CLEANUP net_peers TIMEOUT 60)
set_tests_properties(test_net PROPERTIES FIXTURES_REQUIRED net_peers
  ENVIRONMENT "KV_TEST_SOURCE_DIR=${CMAKE_SOURCE_DIR};KV_NET_PEERS=${KV_NET_PEERS}")

# Requests through a proxy set KV_PROXY for the whole process.
kv_isolated_test(test_net IsolatedProxy "KV_NET_PEERS=${KV_NET_PEERS}")
set_tests_properties(test_net_IsolatedProxy PROPERTIES FIXTURES_REQUIRED net_peers)
