#!/usr/bin/env bash
# Installs what is missing, builds with warnings as errors and runs every test.
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
"$here/scripts/deps.sh"
"$here/scripts/build.sh" "$here/build-tests" Debug -DCW_WERROR=ON -DCW_BUILD_TESTS=ON
cd "$here/build-tests"
QT_QPA_PLATFORM=offscreen ctest --output-on-failure --parallel "$(nproc)" --timeout 600
