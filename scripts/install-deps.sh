#!/usr/bin/env bash
# Installs every Debian package the station, qelsim and the tests need.
# Safe to run again: packages already present are left alone.
set -euo pipefail

PKGS=(
  build-essential cmake ninja-build pkg-config
  clang libclang-rt-14-dev  # sanitizer and fuzz build (scripts/sanitize.sh): clang, ASan/UBSan and libFuzzer runtimes
  googletest libgtest-dev libgmock-dev libbenchmark-dev
  qt6-base-dev qt6-base-dev-tools qt6-serialport-dev libqt6serialport6
  libqcustomplot-dev
  libgl-dev
  python3 python3-pymodbus python3-serial python3-serial-asyncio
  libmodbus-dev mbpoll
  xvfb xauth
  fonts-nanum  # Hangul glyphs: Korean chamber names and captions would show as boxes without a CJK font
)

missing=()
for p in "${PKGS[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done

if [ ${#missing[@]} -eq 0 ]; then
  echo "install-deps: all packages present"
  exit 0
fi

SUDO=""
[ "$(id -u)" -ne 0 ] && SUDO="sudo"
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
echo "install-deps: installed ${missing[*]}"
