#!/usr/bin/env bash
# Each case changes one thing about a binary that is as it should be; the import check must see it.
# usage: check_imports_test.sh CHECK
set -euo pipefail
check="$1"
folder="$(mktemp -d)"
trap 'rm -rf "$folder"' EXIT

# What objdump would print, as far as it is looked at.
cat >"$folder/headers" <<'END'
Characteristics 0x26
	executable
DllCharacteristics	00000160
					HIGH_ENTROPY_VA
					DYNAMIC_BASE
					NX_COMPAT
Entry 5 0000000000053000 00000614 Base Relocation Directory [.reloc]
	DLL Name: KERNEL32.dll
	DLL Name: msvcrt.dll
END
printf '#!/bin/sh\ncat "%s/changed"\n' "$folder" >"$folder/objdump"
chmod +x "$folder/objdump"

# expect pass|fail TEXT [SED COMMAND]: the verdict on the changed headers, and what is said.
expect() {
  sed "${3:-}" "$folder/headers" >"$folder/changed"
  local verdict=pass
  OBJDUMP="$folder/objdump" "$check" some.exe >"$folder/output" || verdict=fail
  [[ "$verdict" == "$1" ]] && grep -qF -- "$2" "$folder/output" && return
  echo "expected $1 with '$2', not $verdict: ${3:-unchanged}"
  cat "$folder/output"
  exit 1
}

expect pass 'some.exe: KERNEL32.dll msvcrt.dll'
expect fail 'imports libstdc++-6.dll' 's/msvcrt/libstdc++-6/'
expect fail 'no imports found' '/DLL Name/d'
expect fail 'HIGH_ENTROPY_VA is not set' '/HIGH_ENTROPY_VA/d'
expect fail 'DYNAMIC_BASE is not set' '/DYNAMIC_BASE/d'
expect fail 'NX_COMPAT is not set' '/NX_COMPAT/d'
expect fail 'relocations are stripped' 's/executable/relocations stripped/'
expect fail 'it has no relocations' 's/^Entry 5 .* Base/Entry 5 0000000000000000 00000000 Base/'
printf '#!/bin/sh\nexit 1\n' >"$folder/objdump"
expect fail 'cannot be read'
