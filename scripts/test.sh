#!/usr/bin/env bash
# Installs what is missing, then builds and runs every test twice: a normal
# build with warnings as errors, and a build under AddressSanitizer and
# UndefinedBehaviorSanitizer, which also holds the fuzz targets; last, every
# fuzz target runs over its seed corpus. Exits non-zero on the first failure.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

bash scripts/install-deps.sh
jobs=$(nproc)

echo "== Build and test (build/)"
cmake -S . -B build -DTASSELBY_WERROR=ON
cmake --build build -j"$jobs"
ctest --test-dir build --output-on-failure -j"$jobs"

echo "== Debian package (build/)"
bash scripts/check-package.sh build

echo "== Build and test under AddressSanitizer and UndefinedBehaviorSanitizer (build-asan/)"
# One clang build serves the sanitized tests and the fuzz targets: the tests,
# the programs they run and the fuzzers; the benchmarks are built once, above.
cmake -S . -B build-asan -DTASSELBY_WERROR=ON -DTASSELBY_SANITIZE=ON -DTASSELBY_FUZZ=ON \
    -DCMAKE_CXX_COMPILER=clang++-14
cmake --build build-asan -j"$jobs" --target tasselby_unit_tests tasselby_integration_tests fuzzers
# The settings reach the worker too: the integration tests hand the
# environment down to it through the session bus.
export ASAN_OPTIONS=halt_on_error=1:detect_leaks=1
export UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1
ctest --test-dir build-asan --output-on-failure -j"$jobs"

echo "== Fuzz targets over their seed corpora (build-asan/)"
FUZZ_BUILD=build-asan bash scripts/fuzz.sh 0
