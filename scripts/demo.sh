#!/usr/bin/env bash
# Builds the library and runs a short program against it with the controller's
# debug log on, so every decision it takes shows on standard error.
#   scripts/demo.sh [BUILD_DIR]      (default: build)
# Installs missing Debian packages first when run as root.
#
# Interim: this becomes `qvnperfctl simulate examples/sessions/preview.json` once
# the session simulator exists.
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
"$root/scripts/deps.sh"

build=${1:-build}
cmake -S . -B "$build" -G Ninja
cmake --build "$build"
build=$(cd "$build" && pwd)

demo=$build/demo
cmake --install "$build" --prefix "$demo/prefix" >/dev/null
cmake -S .ci/package-consumer -B "$demo/hello" -G Ninja -DCMAKE_PREFIX_PATH="$demo/prefix" >/dev/null
cmake --build "$demo/hello"

cat >"$demo/demo.properties" <<'PROPS'
# Controller debug lines on, to standard error.
vendor.debug.qvncam.ulog.detail=5
vendor.debug.qvncam.ulog.mask=0x1001000
vendor.cam3perfctrl.log=1
PROPS

# Use the host power service when the build has one (not a test double).
client=
if [[ -d $build/powerservice ]]; then
    client=$(find "$build/powerservice" -name libqvnperf_client_vendor.so -print -quit)
fi
libdir=${client:+$(dirname "$client")}
echo "== power service: ${client:-none (boosts get no lock)}"
echo "== running perfctrl_hello"
LD_LIBRARY_PATH=$libdir QVNCAM_PROPERTIES=$demo/demo.properties "$demo/hello/perfctrl_hello"
