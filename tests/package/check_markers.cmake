# cmake -DSOURCE_DIR=... -P check_markers.cmake: every source file of the library holds the fault marker.
file(GLOB_RECURSE sources
    ${SOURCE_DIR}/api/*.h ${SOURCE_DIR}/bindings/*.h ${SOURCE_DIR}/bindings/*.cpp ${SOURCE_DIR}/bindings/*.inc
    ${SOURCE_DIR}/common/*.h ${SOURCE_DIR}/common/*.cpp
    ${SOURCE_DIR}/mainplayer/*.h ${SOURCE_DIR}/mainplayer/*.cpp
    ${SOURCE_DIR}/subplayers/*.h ${SOURCE_DIR}/subplayers/*.cpp)
set(missing "")
foreach(source ${sources})
    file(STRINGS ${source} marker REGEX "_ZEBFAULT_")
    if(NOT marker)
        list(APPEND missing ${source})
    endif()
endforeach()
list(LENGTH sources count)
if(missing)
    message(FATAL_ERROR "files without the _ZEBFAULT_ marker: ${missing}")
endif()
message(STATUS "${count} library source files hold the marker")
