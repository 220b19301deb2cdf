#!/usr/bin/env bash
# Installs what is missing, builds everything and runs every test; then the
# same suite under AddressSanitizer and UndefinedBehaviorSanitizer, and a
# short fuzz of every parser of outside input (scripts/sanitize.sh).
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo
cmake --build build -j"$(nproc)"
(cd build && ctest --output-on-failure -j2 --timeout 300)
bash scripts/sanitize.sh
