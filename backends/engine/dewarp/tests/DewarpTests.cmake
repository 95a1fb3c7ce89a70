# Tests of the engine's dewarping: remap tables, the remap itself and its kernels (label unit), and
# every view kind compared with FFmpeg's v360 filter on the same fisheye picture (label unit too;
# each test skips itself with a message when the ffmpeg command is missing). Uses the helpers
# that tests/ defines (the top-level project adds tests/ first).
find_package(GTest REQUIRED)
set(FISHPLAYER_DEWARP_TESTS_DIR ${CMAKE_CURRENT_LIST_DIR})

add_executable(test_dewarp
    ${FISHPLAYER_DEWARP_TESTS_DIR}/test_grid.cpp
    ${FISHPLAYER_DEWARP_TESTS_DIR}/test_kernels.cpp
    ${FISHPLAYER_DEWARP_TESTS_DIR}/test_remap.cpp
    ${FISHPLAYER_DEWARP_TESTS_DIR}/test_thread_pool.cpp
    ${FISHPLAYER_DEWARP_TESTS_DIR}/test_yuv_remap.cpp
    ${FISHPLAYER_DEWARP_TESTS_DIR}/test_versus_v360.cpp)
target_link_libraries(test_dewarp PRIVATE fishplayer_dewarp GTest::gtest GTest::gtest_main)
target_include_directories(test_dewarp PRIVATE ${FISHPLAYER_DEWARP_TESTS_DIR}/..)
add_test(NAME dewarp.remap COMMAND test_dewarp --gtest_filter=Remap*)
add_test(NAME dewarp.v360 COMMAND test_dewarp --gtest_filter=VersusV360*)
set_tests_properties(dewarp.remap dewarp.v360 PROPERTIES LABELS "unit")
fishplayer_sanitizer_environment(dewarp.remap)
fishplayer_sanitizer_environment(dewarp.v360)
