#!/usr/bin/env bash
# Installs what the Windows build needs on Debian 12: MinGW-w64 (posix threads), Wine, and the
# deb-src lines that let scripts/build-qt-mingw.sh fetch Debian's Qt source. Elevates itself when
# not root.
set -euo pipefail
if [ "$(id -u)" -ne 0 ]; then
    exec sudo "$0" "$@"
fi
export DEBIAN_FRONTEND=noninteractive
if ! grep -rqs '^Types: deb-src' /etc/apt/sources.list.d/ && ! grep -qs '^deb-src' /etc/apt/sources.list; then
    sed 's/^Types: deb$/Types: deb-src/' /etc/apt/sources.list.d/debian.sources >/etc/apt/sources.list.d/debian-src.sources
fi
apt-get update -qq
apt-get install -y -qq --no-install-recommends \
    g++-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64 wine wine64 dpkg-dev xz-utils >/dev/null
echo "setup: MinGW-w64, Wine and Qt's source package available"
