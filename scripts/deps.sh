#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# The Debian packages that the build, the tests and the CI checks need.
#   scripts/deps.sh          install the missing ones (as root, with apt-get)
#   scripts/deps.sh --list   print the list, one per line
set -euo pipefail

packages=(
    cmake ninja-build g++ clang pkg-config
    libjsoncpp-dev googletest libgtest-dev libgmock-dev libbenchmark-dev
    blueprint-tools android-libcutils-dev android-liblog-dev
    libxml2-utils valgrind
    clang-tidy clang-format
    golang-go golang-android-soong-dev golang-github-google-blueprint-dev
    golang-github-golang-protobuf-1-3-dev
)

if [[ ${1:-} == --list ]]; then
    printf '%s\n' "${packages[@]}"
    exit 0
fi

command -v dpkg-query >/dev/null || exit 0  # not Debian: the build says what is missing
missing=()
for p in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'ok installed' || missing+=("$p")
done
((${#missing[@]})) || exit 0

if [[ $(id -u) == 0 ]] && command -v apt-get >/dev/null; then
    echo "Installing: ${missing[*]}"
    apt-get update
    DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends "${missing[@]}"
else
    echo "Missing packages: ${missing[*]}" >&2
    echo "Install them with: sudo apt-get install --no-install-recommends ${missing[*]}" >&2
fi
