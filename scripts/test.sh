#!/usr/bin/env bash
# Installs what is missing, builds everything and runs every test: the release-with-debug-info
# build in build/, then the same suites under AddressSanitizer and UndefinedBehaviorSanitizer.
# GUI suites run in a private Xvfb when there is no display.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
jobs=$(nproc)

echo "== Build (RelWithDebInfo) =="
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo > /dev/null
cmake --build build -j "$jobs"
echo "== Tests =="
scripts/with-display.sh ctest --test-dir build --output-on-failure -j "$jobs"

echo "== Build (sanitizers) =="
cmake -S . -B build-asan -G Ninja -DCMAKE_BUILD_TYPE=Debug -DVELX_SANITIZE=ON -DVELX_BUILD_BENCH=OFF > /dev/null
cmake --build build-asan -j "$jobs"
echo "== Tests (sanitizers) =="
ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 LSAN_OPTIONS="suppressions=$PWD/scripts/lsan.supp" \
  scripts/with-display.sh ctest --test-dir build-asan --output-on-failure -j "$jobs"
