# Cross-compiles fishplayer for 64-bit Windows with MinGW-w64 (posix threads) on Linux.
# FISHPLAYER_QT_PREFIX: the Qt built for MinGW (scripts/build-qt-mingw.sh prints it).
# Programs built for Windows run under Wine (tests, and CMake's emulator for add_test).
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)
set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32 ${FISHPLAYER_QT_PREFIX})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
# Packages: the Windows Qt first (re-rooted), then CMAKE_PREFIX_PATH as given (a client finding an
# installed FishPlayer).
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES FISHPLAYER_QT_PREFIX)
find_program(FISHPLAYER_WINE NAMES wine64 wine)
if(FISHPLAYER_WINE)
    set(CMAKE_CROSSCOMPILING_EMULATOR ${FISHPLAYER_WINE})
endif()
