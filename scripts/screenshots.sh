#!/usr/bin/env bash
# Takes the README's pictures from the real station under Xvfb, against a
# demo line of qelsim: the overview of the line, and the page of a line of
# one chamber. Saved into docs/screenshots/.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j"$(nproc)" --target qelsim qelstation
mkdir -p docs/screenshots
work="$(mktemp -d)"
trap 'kill $(jobs -p) 2>/dev/null || true; rm -rf "$work"' EXIT

# shot NAME MAX_CHAMBER_NO: the station on the demo line, 30 ticks, then a picture.
shot() {
  local name="$1" chambers="$2" app="$work/$1" port=$((21000 + RANDOM % 5000))
  mkdir -p "$app"
  cp data/app/*.ini data/app/*.xml "$app/"
  sed -i "s|^RemotePort=.*|RemotePort=$port\r|" "$app/SetComm.ini"
  sed -i "s|^MAX_CHAMBER_NO=.*|MAX_CHAMBER_NO=$chambers\r|" "$app/SetUserTag.ini"
  build/sim/qelsim --demo --tcp --host-base 127.0.0.11 --port "$port" > "$app/qelsim.out" 2>&1 &
  local sim=$!
  for _ in $(seq 50); do grep -q '^ready' "$app/qelsim.out" && break; sleep 0.1; done
  QT_QPA_PLATFORM=xcb xvfb-run -a -s "-screen 0 1280x800x24" \
    build/app/qelstation --app-dir "$app" --cycles 30 --screenshot "$PWD/docs/screenshots/$name.png"
  kill "$sim" 2>/dev/null || true
  wait "$sim" 2>/dev/null || true
}

shot main-frame-overview 4
shot main-frame-page 1
echo "screenshots: docs/screenshots/main-frame-overview.png docs/screenshots/main-frame-page.png"
