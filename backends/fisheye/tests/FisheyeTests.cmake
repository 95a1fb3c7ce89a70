# Tests of the shared fisheye geometry (label unit).
if(NOT TARGET GTest::gtest) # cross builds have GoogleTest from tests/, built from its sources
    find_package(GTest REQUIRED)
endif()
add_executable(test_fisheye_geometry ${CMAKE_CURRENT_LIST_DIR}/test_geometry.cpp)
target_link_libraries(test_fisheye_geometry PRIVATE fishplayer_fisheye_geometry GTest::gtest GTest::gtest_main)
add_test(NAME fisheye.unit COMMAND test_fisheye_geometry)
set_tests_properties(fisheye.unit PROPERTIES LABELS "unit")
# No library of its own to find; on Windows the compiler's runtime beside Qt.
fishplayer_search_path(fisheye.unit)
fishplayer_sanitizer_environment(fisheye.unit)
