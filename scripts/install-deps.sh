#!/usr/bin/env bash
# Installs the Debian 12 packages that TESSEL needs to build, test, benchmark and fuzz.
# Safe to run again: apt-get skips what is already installed.
set -euo pipefail

packages=(
  # toolchain
  build-essential cmake ninja-build pkg-config clang-format git ccache
  # core libraries
  libcli11-dev nlohmann-json3-dev libpugixml-dev libcurl4-openssl-dev libgraphviz-dev graphviz
  libpng-dev libabsl-dev
  # tests and benchmarks
  libgtest-dev libgmock-dev libbenchmark-dev python3 python3-igraph python3-networkx python3-pandas
  libcpp-httplib-dev chromium
  # Python module and its tests and example
  pybind11-dev python3-dev python3-pytest python3-numpy python3-matplotlib python3-setuptools
  python3-pip
  # fuzzing (scripts/fuzz-smoke.sh): clang with libFuzzer and the sanitizer runtimes
  clang libclang-rt-14-dev
  # cluster runs (tessel-mpi)
  libopenmpi-dev openmpi-bin
  # desktop application
  qt6-base-dev qt6-base-dev-tools qt6-svg-dev qt6-webengine-dev qt6-webengine-dev-tools libgl-dev
  xvfb xauth
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
if [ ${#missing[@]} -eq 0 ]; then
  echo "install-deps: all packages present"
  exit 0
fi

sudo_cmd=()
if [ "$(id -u)" -ne 0 ]; then
  command -v sudo >/dev/null || { echo "install-deps: run as root or install sudo" >&2; exit 1; }
  sudo_cmd=(sudo)
fi
echo "install-deps: installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
"${sudo_cmd[@]}" apt-get update -q
"${sudo_cmd[@]}" apt-get install -y -q --no-install-recommends "${missing[@]}"
