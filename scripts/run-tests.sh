#!/usr/bin/env bash
# Installs the dependencies, builds TESSEL and runs the whole test suite: once in the
# optimised build, once under AddressSanitizer and UndefinedBehaviorSanitizer, once under
# ThreadSanitizer (without the tests that start the embedded browser), then a short run of
# every fuzz target.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh
jobs=$(nproc)
# ccache keeps compiled objects between runs (the four builds share none: each has its own
# flags); a first run compiles everything.
launcher=()
command -v ccache >/dev/null && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
# Paths relative to the clone, so that another clone of the same commit finds the objects.
export CCACHE_BASEDIR="$PWD" CCACHE_SLOPPINESS="pch_defines,time_macros,include_file_mtime,include_file_ctime"

cmake --preset default "${launcher[@]}"
cmake --build --preset default -j "$jobs"
ctest --preset default

if [ "${TESSEL_SKIP_ASAN:-0}" != 1 ]; then
  cmake --preset asan "${launcher[@]}"
  cmake --build --preset asan -j "$jobs"
  ctest --preset asan
fi

if [ "${TESSEL_SKIP_TSAN:-0}" != 1 ]; then
  cmake --preset tsan "${launcher[@]}"
  cmake --build --preset tsan -j "$jobs"
  ctest --preset tsan
fi

# A short run of every libFuzzer target on its seed corpus (clang, ASan+UBSan), 3 s each so
# that the whole script stays under 20 minutes on two cores; longer runs and their figures:
# docs/fuzzing.md.
if [ "${TESSEL_SKIP_FUZZ:-0}" != 1 ]; then
  bash scripts/fuzz-smoke.sh 3
fi
