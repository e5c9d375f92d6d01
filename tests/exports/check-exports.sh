#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Checks what libqvncam_perfctrl.so shows the dynamic linker: the public surface (with
# the host-only test controls of this host build) is exported, nothing of the platform
# seam or the controller's private steps is, and the
# loadable libraries stay replaceable through LD_LIBRARY_PATH (no DT_RPATH, no
# link-time dependency on them), and every exported variable stays preemptible.
#   check-exports.sh LIB.so DYNAMIC_LIST
set -euo pipefail

lib=$1
dynlist=$2
nm=${NM:-nm}
readelf=${READELF:-readelf}
fail=0
problem() {
    echo "FAIL: $*"
    fail=1
}

# Demangled names of the defined dynamic symbols without ABI tags, and the same
# with thunk/vtable/typeinfo prefixes removed so that each line names the entity.
all=$("$nm" -D --defined-only -C "$lib" | sed -E 's/^[0-9a-fA-F]* +[A-Za-z] +//; s/\[abi:[^]]*\]//g')
entities=$(sed -E 's/^(vtable for |typeinfo for |typeinfo name for |VTT for |construction vtable for |guard variable for |(non-)?virtual thunk to )+//' <<<"$all")

# Internals that must never be exported, wherever they appear in a name.
internal='^(qvncam::platform::|NSCam::Utils::|QvncamJSON|C2PSMachine|C2PSInitParams)|Cam3PerfCtrlImp::__|^(property_get|__android_log_|atrace_|SetProcessProfiles|perf_lock_)'
if leaked=$(grep -E "$internal" <<<"$entities"); then
    problem "internal symbols exported:"
    sed 's/^/    /' <<<"$leaked"
fi

# Everything else must belong to the public surface, the C++ runtime's template
# instantiations (weak, default visibility in libstdc++) or the linker.
ns='NSCam::NSCamFeature::NSCamPerfCtrl::'
classes='Cam3PerfCtrl|Cam3PerfCtrlImp|PerfOperator|PerfOperatorImp|PerfOperatorHolder|PerfOperatorHolderImp|InflightOperatorHolder|InflightOperatorHolderImp'
tables='PowerEnumToStringMap|StringToPowerEnumMap|AvailablePowerHalCmds|BoostComdTable'
helpers='loadPowerHalAPI|loadCustomPerfFunctions|prepareEnterCameraPlatSettings'
public="^${ns}(${classes})(::|$)|^${ns}PerfCtrlHelper::((${tables})$|(${helpers})\\()|^qvncam_perfctrl_((set|query)_affinity|dump)$|^qvncam::host::"
runtime='^([^(]* )?(std|__gnu_cxx)::|^(_init|_fini|_edata|_end|__bss_start)$'
if unexpected=$(grep -Ev "$public|$runtime" <<<"$entities"); then
    problem "symbols outside the public surface exported:"
    sed 's/^/    /' <<<"$unexpected"
fi

required=(
    "${ns}Cam3PerfCtrl::getInstance()"
    "${ns}PerfCtrlHelper::PowerEnumToStringMap"
    "${ns}PerfCtrlHelper::StringToPowerEnumMap"
    "${ns}PerfCtrlHelper::AvailablePowerHalCmds"
    "${ns}PerfCtrlHelper::BoostComdTable"
    "${ns}PerfCtrlHelper::loadPowerHalAPI(int (*&)(int, int, int*, int), int (*&)(int))"
    "${ns}Cam3PerfCtrlImp::checkCPUMask(int)"
    "qvncam::host::reloadULogger()"
    qvncam_perfctrl_set_affinity
    qvncam_perfctrl_query_affinity
    qvncam_perfctrl_dump
)
for c in ${classes//|/ }; do
    required+=("vtable for ${ns}${c}" "typeinfo for ${ns}${c}")
done
for s in "${required[@]}"; do
    grep -qxF "$s" <<<"$all" || problem "not exported: $s"
done

# An executable that reads an exported variable may hold its own copy of it; a variable
# bound inside the library would then be initialised in one copy and read in the other.
variables=$("$nm" -D --defined-only -C "$lib" | awk '$2 ~ /^[BDR]$/ { $1 = $2 = ""; sub(/^ +/, ""); print }')
listed=$(sed -n 's/^ *"\(.*\)";$/\1/p' "$dynlist")
if unlisted=$(grep -vxF -f <(printf '%s\n' "$listed") <<<"$variables"); then
    problem "exported variables missing from $(basename "$dynlist"):"
    sed 's/^/    /' <<<"$unlisted"
fi

dynamic=$("$readelf" -d "$lib")
grep -q '(RPATH)' <<<"$dynamic" && problem "DT_RPATH set (LD_LIBRARY_PATH must win):" \
    "$(grep '(RPATH)' <<<"$dynamic")"
for dl in libqvnperf_client_vendor.so libcameracustom.so; do
    grep -q "(NEEDED).*\[$dl" <<<"$dynamic" && problem "linked against $dl (it must be dlopened)"
done

if ((fail)); then
    exit 1
fi
echo "ok: $(wc -l <<<"$all") exported symbols, public surface present, no internals, no DT_RPATH"
