# Sanitizer builds of everything: FISHPLAYER_SANITIZE is empty, address (with undefined) or thread.
# Included by the top-level CMakeLists.txt before any target is made.
if(FISHPLAYER_SANITIZE STREQUAL "address")
    add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=address,undefined)
elseif(FISHPLAYER_SANITIZE STREQUAL "thread")
    add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
    add_link_options(-fsanitize=thread)
elseif(NOT FISHPLAYER_SANITIZE STREQUAL "")
    message(FATAL_ERROR "FISHPLAYER_SANITIZE must be empty, address or thread")
endif()

# What the tests' ThreadSanitizer runtime reads (fishplayer_sanitizer_environment).
set(FISHPLAYER_TSAN_SUPPRESSIONS ${CMAKE_CURRENT_LIST_DIR}/tsan.supp CACHE INTERNAL "")

# fishplayer_tsan_lock_annotations(<object library> <shared library>): in ThreadSanitizer builds,
# tells ThreadSanitizer what Qt's (uninstrumented) locks order, by wrapping the Qt 5 lock functions
# at link time (TsanQtLocks.cpp). Qt 6 inlines QMutex's fast path, which no link-time wrap sees, so
# ThreadSanitizer builds are refused on Qt 6. Does nothing in other builds.
function(fishplayer_tsan_lock_annotations objects shared)
    if(NOT FISHPLAYER_SANITIZE STREQUAL "thread")
        return()
    endif()
    if(NOT FISHPLAYER_QT_MAJOR STREQUAL "5")
        message(FATAL_ERROR "ThreadSanitizer builds use Qt 5: configure with -DFISHPLAYER_QT_MAJOR=5")
    endif()
    target_sources(${objects} PRIVATE ${FISHPLAYER_SANITIZERS_DIR}/TsanQtLocks.cpp)
    set(wrap
        -Wl,--wrap=_ZN6QMutex4lockEv -Wl,--wrap=_ZN6QMutex7tryLockEi -Wl,--wrap=_ZN6QMutex6unlockEv
        -Wl,--wrap=_ZN14QReadWriteLock11lockForReadEv -Wl,--wrap=_ZN14QReadWriteLock12lockForWriteEv
        -Wl,--wrap=_ZN14QReadWriteLock6unlockEv)
    target_link_options(${objects} INTERFACE ${wrap})
    target_link_options(${shared} PRIVATE ${wrap})
endfunction()
set(FISHPLAYER_SANITIZERS_DIR ${CMAKE_CURRENT_LIST_DIR} CACHE INTERNAL "")
