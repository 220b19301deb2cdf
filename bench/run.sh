#!/usr/bin/env bash
# Builds what the benchmarks need and prints their tables: first the poll
# line (the headless station against qelsim on loopback TCP and on a
# pseudo-terminal paced at 9600 baud, side by side with mbpoll and a pymodbus
# client doing the same reads; bench/line_bench.py --help for its options),
# then the data log, event scan and trend per row and sample.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh >/dev/null
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j"$(nproc)" --target qelsim qelstation bench_records bench_trend >/dev/null
/usr/bin/python3 bench/line_bench.py "$@"
echo
build/bench/bench_records --benchmark_format=console 2>/dev/null
QT_QPA_PLATFORM=offscreen build/bench/bench_trend --benchmark_format=console 2>/dev/null
