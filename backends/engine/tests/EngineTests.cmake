# Tests of the open player engine: its exports and players (label unit), and the fishplayer
# library driving it with the open correction algorithm (label e2e). Uses the helpers that
# tests/ defines (the top-level project adds tests/ first).
find_package(GTest REQUIRED)
set(FISHPLAYER_ENGINE_TESTS_DIR ${CMAKE_CURRENT_LIST_DIR})

add_library(korvane_test_streams STATIC ${FISHPLAYER_ENGINE_TESTS_DIR}/StreamMaker.cpp)
target_include_directories(korvane_test_streams PUBLIC ${FISHPLAYER_ENGINE_TESTS_DIR})
target_link_libraries(korvane_test_streams PUBLIC PkgConfig::KORVANE_FFMPEG)

add_executable(test_engine ${FISHPLAYER_ENGINE_TESTS_DIR}/test_exports.cpp ${FISHPLAYER_ENGINE_TESTS_DIR}/test_playback.cpp
    ${FISHPLAYER_ENGINE_TESTS_DIR}/test_view_params.cpp ${FISHPLAYER_ENGINE_TESTS_DIR}/test_targets.cpp)
target_link_libraries(test_engine PRIVATE korvane korvane_core korvane_test_streams GTest::gtest GTest::gtest_main
    ${CMAKE_DL_LIBS})
add_test(NAME engine.unit COMMAND test_engine)
set_tests_properties(engine.unit PROPERTIES LABELS "unit" WORKING_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR})
fishplayer_sanitizer_environment(engine.unit)

fishplayer_client_test(test_engine_e2e ${FISHPLAYER_ENGINE_TESTS_DIR}/test_engine_e2e.cpp)
target_include_directories(test_engine_e2e PRIVATE ${PROJECT_SOURCE_DIR}/tests/facade ${PROJECT_SOURCE_DIR}/backends/engine)
target_link_libraries(test_engine_e2e PRIVATE korvane_test_streams fishplayer_dewarp)
add_dependencies(test_engine_e2e korvane zeb_algo_fcu)
add_test(NAME engine.e2e COMMAND test_engine_e2e)
set_tests_properties(engine.e2e PROPERTIES LABELS "e2e")
fishplayer_search_path(engine.e2e ${FISHPLAYER_ENGINE_DIR} ${FISHPLAYER_ALGO_DIR})
fishplayer_sanitizer_environment(engine.e2e)
if(FISHPLAYER_SANITIZE STREQUAL "address")
    set_property(TEST engine.unit APPEND PROPERTY ENVIRONMENT
        "LSAN_OPTIONS=suppressions=${FISHPLAYER_ENGINE_TESTS_DIR}/lsan.supp")
endif()

if(KORVANE_XCB_FOUND)
    add_executable(test_engine_x11 ${FISHPLAYER_ENGINE_TESTS_DIR}/test_x11.cpp)
    target_link_libraries(test_engine_x11 PRIVATE korvane korvane_test_streams PkgConfig::KORVANE_XCB GTest::gtest
        GTest::gtest_main)
    add_test(NAME engine.x11 COMMAND test_engine_x11)
    set_tests_properties(engine.x11 PROPERTIES LABELS "unit")
    fishplayer_sanitizer_environment(engine.x11)
    # The same through plain requests, as with a server that offers no shared memory.
    add_test(NAME engine.x11.noshm COMMAND test_engine_x11)
    set_tests_properties(engine.x11.noshm PROPERTIES LABELS "unit" ENVIRONMENT "KORVANE_NO_XSHM=1")
    fishplayer_sanitizer_environment(engine.x11.noshm)
endif()
