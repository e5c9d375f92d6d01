#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# The main job: builds everything, then plays the photo-preview camera session
# through the controller against the host power service with the example
# customisation library, printing every lock it takes.
#   scripts/demo.sh [SIMULATE_OPTION]...     e.g. --svg preview.svg --trace preview.json
# BUILD_DIR (default: build) chooses the build folder. Installs missing Debian
# packages first when run as root.
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
"$root/scripts/deps.sh"

build=${BUILD_DIR:-build}
cmake -S . -B "$build" -G Ninja
cmake --build "$build"

exec "$build/tools/qvnperfctl" simulate examples/sessions/preview.json \
    --custom "$build/examples/custom/libcameracustom.so" "$@"
