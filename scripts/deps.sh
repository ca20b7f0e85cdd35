#!/usr/bin/env bash
# Installs the Debian 12 packages the console needs, and only those missing.
# Usage: deps.sh [--gui] [--windows]
#   --gui      adds what the demo needs without a display
#   --windows  adds the mingw-w64 cross compiler and Wine for the Windows build and its tests
set -euo pipefail

packages=(cmake ninja-build g++ qt6-base-dev libsqlite3-dev libgl-dev fonts-dejavu-core)
for option in "$@"; do
    case "$option" in
    --gui) packages+=(xvfb xauth) ;;
    --windows) packages+=(g++-mingw-w64-x86-64-posix wine64) ;;
    *)
        echo "deps.sh: unknown option $option" >&2
        exit 2
        ;;
    esac
done

missing=()
for package in "${packages[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed"; then
        missing+=("$package")
    fi
done

if ((${#missing[@]})); then
    echo "Installing: ${missing[*]}"
    if [[ $(id -u) -ne 0 ]]; then
        echo "These packages are missing and installing them needs root: ${missing[*]}" >&2
        exit 1
    fi
    export DEBIAN_FRONTEND=noninteractive
    apt-get update -qq
    apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
