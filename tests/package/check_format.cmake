# cmake -DSOURCE_DIR=... -DCLANG_FORMAT=... -P check_format.cmake: every C++ file of the project is
# formatted as the root .clang-format says.
file(GLOB_RECURSE sources
    ${SOURCE_DIR}/api/*.h ${SOURCE_DIR}/api/*.cpp ${SOURCE_DIR}/bindings/*.h ${SOURCE_DIR}/bindings/*.cpp
    ${SOURCE_DIR}/common/*.h ${SOURCE_DIR}/common/*.cpp ${SOURCE_DIR}/mainplayer/*.h ${SOURCE_DIR}/mainplayer/*.cpp
    ${SOURCE_DIR}/subplayers/*.h ${SOURCE_DIR}/subplayers/*.cpp ${SOURCE_DIR}/backends/*.h ${SOURCE_DIR}/backends/*.cpp
    ${SOURCE_DIR}/tests/*.h ${SOURCE_DIR}/tests/*.cpp ${SOURCE_DIR}/fuzz/*.h ${SOURCE_DIR}/fuzz/*.cpp
    ${SOURCE_DIR}/examples/*.cpp ${SOURCE_DIR}/bench/*.cpp)
execute_process(COMMAND ${CLANG_FORMAT} --dry-run --Werror ${sources} RESULT_VARIABLE rc ERROR_VARIABLE err)
if(NOT rc EQUAL 0)
    message(FATAL_ERROR "files not formatted (run clang-format -i on them):\n${err}")
endif()
list(LENGTH sources count)
message(STATUS "${count} files formatted")
