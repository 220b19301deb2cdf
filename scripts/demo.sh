#!/usr/bin/env bash
# Builds the station and qelsim, starts a line of simulated chambers and the
# station against it: the window where a display exists, headless otherwise.
#   bash scripts/demo.sh              # Modbus/TCP on loopback
#   QEL_DEMO_PROTOCOL=RTU bash scripts/demo.sh   # or ASC: a pseudo-terminal line
# Extra arguments go to qelstation (for example --headless --cycles 50 --json).
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j"$(nproc)" --target qelsim qelstation qelpoll

protocol="${QEL_DEMO_PROTOCOL:-ETH}"
app="$PWD/build/demo-app"
rm -rf "$app"
mkdir -p "$app"
cp data/app/*.ini data/app/*.xml "$app/"
# The demo line has seven chambers: the shipped four, a QEL2200, a QEL2300 and a QEL2400.
sed -i "s|^MAX_CHAMBER_NO=4|MAX_CHAMBER_NO=7|; s|^Chamber 05=0|Chamber 05=5|; s|^Chamber 06=0|Chamber 06=6|; \
  s|^Chamber 07=0|Chamber 07=7|; s|^5=QEL2000/|5=QEL2200/|; s|^6=QEL2000/|6=QEL2300/|; s|^7=QEL2000/|7=QEL2400/|" \
  "$app/SetUserTag.ini"

case "$protocol" in
  ETH) sim_args=(--demo --tcp --host-base 127.0.0.11 --port 1502) ;;
  RTU) sim_args=(--demo --rtu --link "$app/qel-line") ;;
  ASC) sim_args=(--demo --asc --link "$app/qel-line") ;;
  *) echo "QEL_DEMO_PROTOCOL must be ETH, RTU or ASC" >&2; exit 2 ;;
esac
if [ "$protocol" != ETH ]; then
  sed -i "s|^Protocol=ETH/|Protocol=$protocol/|; s|^PCSpeed=100|PCSpeed=150|" "$app/SetComm.ini"
  printf '[Ports]\r\nCOM1=%s\r\n' "$app/qel-line" >> "$app/SetComm.ini"
  sed -i "s|^Port Number=.*|Port Number=1\r|" "$app/SetComm.ini"
fi

sim_out="$app/qelsim.out"
build/sim/qelsim "${sim_args[@]}" > "$sim_out" 2>&1 &
sim=$!
trap 'kill "$sim" 2>/dev/null || true' EXIT
for _ in $(seq 50); do grep -q '^ready' "$sim_out" && break; sleep 0.1; done
grep -q '^ready' "$sim_out" || { cat "$sim_out" >&2; exit 1; }
echo "qelsim: $(grep -E '^(listen|pty)' "$sim_out" | tr '\n' ' ')"

if [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ] && [[ " $* " != *" --headless "* ]]; then
  build/app/qelstation --app-dir "$app" "$@"
else
  echo "No display: running the station headless (Ctrl-C ends it)."
  build/app/qelstation --headless --app-dir "$app" "$@"
fi
