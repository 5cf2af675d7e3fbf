#!/usr/bin/env bash
# Builds and runs everything that is checked on the host. usage: scripts/test.sh [--quick]
#
#   tests       every test of the preset dev, through ctest (the include check is one of them)
#   format      the layout of the sources
#   analysis    the product under clang's thread-safety analysis, and clang-tidy (both left out by --quick)
#   fuzzing     each fuzz target for 20 seconds (left out by --quick)
# The last line counts tests and checks together; the exit status is 0 only when none failed.
set -uo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

quick=0
case "${1:-}" in
  --quick) quick=1 ;;
  '') ;;
  *) fail "usage: scripts/test.sh [--quick]" ;;
esac

passed=0 failed=0

# check NAME COMMAND...: one check with its own verdict.
check() {
  local name="$1" start=$SECONDS
  shift
  say "$name"
  if "$@"; then
    passed=$((passed + 1))
    say "$name: passed ($(seconds_since "$start") s)"
  else
    failed=$((failed + 1))
    say "$name: FAILED ($(seconds_since "$start") s)"
  fi
}

# Runs ctest and adds its counts, read from its report. A run without a single test is a failure.
run_tests() {
  local report="$ROOT/build/dev/test-report.xml" total bad
  rm -f "$report"
  ctest --test-dir "$ROOT/build/dev" -j "$JOBS" --timeout 120 --output-on-failure --no-tests=error \
    --output-junit "$report" --progress
  local status=$?
  total="$(sed -n 's/.*[[:space:]]tests="\([0-9]*\)".*/\1/p' "$report" 2>/dev/null | head -n 1)"
  bad="$(sed -n 's/.*[[:space:]]failures="\([0-9]*\)".*/\1/p' "$report" 2>/dev/null | head -n 1)"
  [[ $status -eq 0 || "${bad:-0}" -gt 0 ]] || bad=$((${bad:-0} + 1))
  [[ "${total:-0}" -gt 0 ]] || { total=1 bad=1; }
  passed=$((passed + total - bad))
  failed=$((failed + bad))
}

clang_build() { configure clang && build clang product; }

"$ROOT/scripts/setup.sh" build lint || fail "setup failed"
say "building (preset dev)"
start=$SECONDS
configure dev
build dev || fail "the build failed"
say "built in $(seconds_since "$start") s"
say "tests"
run_tests
check "format" "$ROOT/scripts/check-format.sh"
if [[ $quick -eq 0 ]]; then
  check "thread-safety analysis" clang_build
  check "static analysis" "$ROOT/scripts/check-tidy.sh" dev
  check "fuzzing" "$ROOT/scripts/fuzz.sh"
fi
echo "$passed passed, $failed failed"
[[ $failed -eq 0 ]]
