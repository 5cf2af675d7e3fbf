#!/usr/bin/env bash
# Compares the sources' layout with .clang-format. usage: scripts/check-format.sh [--fix]
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
cd "$ROOT"

folders=()
for folder in service device common rpc auth appservice tasks platform machine standins client tools tests bench fuzz; do
  [[ -d "$folder" ]] && folders+=("$folder")
done
mapfile -t files < <(find "${folders[@]}" -type f \( -name '*.h' -o -name '*.cpp' \) | sort)
[[ ${#files[@]} -gt 0 ]] || fail "no sources found"
case "${1:-}" in
  --fix) clang-format -i "${files[@]}" ;;
  '')
    printf '%s\0' "${files[@]}" | xargs -0 -n 16 -P "$JOBS" clang-format --dry-run -Werror
    echo "${#files[@]} files are formatted"
    ;;
  *) fail "usage: scripts/check-format.sh [--fix]" ;;
esac
