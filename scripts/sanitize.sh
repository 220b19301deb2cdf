#!/usr/bin/env bash
# Builds everything with AddressSanitizer and UndefinedBehaviorSanitizer
# (clang) into build-san/, runs the whole test suite there (the fuzz
# targets replay their seeds and past findings as tests), then fuzzes every
# target from its seeds for FUZZ_SECONDS seconds (20 by default), two at a
# time. Any sanitizer report, failed test or fuzz finding fails the script;
# a finding's input is kept under build-san/fuzz-artifacts/ and its path
# printed.
#
#   bash scripts/sanitize.sh                        # build, tests, fuzz
#   FUZZ_SECONDS=600 bash scripts/sanitize.sh --fuzz-only   # a longer fuzz, no tests
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
build=$root/build-san
fuzz_only=0
for arg in "$@"; do
  case $arg in
    --fuzz-only) fuzz_only=1 ;;
    *) echo "usage: $0 [--fuzz-only]   (FUZZ_SECONDS=n sets the seconds per target)" >&2; exit 2 ;;
  esac
done
seconds=${FUZZ_SECONDS:-20}

bash scripts/install-deps.sh
command -v clang++ >/dev/null || { echo "sanitize: clang++ is missing" >&2; exit 1; }

# Every report ends the process with a failure (the build makes each
# undefined-behaviour check fatal as well). Leaks are looked for too; what
# Qt or a system library keeps to the end would be suppressed by name in
# tests/fuzz/lsan.supp, each with its reason.
export ASAN_OPTIONS="halt_on_error=1:detect_leaks=1:detect_stack_use_after_return=1:strict_init_order=1:check_initialization_order=1"
export UBSAN_OPTIONS="halt_on_error=1:print_stacktrace=1"
export LSAN_OPTIONS="suppressions=$root/tests/fuzz/lsan.supp:print_suppressions=0"

# The soak test simulates 24 hours by default (three minutes under the
# sanitizers); six hours take each of its paths many times over.
export QEL_SOAK_HOURS=${QEL_SOAK_HOURS:-6}

status=0
t0=$SECONDS
# -O1 with line tables: the sanitizers' usual level, and the build is far
# quicker than at -O2 with full debug information.
CC=clang CXX=clang++ cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_CXX_FLAGS_RELWITHDEBINFO="-O1 -gline-tables-only" -DQEL_SANITIZE=ON -DQEL_FUZZ=ON >/dev/null
cmake --build "$build" -j2
t_build=$((SECONDS - t0))

t_tests=0
if [ "$fuzz_only" -eq 0 ]; then
  t1=$SECONDS
  (cd "$build" && ctest --output-on-failure -j2 --timeout 600) || status=1
  t_tests=$((SECONDS - t1))
fi

# Fuzzing: new inputs go to a scratch corpus under build-san, never into
# the repository; the seeds and past findings are read from there.
t2=$SECONDS
mapfile -t targets < <(find "$build/tests/fuzz" -maxdepth 1 -type f -executable -name 'fuzz_*' -printf '%f\n' | sort)
rm -rf "$build/fuzz-work" "$build/fuzz-artifacts" "$build/fuzz-logs"
mkdir -p "$build/fuzz-logs"

fuzz_one() {
  local t=$1 dirs=() rc=0
  mkdir -p "$build/fuzz-work/$t" "$build/fuzz-artifacts/$t"
  for kind in corpus regressions; do
    [ -d "$root/tests/fuzz/$kind/$t" ] && dirs+=("$root/tests/fuzz/$kind/$t")
  done
  "$build/tests/fuzz/$t" -max_total_time="$seconds" -timeout=25 -rss_limit_mb=2048 -print_final_stats=1 \
    -artifact_prefix="$build/fuzz-artifacts/$t/" "$build/fuzz-work/$t" "${dirs[@]}" \
    >"$build/fuzz-logs/$t.log" 2>&1 || rc=$?
  echo "$rc" >"$build/fuzz-logs/$t.rc"
}

for t in "${targets[@]}"; do
  while [ "$(jobs -rp | wc -l)" -ge 2 ]; do wait -n || true; done
  fuzz_one "$t" &
done
wait

printf '\n%-22s %12s %10s  %s\n' target runs exec/s result
for t in "${targets[@]}"; do
  result=ok
  [ "$(cat "$build/fuzz-logs/$t.rc" 2>/dev/null)" = 0 ] || result=FAILED
  log=$build/fuzz-logs/$t.log
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1)
  speed=$(sed -n 's/.*exec\/s: *\([0-9]*\).*/\1/p' "$log" | tail -1)
  printf '%-22s %12s %10s  %s\n' "$t" "${runs:--}" "${speed:--}" "$result"
  if [ "$result" != ok ]; then
    status=1
    grep -E '^(==[0-9]+==|==qelfuzz==|SUMMARY|.*runtime error)' "$log" | head -20 || true
    for f in "$build/fuzz-artifacts/$t"/*; do
      [ -e "$f" ] && echo "  finding: $f (replay: $build/tests/fuzz/$t $f; keep it in tests/fuzz/regressions/$t/)"
    done
    echo "  log: $log"
  fi
done
t_fuzz=$((SECONDS - t2))

echo
echo "sanitize: configure+build ${t_build}s, tests ${t_tests}s, fuzz ${t_fuzz}s (${seconds}s a target)"
[ "$status" -eq 0 ] && echo "sanitize: no findings" || echo "sanitize: FAILED"
exit "$status"
