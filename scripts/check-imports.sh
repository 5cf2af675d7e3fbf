#!/usr/bin/env bash
# What Windows binaries ask of the system that loads them. usage: scripts/check-imports.sh BINARY...
#
# For each binary one line with the libraries it imports, all of which must be part of Windows
# (scripts/windows-system-libraries.txt); and it must be loadable anywhere in a 64-bit address space with data that cannot
# be executed. Prints what is wrong, and fails when something is. OBJDUMP names another objdump.
set -euo pipefail
objdump="${OBJDUMP:-x86_64-w64-mingw32-objdump}"
allowed="$(dirname "${BASH_SOURCE[0]}")/windows-system-libraries.txt"
[[ $# -gt 0 ]] || { echo "usage: scripts/check-imports.sh BINARY..." >&2; exit 2; }

wrong=0
complain() {
  echo "$1"
  wrong=$((wrong + 1))
}

check_imports() {
  local binary="$1" library names=
  while read -r library; do
    names+=" $library"
    grep -qixF -- "$library" "$allowed" || complain "$binary: imports $library, which is not part of Windows"
  done < <(sed -n 's/^[[:space:]]*DLL Name: *//p' <<<"$2" | sort -u)
  [[ -n "$names" ]] || complain "$binary: no imports found"
  echo "$binary:$names"
}

check_hardening() {
  local binary="$1" flag
  for flag in HIGH_ENTROPY_VA DYNAMIC_BASE NX_COMPAT; do
    grep -qw -- "$flag" <<<"$2" || complain "$binary: $flag is not set"
  done
  # Without relocations the loader cannot move it, whatever the flags say.
  ! grep -qi 'relocations stripped' <<<"$2" || complain "$binary: its relocations are stripped"
  grep -Eq '^Entry 5 [0-9a-f]+ 0*[1-9a-f][0-9a-f]* Base Relocation' <<<"$2" || complain "$binary: it has no relocations"
}

for binary in "$@"; do
  headers="$("$objdump" -p "$binary")" || { complain "$binary: cannot be read"; continue; }
  check_imports "$binary" "$headers"
  check_hardening "$binary" "$headers"
done
echo "$# binaries looked at, $wrong complaints"
[[ $wrong -eq 0 ]]
