#!/usr/bin/env bash
# Builds Qt 5 Core for Windows (MinGW-w64, posix threads) from Debian's own Qt source package and
# installs it into a cache directory outside the repository, once per machine:
#   ${FISHPLAYER_CACHE:-$HOME/.cache/fishplayer}/qt5-mingw
# A finished build leaves the file "complete" there and is reused; run it again after a failure.
# Needs the packages of scripts/setup-windows.sh. Prints the prefix on its last line.
set -euo pipefail
CACHE=${FISHPLAYER_CACHE:-$HOME/.cache/fishplayer}
PREFIX=$CACHE/qt5-mingw
if [ -f "$PREFIX/complete" ]; then
    echo "$PREFIX"
    exit 0
fi
JOBS=$(nproc)
WORK=$CACHE/qt5-mingw-work
mkdir -p "$WORK"
cd "$WORK"
if ! ls -d qtbase-opensource-src-*/ >/dev/null 2>&1; then
    # apt-get source needs deb-src lines; setup-windows.sh adds them.
    apt-get source -qq qtbase-opensource-src >/dev/null
fi
SRC=$(ls -d "$WORK"/qtbase-opensource-src-*/ | head -1)
rm -rf build "$PREFIX"
mkdir build
cd build
# Only what QtCore needs: no GUI, widgets, OpenGL, D-Bus, databases, examples or tests.
"$SRC/configure" -prefix "$PREFIX" -xplatform win32-g++ -device-option CROSS_COMPILE=x86_64-w64-mingw32- \
    -opensource -confirm-license -release -shared -nomake examples -nomake tests \
    -no-gui -no-widgets -no-opengl -no-dbus -no-icu -no-openssl -no-sql-sqlite -no-sql-odbc \
    -qt-pcre -qt-zlib -no-pch >configure.log 2>&1 || { tail -40 configure.log >&2; exit 1; }
# The library needs QtCore and the host tools CMake's package files name; the other modules are skipped.
make sub-src-qmake_all >make.log 2>&1 || { tail -40 make.log >&2; exit 1; }
make -j"$JOBS" -C src sub-corelib sub-winmain >>make.log 2>&1 || { tail -40 make.log >&2; exit 1; }
for part in src/corelib src/winmain src/tools/bootstrap src/tools/moc src/tools/rcc src/tools/tracegen; do
    make -C "$part" install >>install.log 2>&1 || { tail -40 install.log >&2; exit 1; }
done
make sub-qmake-qmake-aux-pro-install_subtargets install_mkspecs >>install.log 2>&1 || { tail -40 install.log >&2; exit 1; }
# The runtime DLLs of the cross compiler, so that Wine finds everything in one place.
for dll in libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll; do
    cp "$(x86_64-w64-mingw32-g++-posix -print-file-name="$dll")" "$PREFIX/bin/"
done
touch "$PREFIX/complete"
echo "$PREFIX"
