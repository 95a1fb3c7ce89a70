# Tests of the open correction algorithm: its exports (label unit), and the library
# driving it through the exported class with the fake engine (label e2e). Uses the helpers that
# tests/ defines (the top-level project adds tests/ first).
if(NOT TARGET GTest::gtest) # cross builds have GoogleTest from tests/, built from its sources
    find_package(GTest REQUIRED)
endif()
set(FISHPLAYER_ALGO_TESTS_DIR ${CMAKE_CURRENT_LIST_DIR})

add_executable(test_algo ${FISHPLAYER_ALGO_TESTS_DIR}/test_exports.cpp)
target_link_libraries(test_algo PRIVATE zeb_algo_fcu fishplayer_fisheye_geometry GTest::gtest GTest::gtest_main)
add_test(NAME algo.unit COMMAND test_algo)
set_tests_properties(algo.unit PROPERTIES LABELS "unit")
fishplayer_search_path(algo.unit ${FISHPLAYER_ALGO_DIR})
fishplayer_sanitizer_environment(algo.unit)

fishplayer_client_test(test_algo_e2e ${FISHPLAYER_ALGO_TESTS_DIR}/test_algo_e2e.cpp)
target_include_directories(test_algo_e2e PRIVATE ${PROJECT_SOURCE_DIR}/tests/facade)
add_dependencies(test_algo_e2e zeb_algo_fcu)
add_test(NAME algo.e2e COMMAND test_algo_e2e)
set_tests_properties(algo.e2e PROPERTIES LABELS "e2e")
fishplayer_search_path(algo.e2e ${FISHPLAYER_FAKES_DIR}/engine/full ${FISHPLAYER_ALGO_DIR})
fishplayer_sanitizer_environment(algo.e2e)
