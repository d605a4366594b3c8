#!/usr/bin/env bash
# Installs the Debian packages the build, the tests and the benchmarks need.
# Quick when everything is already there: apt-get runs only for what is missing.
set -euo pipefail

packages=(
    build-essential cmake pkg-config clang-format
    clang libclang-rt-dev
    libtinyxml-dev
    libboost-dev libboost-thread-dev libboost-system-dev
    libzip-dev zlib1g-dev libpng-dev libdeflate-dev libopenexr-dev
    nlohmann-json3-dev
    libgtest-dev libgmock-dev libbenchmark-dev libgegl-dev
    libhwy-dev
    unzip
    python3-dev pybind11-dev python3-numpy python3-pytest python3-dask python3-distributed
    libcpp-httplib-dev libjs-three chromium chromium-driver python3-selenium
)

missing=()
for p in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done

if [ ${#missing[@]} -gt 0 ]; then
    SUDO=""
    [ "$(id -u)" -ne 0 ] && SUDO="sudo"
    echo "installing: ${missing[*]}"
    $SUDO apt-get update -qq
    DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi
