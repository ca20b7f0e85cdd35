#!/usr/bin/env bash
# Configures and builds into the given folder with the given build type.
# Usage: build.sh <build folder> <Debug|Release> [extra cmake arguments]
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
folder=$1
type=$2
shift 2
cmake -S "$here" -B "$folder" -G Ninja -DCMAKE_BUILD_TYPE="$type" "$@" >/dev/null
cmake --build "$folder" --parallel "$(nproc)"
