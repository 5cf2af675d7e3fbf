#!/usr/bin/env bash
# Static analysis of the product's sources with .clang-tidy, over the compile commands of a preset that is configured.
# usage: scripts/check-tidy.sh [PRESET]   (default: dev)
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
cd "$ROOT"

build="build/${1:-dev}"
[[ -f "$build/compile_commands.json" ]] || fail "no $build/compile_commands.json: run cmake --preset ${1:-dev} first"
folders=()
for folder in service device common rpc auth appservice tasks client; do [[ -d "$folder" ]] && folders+=("$folder"); done
mapfile -t files < <(find "${folders[@]}" -name '*.cpp' | sort | while read -r file; do
  grep -qF "\"$ROOT/$file\"" "$build/compile_commands.json" && echo "$file"
done)
[[ ${#files[@]} -gt 0 ]] || fail "none of the product's sources is in $build/compile_commands.json"
printf '%s\0' "${files[@]}" | xargs -0 -n 2 -P "$JOBS" clang-tidy --quiet -p "$build" \
  2> >(grep -v ' warnings\? generated\.$' >&2) # counts of what the configuration leaves out
echo "${#files[@]} files analysed"
