# cmake -DMODE=install|subdirectory -DSOURCE_DIR=... -DBUILD_DIR=... -DWORK_DIR=... -DGENERATOR=... -DQT_MAJOR=5|6
#     [-DFAKES_DIR=...] [-DTOOLCHAIN=... -DQT_PREFIX=... -DEMULATOR=... -DRUNTIME_DIR=...] -P check_package.cmake
# With a toolchain (cross builds), the clients are built with it and run under the emulator, with
# the DLLs they need copied into their own folder, where Windows looks first.
function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE out)
    if(NOT rc EQUAL 0)
        message(FATAL_ERROR "failed: ${ARGN}\n${out}")
    endif()
    message(STATUS "${out}")
endfunction()

set(cross_args "")
if(TOOLCHAIN)
    set(cross_args -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN} -DFISHPLAYER_QT_PREFIX=${QT_PREFIX})
endif()

# run_client(<program> [<folder of libraries>...]): runs a client that finds the libraries of the
# given folders by their bare names.
function(run_client program)
    if(EMULATOR)
        get_filename_component(dir ${program} DIRECTORY)
        foreach(folder ${ARGN} ${RUNTIME_DIR})
            file(GLOB dlls ${folder}/*.dll)
            file(COPY ${dlls} DESTINATION ${dir})
        endforeach()
        run(${EMULATOR} ${program}.exe)
    elseif(ARGN)
        string(REPLACE ";" ":" path "${ARGN}")
        run(${CMAKE_COMMAND} -E env LD_LIBRARY_PATH=${path} ${program})
    else()
        run(${program})
    endif()
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
        -DCMAKE_PREFIX_PATH=${WORK_DIR}/prefix ${cross_args})
    check_qt_major(${WORK_DIR}/client)
    run(${CMAKE_COMMAND} --build ${WORK_DIR}/client)
    run_client(${WORK_DIR}/client/package_client ${WORK_DIR}/prefix/bin)
    # The example client, built against the installed package and run on the test fakes.
    run(${CMAKE_COMMAND} -S ${SOURCE_DIR}/examples/client -B ${WORK_DIR}/example -G ${GENERATOR}
        -DCMAKE_PREFIX_PATH=${WORK_DIR}/prefix ${cross_args})
    run(${CMAKE_COMMAND} --build ${WORK_DIR}/example)
    run_client(${WORK_DIR}/example/fishplayer_example ${WORK_DIR}/prefix/bin ${FAKES_DIR}/engine/full
        ${FAKES_DIR}/algo/full)
elseif(MODE STREQUAL "subdirectory")
    run(${CMAKE_COMMAND} -S ${SOURCE_DIR}/tests/package/parent -B ${WORK_DIR}/parent -G ${GENERATOR}
        -DFISHPLAYER_SOURCE_DIR=${SOURCE_DIR} -DFISHPLAYER_QT_MAJOR=${QT_MAJOR} ${cross_args})
    check_qt_major(${WORK_DIR}/parent)
    run(${CMAKE_COMMAND} --build ${WORK_DIR}/parent)
    run_client(${WORK_DIR}/parent/parent_client ${WORK_DIR}/parent/fishplayer)
else()
    message(FATAL_ERROR "unknown MODE ${MODE}")
endif()
