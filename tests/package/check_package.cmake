# cmake -DMODE=install|subdirectory -DSOURCE_DIR=... -DBUILD_DIR=... -DWORK_DIR=... -DGENERATOR=... -DQT_MAJOR=5|6
#     [-DFAKES_DIR=...] -P check_package.cmake
function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE out)
    if(NOT rc EQUAL 0)
        message(FATAL_ERROR "failed: ${ARGN}\n${out}")
    endif()
    message(STATUS "${out}")
endfunction()

# The installed package brings the Qt the library was built with into its client.
function(check_qt_major client_dir)
    file(STRINGS ${client_dir}/CMakeCache.txt found REGEX "^Qt${QT_MAJOR}Core_DIR:")
    if(NOT found)
        message(FATAL_ERROR "the client in ${client_dir} did not find Qt ${QT_MAJOR} Core")
    endif()
endfunction()

if(NOT QT_MAJOR MATCHES "^[56]$")
    message(FATAL_ERROR "QT_MAJOR must be 5 or 6")
endif()
file(REMOVE_RECURSE ${WORK_DIR})
if(MODE STREQUAL "install")
    run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${WORK_DIR}/prefix)
    run(${CMAKE_COMMAND} -S ${SOURCE_DIR}/tests/package/client -B ${WORK_DIR}/client -G ${GENERATOR}
        -DCMAKE_PREFIX_PATH=${WORK_DIR}/prefix)
    check_qt_major(${WORK_DIR}/client)
    run(${CMAKE_COMMAND} --build ${WORK_DIR}/client)
    run(${WORK_DIR}/client/package_client)
    # The example client, built against the installed package and run on the test fakes.
    run(${CMAKE_COMMAND} -S ${SOURCE_DIR}/examples/client -B ${WORK_DIR}/example -G ${GENERATOR}
        -DCMAKE_PREFIX_PATH=${WORK_DIR}/prefix)
    run(${CMAKE_COMMAND} --build ${WORK_DIR}/example)
    run(${CMAKE_COMMAND} -E env LD_LIBRARY_PATH=${FAKES_DIR}/engine/full:${FAKES_DIR}/algo/full
        ${WORK_DIR}/example/fishplayer_example)
elseif(MODE STREQUAL "subdirectory")
    run(${CMAKE_COMMAND} -S ${SOURCE_DIR}/tests/package/parent -B ${WORK_DIR}/parent -G ${GENERATOR}
        -DFISHPLAYER_SOURCE_DIR=${SOURCE_DIR} -DFISHPLAYER_QT_MAJOR=${QT_MAJOR})
    check_qt_major(${WORK_DIR}/parent)
    run(${CMAKE_COMMAND} --build ${WORK_DIR}/parent)
    run(${WORK_DIR}/parent/parent_client)
else()
    message(FATAL_ERROR "unknown MODE ${MODE}")
endif()
