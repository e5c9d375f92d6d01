#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Installs the build into a scratch prefix and checks what a program built from that
# prefix sees: every installed header compiles alone (the C header also as C), and a
# program naming every declared function (TakeAddresses.cpp) links against the shared
# library alone and runs. Conversely, every function the library exports must be named
# there, so that a new one cannot go unchecked.
#   check-installed.sh BUILD_DIR TakeAddresses.cpp CXX CC
set -euo pipefail

build=$1
program=$2
cxx=$3
cc=$4
nm=${NM:-nm}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail=0
problem() {
    echo "FAIL: $*"
    fail=1
}

"${CMAKE:-cmake}" --install "$build" --prefix "$work/prefix" >/dev/null
inc=$work/prefix/include/qvncam_perfctrl
lib=$(find "$work/prefix" -name 'libqvncam_perfctrl.so' | head -n1)
[[ -n $lib ]] || { echo "FAIL: libqvncam_perfctrl.so not installed"; exit 1; }

headers=0
while read -r header; do
    headers=$((headers + 1))
    printf '#include <%s>\n' "$header" >"$work/alone.cpp"
    "$cxx" -std=c++17 -Wall -Wextra -Werror -fsyntax-only -I"$inc" "$work/alone.cpp" ||
        problem "$header does not compile alone"
done < <(cd "$inc" && find . -name '*.h' | sed 's,^\./,,' | sort)
printf '#include <qvncam_perfctrl.h>\n' >"$work/alone.c"
"$cc" -std=c11 -Wall -Wextra -Werror -fsyntax-only -I"$inc" "$work/alone.c" ||
    problem "qvncam_perfctrl.h does not compile as C"

# -O0 keeps every reference of the never-called naming function.
"$cxx" -std=c++17 -O0 -I"$inc" -c "$program" -o "$work/take.o"
if "$cxx" "$work/take.o" "$lib" -Wl,-rpath,"$(dirname "$lib")" -o "$work/take"; then
    "$work/take" 2>/dev/null || problem "the program built on the installed library failed"
else
    problem "a function declared in an installed header is not exported (link error above)"
fi

# Functions the library exports (not the private steps of exported classes, not the C++
# runtime's instantiations), each of which the program must name.
exported=$("$nm" -D --defined-only -C "$lib" | awk '$2 ~ /^[TWi]$/ { $1 = $2 = ""; sub(/^ +/, ""); print }' |
    grep -E '^(NSCam::NSCamFeature::NSCamPerfCtrl::|qvncam::host::|qvncam_perfctrl_)' |
    grep -vE '::_exit\(\)$' | sort -u)
named=$("$nm" -u -C "$work/take.o" | sed -E 's/^ *U +//' | sort -u)
if missing=$(comm -23 <(printf '%s\n' "$exported") <(printf '%s\n' "$named")) && [[ -n $missing ]]; then
    problem "exported functions that $(basename "$program") does not name:"
    sed 's/^/    /' <<<"$missing"
fi

if ((fail)); then
    exit 1
fi
echo "ok: $headers installed headers compile alone; $(wc -l <<<"$exported") exported functions named and linked"
