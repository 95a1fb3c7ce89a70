#!/usr/bin/env bash
# Prints a digest of what the Windows run proves: the contract with the two libraries (abi/), the
# bindings (loader shim included), the exported class and the build files that make the DLL.
# CI compares it with .ci/windows-run.
set -euo pipefail
cd "$(dirname "$0")/.."
list_files() {
    if git rev-parse --is-inside-work-tree >/dev/null 2>&1; then
        git ls-files -z abi bindings api CMakeLists.txt cmake
    else
        find abi bindings api CMakeLists.txt cmake -type f -print0
    fi
}
list_files | LC_ALL=C sort -z | xargs -0 cat | sha256sum | cut -c1-16
