#!/usr/bin/env bash
# Each line below breaks one rule of the include check; each must be found. usage: check_includes_test.sh CHECK
set -euo pipefail
check="$1"
tree="$(mktemp -d)"
trap 'rm -rf "$tree"' EXIT

# expect pass|fail FILE TEXT
expect() {
  rm -rf "${tree:?}"/*
  mkdir -p "$tree/$(dirname "$2")"
  printf '%s\n' "$3" >"$tree/$2"
  local verdict=pass
  "$check" "$tree" >"$tree/output" || verdict=fail
  [[ "$verdict" == "$1" ]] && return
  echo "expected $1, not $verdict: $2: $3"
  cat "$tree/output"
  exit 1
}

expect pass rpc/a.cpp '#include <string>'
expect pass rpc/a.cpp '#include "platform/registry.h"'
expect pass rpc/a.cpp '#include "service/debug_log.h"'
expect pass rpc/a.cpp '#include "service/service_context.h"'
expect pass service/a.cpp '#include "service/worker.h"'
expect fail rpc/a.cpp '#include "service/worker.h"'
expect fail common/a.h '#include "service/debug_log.h"'
expect fail common/a.h '#include "device/event_id.h"'
expect fail device/a.cpp '#include "platform/host/kernel/sync.h"'
expect fail device/a.cpp '#  include "machine/device.h"'
expect fail device/a.cpp '#include <windows.h>'
expect fail device/a.cpp '#include <sys/stat.h>'
expect pass common/a.h '#if defined(__clang__)'
expect fail service/a.cpp '#ifdef _WIN32'
expect fail service/a.cpp '#if defined(__clang__) && !defined(_WIN32)'
expect fail service/a.cpp '  # if defined(_WIN32)'
expect fail auth/deep/a.inc '#include "tools/report.h"'
