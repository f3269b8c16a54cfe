# The call drivers resolve a descriptor's init text to a library entry: the
# fixture library holds entries that forward to the test program's hooks.
# Windows finds it beside the test program by name; elsewhere by its path.
add_library(calls_fixture SHARED ${CMAKE_CURRENT_SOURCE_DIR}/process/fixture/calls_fixture.cpp)
set_target_properties(calls_fixture PROPERTIES PREFIX "")
if(WIN32)
  set(kv_fixture_name "$<TARGET_FILE_NAME:calls_fixture>")
else()
  set(kv_fixture_name "$<TARGET_FILE:calls_fixture>")
endif()
target_compile_definitions(test_process PRIVATE KV_CALLS_FIXTURE="${kv_fixture_name}")
add_dependencies(test_process calls_fixture)
