# cmake -DMODE=install|subdirectory -DSOURCE_DIR=... -DBUILD_DIR=... -DWORK_DIR=... -DGENERATOR=... [-DFAKES_DIR=...] -P check_package.cmake
function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE out)
    if(NOT rc EQUAL 0)
        message(FATAL_ERROR "failed: ${ARGN}\n${out}")
    endif()
    message(STATUS "${out}")
endfunction()

file(REMOVE_RECURSE ${WORK_DIR})
if(MODE STREQUAL "install")
    run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${WORK_DIR}/prefix)
    run(${CMAKE_COMMAND} -S ${SOURCE_DIR}/tests/package/client -B ${WORK_DIR}/client -G ${GENERATOR}
        -DCMAKE_PREFIX_PATH=${WORK_DIR}/prefix)
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
        -DFISHPLAYER_SOURCE_DIR=${SOURCE_DIR})
    run(${CMAKE_COMMAND} --build ${WORK_DIR}/parent)
    run(${WORK_DIR}/parent/parent_client)
else()
    message(FATAL_ERROR "unknown MODE ${MODE}")
endif()
