#!/usr/bin/env bash
# Runs fuzz targets, two at a time. usage: scripts/fuzz.sh [--seconds N] [TARGET...]   (default: all, 20 seconds each)
#
# Targets are the folders of fuzz/corpus. What a run finds stays below build/clang/fuzz/TARGET: new inputs in found/,
# which go when the target runs again, and an input that fails as crash-*, timeout-* or the like.
set -uo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

seconds=20
if [[ "${1:-}" == --seconds ]]; then
  [[ "${2:-}" =~ ^[1-9][0-9]*$ ]] || fail "--seconds takes a number above 0"
  seconds="$2"
  shift 2
fi
targets=("$@")
[[ ${#targets[@]} -gt 0 ]] || mapfile -t targets < <(ls "$ROOT/fuzz/corpus")
for target in "${targets[@]}"; do
  [[ -d "$ROOT/fuzz/corpus/$target" ]] || fail "no fuzz target '$target'; there are: $(ls -x "$ROOT/fuzz/corpus" | xargs)"
done

# Prints how the input that a target failed on can be looked at.
show_input() {
  local target="$1" input="$2"
  echo "the input, $input:"
  od -An -v -tx1 "$input" | tr -d ' \n'
  printf '\nreplay: %s %s\n' "build/clang/bin/fuzz-$target" "$input"
}

# One target; its verdict is one line, what went wrong stands before it.
run_target() {
  local target="$1" work="$ROOT/build/clang/fuzz/$1" log status runs input
  log="$work/log"
  rm -rf "$work"
  mkdir -p "$work/found" "$work/tmp"
  TMPDIR="$work/tmp" "$ROOT/build/clang/bin/fuzz-$target" -max_total_time="$seconds" -timeout=30 -rss_limit_mb=1024 \
    -max_len=2048 -print_final_stats=1 -artifact_prefix="$work/" "$work/found" "$ROOT/fuzz/corpus/$target" >"$log" 2>&1
  status=$?
  runs="$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")"
  if [[ $status -eq 0 && "${runs:-0}" -gt 0 ]]; then
    echo "$target: $runs runs, $(grep -o 'cov: [0-9]* ft: [0-9]*' "$log" | tail -n 1)"
    return 0
  fi
  {
    tail -n 40 "$log"
    for input in "$work"/*-*; do [[ -f "$input" ]] && show_input "$target" "$input"; done
    echo "$target: FAILED (exit status $status, ${runs:-no} runs)"
  } >"$work/report"
  cat "$work/report" >&2
  return 1
}

configure clang
build clang fuzzers || fail "the fuzz targets could not be built"
export ROOT seconds
export -f run_target show_input
printf '%s\n' "${targets[@]}" | xargs -P 2 -I {} bash -c 'run_target "$1"' run_target {}
