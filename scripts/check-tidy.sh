#!/usr/bin/env bash
# Static analysis of the product's sources with .clang-tidy, with the options a configured preset compiles them with.
# usage: scripts/check-tidy.sh [PRESET]   (default: dev)
#
# Most of an analysis goes into the headers, which neighbouring sources share: a folder's sources are analysed in batches.
# Those of a batch that does not pass, be it for names that only collide within it, are analysed one by one, and that counts.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
cd "$ROOT"
BATCH=6

build="build/${1:-dev}"
commands="$build/compile_commands.json"
[[ -f "$commands" ]] || fail "no $commands: run cmake --preset ${1:-dev} first"
batches="$build/tidy"
rm -rf "$batches"
mkdir -p "$batches"

# Of precompiled headers the analysis would read everything; it is better off with the headers themselves.
options="$(sed -n '/ -o service\/CMakeFiles\/product\.dir\//{s/^ *"command": "[^ ]* \(.*\) -o .*/\1/p;q}' "$commands" |
  sed -E 's/ -Winvalid-pch| -Xclang -include(-pch)? -Xclang [^ ]+//g')"
[[ -n "$options" ]] || fail "the product's sources are not in $commands"

# What the preset compiles, be it on its own or by way of a source that includes several.
find "$build" -path '*/Unity/*.cxx' -exec cat {} + | cat - "$commands" >"$batches/compiled"

# A batch is one source of the text of several: of what it includes the path-sensitive checks would look at nothing.
count=0
for folder in service device common rpc auth appservice tasks client; do
  for file in "$folder"/*.cpp; do
    grep -qF "\"$ROOT/$file\"" "$batches/compiled" || continue
    batch="$batches/$folder-$((count / BATCH))"
    cat "$file" >>"$batch.cpp"
    echo "$file" >>"$batch.sources"
    count=$((count + 1))
  done
done
[[ $count -gt 0 ]] || fail "no sources found"

tidy() {
  # shellcheck disable=SC2086 -- the options are words
  clang-tidy --quiet --config-file=.clang-tidy "$@" -- $OPTIONS \
    2> >(grep -v ' warnings\? generated\.$' >&2) # counts of what the configuration leaves out
}

# analyse BATCH
analyse() {
  local file failed=0
  tidy "$1.cpp" >/dev/null 2>&1 && return
  while read -r file; do tidy "$file" || failed=1; done <"$1.sources"
  return "$failed"
}
export -f tidy analyse
export OPTIONS="$options"
printf '%s\0' "$batches"/*.sources | xargs -0 -n 1 -P "$JOBS" bash -c 'analyse "${1%.sources}"' -
echo "$count files analysed"
