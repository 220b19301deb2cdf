#!/usr/bin/env bash
# Takes the README's pictures under Xvfb at 1920x1080: the real station
# against lines of qelsim chambers (overview screens of 4, 9, 16, 25 and 30
# chambers, the page of a line of one chamber), and a page of each model
# filled from a record (the widget test that draws them). Saved into
# docs/screenshots/.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j"$(nproc)" --target qelsim qelstation test_model_pages test_trend_graph
out="$PWD/docs/screenshots"
mkdir -p "$out"
work="$(mktemp -d)"
trap 'kill $(jobs -p) 2>/dev/null || true; rm -rf "$work"' EXIT
screen="-screen 0 1920x1080x24"

# shot NAME CHAMBERS: the station on a line of CHAMBERS simulated chambers
# (QEL2000 and QEL2100 in turn, every third one running), 30 ticks, then a picture.
shot() {
  local name="$1" chambers="$2" app="$work/$1" port=$((21000 + RANDOM % 5000))
  mkdir -p "$app"
  cp data/app/*.ini data/app/*.xml "$app/"
  python3 - "$app/SetUserTag.ini" "$chambers" <<'PY'
import sys
path, n = sys.argv[1], int(sys.argv[2])
text = open(path, 'rb').read().decode('cp949')
lines = []
section = ''
for line in text.split('\r\n'):
    if line.startswith('['):
        section = line
    key, eq, value = line.partition('=')
    if section == '[Set]' and key == 'MAX_CHAMBER_NO':
        line = f'MAX_CHAMBER_NO={n}'
    elif section == '[Set]' and key.startswith('Chamber '):
        c = int(key.split()[1])
        line = f'{key}={c if c <= n else 0}'
    elif section == '[Model]' and eq:
        line = f'{key}=QEL2{"1" if int(key) % 2 == 0 else "0"}00/'
    lines.append(line)
open(path, 'wb').write('\r\n'.join(lines).encode('cp949'))
PY
  sed -i "s|^RemotePort=.*|RemotePort=$port\r|" "$app/SetComm.ini"
  local args=(--tcp --host-base 127.0.0.11 --port "$port")
  for c in $(seq "$chambers"); do
    args+=(--chamber "$c:QEL2$([ $((c % 2)) = 0 ] && echo 1 || echo 0)00")
    [ $((c % 3)) = 1 ] && args+=(--run "$c")
  done
  build/sim/qelsim "${args[@]}" > "$app/qelsim.out" 2>&1 &
  local sim=$!
  for _ in $(seq 50); do grep -q '^ready' "$app/qelsim.out" && break; sleep 0.1; done
  QT_QPA_PLATFORM=xcb xvfb-run -a -s "$screen" \
    build/app/qelstation --app-dir "$app" --cycles "$(( chambers > 4 ? 4 : 30 ))" --screenshot "$out/$name.png"
  kill "$sim" 2>/dev/null || true
  wait "$sim" 2>/dev/null || true
}

for n in 4 9 16 25 30; do shot "overview-$n" "$n"; done
shot page-live-qel2000 1
QEL_SCREENSHOT_DIR="$out" QT_QPA_PLATFORM=xcb xvfb-run -a -s "$screen" build/tests/ui/test_model_pages >/dev/null
# A week of simulated trend (the last day on screen).
QEL_SCREENSHOT_DIR="$out" QT_QPA_PLATFORM=xcb xvfb-run -a -s "$screen" build/tests/ui/test_trend_graph \
  --gtest_filter='*WeekOfTrend*' >/dev/null
ls "$out"
