#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Builds everything and runs the whole test suite.
#   scripts/test.sh [BUILD_DIR]      (default: build)
# Installs missing Debian packages first when run as root.
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
"$root/scripts/deps.sh"

build=${1:-build}
cmake -S . -B "$build" -G Ninja
cmake --build "$build"
ctest --test-dir "$build" --output-on-failure --parallel "$(nproc)"
