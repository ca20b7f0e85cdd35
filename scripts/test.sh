#!/usr/bin/env bash
# Installs what is missing, builds with warnings as errors and runs every test:
# the console's suite, then the Windows build (cross-built with mingw-w64, its
# tests run under Wine in a private prefix inside build-mingw).
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
"$here/scripts/deps.sh" --windows
"$here/scripts/build.sh" "$here/build-tests" Debug -DCW_WERROR=ON -DCW_BUILD_TESTS=ON
cd "$here/build-tests"
QT_QPA_PLATFORM=offscreen ctest --output-on-failure --parallel "$(nproc)" --timeout 600

cd "$here"
cmake --preset mingw >/dev/null
cmake --build --preset mingw --parallel "$(nproc)"
ctest --preset mingw --parallel "$(nproc)"
