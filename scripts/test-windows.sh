#!/usr/bin/env bash
# Builds everything for Windows and runs the tests of that build under Wine. usage: scripts/test-windows.sh [--no-build]
#
# First the service under Wine's control manager (scripts/windows-service-checks.sh), then what is handed out and the zip
# (scripts/windows-package-checks.sh), then the test programs: every case runs in a process of its own with a time limit, as
# all together have, in a fresh Wine prefix that is removed at the end. Cases where Wine differs from the platform's
# documentation are skipped by name (scripts/windows-test-skips.txt). The last line is 'N passed, N failed'; the exit status
# is 0 only when some passed and none failed.
set -uo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
source "$ROOT/scripts/windows-service-checks.sh"
source "$ROOT/scripts/windows-package-checks.sh"

BUILD="${HKD_WINDOWS_BUILD:-$ROOT/build/windows}"
SKIPS="$ROOT/scripts/windows-test-skips.txt"
CASE_LIMIT=60 # seconds
TOTAL_LIMIT=480
passed=0 failed=0 skipped=0

find_wine() {
  local candidate
  for candidate in wine64 wine64-stable /usr/lib/wine/wine64; do
    command -v "$candidate" && return
  done
  fail "no wine64 here; scripts/setup.sh windows installs it"
}

start_wine() {
  WINE="$(find_wine)" || exit 1
  export WINEPREFIX
  WINEPREFIX="$(mktemp -d)"
  trap stop_wine EXIT
  # Without a display, a debugger dialogue or the browser and .NET add-ons that a new prefix asks for.
  unset DISPLAY WAYLAND_DISPLAY
  export WINEDEBUG=-all WINEDLLOVERRIDES='mscoree,mshtml,winedbg.exe='
  timeout 300 "$WINE" wineboot -i >/dev/null 2>&1 || fail "Wine could not make its prefix"
  # For its first minute a new prefix starts no service on demand, and all that asks for one waits; booted anew it does.
  end_wine_programs
  # Otherwise it ends whenever no program runs, and a case that begins at that moment finds it gone.
  wine_server -p || fail "Wine's server does not start"
}

# wine_server OPTIONS...: the first of the places where it may be.
wine_server() {
  local server
  for server in "$(dirname "$(readlink -f "$WINE")")/wineserver" wineserver /usr/lib/wine/wineserver; do
    command -v "$server" >/dev/null && timeout 30 "$server" "$@" >/dev/null 2>&1 && return
  done
  return 1
}

end_wine_programs() { wine_server -k -w; }

stop_wine() {
  end_wine_programs
  rm -rf "$WINEPREFIX"
}

# run_windows PROGRAM ARGS...: its output without carriage returns, its exit status. The output goes through a file: a pipe
# would end only with Wine's own programs, which inherit it and outlive the case by seconds.
run_windows() {
  local status limit=$((start + TOTAL_LIMIT - SECONDS))
  [[ $limit -gt 0 ]] || { echo "no time left: all have $TOTAL_LIMIT seconds"; return 124; }
  [[ $limit -lt $CASE_LIMIT ]] || limit=$CASE_LIMIT
  (cd "$BUILD/bin" && timeout -k 5 "$limit" "$WINE" "$@") >"$WINEPREFIX/output" 2>&1 </dev/null
  status=$?
  tr -d '\r' <"$WINEPREFIX/output"
  return "$status"
}

list_cases() { run_windows "$1" --gtest_list_tests | awk '/^[^ ].*\.$/ { suite = $1 } /^  / { print suite $1 }'; }

# The reason for which a case is skipped; nothing when it is not.
skip_reason() { awk -v name="$1" '$1 == name { $1 = ""; sub(/^ +/, ""); print }' "$SKIPS"; }

run_case() {
  local program="$1" name="$2" reason output
  reason="$(skip_reason "$name")"
  if [[ -n "$reason" ]]; then
    echo "skipped  $name: $reason"
    skipped=$((skipped + 1))
    return
  fi
  if output="$(run_windows "$program" --gtest_filter="$name")" && [[ "$output" == *"[  PASSED  ] 1 test."* ]]; then
    passed=$((passed + 1))
  else
    failed=$((failed + 1))
    printf 'FAILED   %s\n%s\n' "$name" "$output"
  fi
}

run_program() {
  local program="$1.exe" cases name
  cases="$(list_cases "$program")"
  if [[ -z "$cases" ]]; then
    echo "FAILED   $program: it lists no cases"
    failed=$((failed + 1))
    return
  fi
  say "$program"
  for name in $cases; do run_case "$program" "$name"; done
  ALL_CASES+=" $cases"
}

# A name in the list of skipped cases that no program has is a mistake.
check_skips() {
  local name
  for name in $(awk '!/^#/ && NF { print $1 }' "$SKIPS"); do
    grep -qwF -- "$name" <<<"$ALL_CASES" && continue
    echo "FAILED   $SKIPS names $name, which is no case"
    failed=$((failed + 1))
  done
}

if [[ "${1:-}" != --no-build ]]; then
  "$ROOT/scripts/setup.sh" build windows || fail "setup failed"
  say "building (preset windows)"
  configure windows
  build windows || fail "the Windows build failed"
fi
start=$SECONDS
start_wine
say "Wine is up ($(seconds_since "$start") s)"
run_service_checks
say "the service's checks are over ($(seconds_since "$start") s)"
run_package_checks
ALL_CASES=
for program in $(<"$BUILD/windows-tests.txt"); do run_program "$program"; done
check_skips
[[ $skipped -eq 0 ]] || say "$skipped skipped"
echo "$passed passed, $failed failed"
[[ $failed -eq 0 && $passed -gt 0 ]]
