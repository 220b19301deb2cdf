#!/usr/bin/env bash
# Renders the main frame under Xvfb against qelsim and saves the pictures
# the README shows into docs/screenshots/.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j"$(nproc)" --target test_gui_station
mkdir -p docs/screenshots
QEL_SCREENSHOT_DIR="$PWD/docs/screenshots" QT_QPA_PLATFORM=xcb \
  xvfb-run -a -s "-screen 0 1280x800x24" build/tests/integration/test_gui_station
