# Helpers of the tests of every folder (tests/, backends/, demo/, viewer/, fuzz/, bench/), included
# by the top-level CMakeLists.txt before any folder is added. Functions only name targets (the fakes,
# the test support library) that tests/ makes; CMake resolves them when it generates.

# The tests' own folder (its support headers serve the fuzz targets too).
set(FISHPLAYER_TESTS_DIR ${PROJECT_SOURCE_DIR}/tests CACHE INTERNAL "")
# Where the fakes of the two libraries are built, one folder per variant (tests/fakes).
set(FISHPLAYER_FAKES_DIR ${CMAKE_BINARY_DIR}/fakes CACHE INTERNAL "")

if(FISHPLAYER_BUILD_TESTS)
    find_package(GTest QUIET)
    if(NOT GTest_FOUND)
        # Cross builds have no GoogleTest for the target: build it from its sources (Debian: googletest).
        set(FISHPLAYER_GTEST_SOURCE_DIR /usr/src/googletest CACHE PATH "GoogleTest's sources, for cross builds")
        set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
        add_subdirectory(${FISHPLAYER_GTEST_SOURCE_DIR} ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
        add_library(GTest::gtest ALIAS gtest)
        add_library(GTest::gmock ALIAS gmock)
        add_library(GTest::gtest_main ALIAS gtest_main)
    endif()
endif()

# Folders the tests' programs load their libraries from besides their own folder and the named
# fakes: Qt's (and on Windows the compiler's runtime, installed beside Qt by build-qt-mingw.sh).
set(FISHPLAYER_TEST_RUNTIME_DIRS "")
if(WIN32)
    get_target_property(qtcore_dll Qt${FISHPLAYER_QT_MAJOR}::Core IMPORTED_LOCATION_RELEASE)
    if(NOT qtcore_dll)
        get_target_property(qtcore_dll Qt${FISHPLAYER_QT_MAJOR}::Core LOCATION)
    endif()
    get_filename_component(qtcore_dir "${qtcore_dll}" DIRECTORY)
    list(APPEND FISHPLAYER_TEST_RUNTIME_DIRS "${qtcore_dir}")
endif()
set(FISHPLAYER_TEST_RUNTIME_DIRS "${FISHPLAYER_TEST_RUNTIME_DIRS}" CACHE INTERNAL "")

# fishplayer_search_path(<ctest name> <folders...>): the folders the test's program finds
# libraries in by their bare names, through the loader's ordinary search: LD_LIBRARY_PATH on Linux;
# on Windows PATH, which Wine takes from WINEPATH.
function(fishplayer_search_path name)
    set(dirs ${ARGN} ${FISHPLAYER_TEST_RUNTIME_DIRS})
    if(WIN32 AND CMAKE_CROSSCOMPILING)
        list(TRANSFORM dirs PREPEND "Z:")
        list(JOIN dirs "\\;" value)
        set_property(TEST ${name} APPEND PROPERTY ENVIRONMENT "WINEPATH=${value}")
    elseif(WIN32)
        list(TRANSFORM dirs PREPEND "PATH=path_list_prepend:")
        set_property(TEST ${name} APPEND PROPERTY ENVIRONMENT_MODIFICATION ${dirs})
    else()
        list(JOIN dirs ":" value)
        set_property(TEST ${name} APPEND PROPERTY ENVIRONMENT "LD_LIBRARY_PATH=${value}")
    endif()
endfunction()

# Sanitizer builds stop at the first report.
set(FISHPLAYER_ASAN_OPTIONS "halt_on_error=1:detect_leaks=1:abort_on_error=0" CACHE INTERNAL "")
function(fishplayer_sanitizer_environment name)
    if(FISHPLAYER_SANITIZE STREQUAL "address")
        set_property(TEST ${name} APPEND PROPERTY ENVIRONMENT
            "ASAN_OPTIONS=${FISHPLAYER_ASAN_OPTIONS}" "UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1")
    elseif(FISHPLAYER_SANITIZE STREQUAL "thread")
        set_property(TEST ${name} APPEND PROPERTY ENVIRONMENT
            "TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1:suppressions=${FISHPLAYER_TSAN_SUPPRESSIONS}")
    endif()
endfunction()

# fishplayer_test(<name> <sources...>): a test program that links the library's code directly.
function(fishplayer_test name)
    add_executable(${name} ${ARGN})
    target_link_libraries(${name} PRIVATE FishPlayerObjects fishplayer_test_support GTest::gmock)
    add_dependencies(${name} fishplayer_fakes)
endfunction()

# fishplayer_client_test(<name> <sources...>): a test program that uses the shared library through
# its exported class only, as a client does.
function(fishplayer_client_test name)
    add_executable(${name} ${ARGN})
    target_link_libraries(${name} PRIVATE FishPlayer::FishPlayer fishplayer_test_support GTest::gmock)
    add_dependencies(${name} fishplayer_fakes)
endfunction()

# fishplayer_variant_test(<ctest name> <program> <gtest filter> <engine variant> <algo variant>):
# runs the tests matching the filter in a process of their own, with the named fakes found by the
# loader's ordinary search.
function(fishplayer_variant_test name program filter engine algo)
    add_test(NAME ${name} COMMAND ${program} --gtest_filter=${filter})
    set_tests_properties(${name} PROPERTIES LABELS "unit")
    fishplayer_search_path(${name} ${FISHPLAYER_FAKES_DIR}/engine/${engine} ${FISHPLAYER_FAKES_DIR}/algo/${algo})
    fishplayer_sanitizer_environment(${name})
endfunction()
