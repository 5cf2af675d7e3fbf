#!/usr/bin/env bash
# Installs the Debian packages that are missing. usage: scripts/setup.sh [build] [lint] [windows]   (default: all)
#
# Made for Debian 12, as root or with sudo. Says what it installs and why; with everything there it installs nothing
# and asks for nothing.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

groups=("$@")
[[ ${#groups[@]} -gt 0 ]] || groups=(build lint windows)
for group in "${groups[@]}"; do
  case "$group" in
    build | lint | windows) ;;
    *) fail "unknown group '$group'; the groups are build, lint and windows" ;;
  esac
done

installed() { [[ "$(dpkg-query -W -f '${Status}' "$1" 2>/dev/null)" == "install ok installed" ]]; }

# Root as it is, else sudo; without either the caller is told what to run.
as_root() {
  if [[ $EUID -eq 0 ]]; then
    "$@"
  elif command -v sudo >/dev/null; then
    sudo "$@"
  else
    fail "installing needs root: run this as root, or: apt-get install ${missing[*]}"
  fi
}

missing=()
while read -r group package why; do
  [[ -n "$group" && " ${groups[*]} " == *" $group "* ]] || continue
  installed "$package" && continue
  [[ ${#missing[@]} -gt 0 ]] || say "packages to install"
  printf '   %-28s %s\n' "$package" "$why"
  missing+=("$package")
done <<<"$PACKAGES"
[[ ${#missing[@]} -gt 0 ]] || exit 0

command -v apt-get >/dev/null || fail "this needs Debian 12 (no apt-get here); install by hand: ${missing[*]}"
# Package lists may be absent (fresh image) or too old to fetch from; they are renewed only then.
install() {
  as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends "${missing[@]}" >"$log" 2>&1
}
log="$(mktemp)"
trap 'rm -f "$log"' EXIT
if ! install; then
  say "renewing the package lists"
  as_root apt-get update -q >"$log" 2>&1 || { cat "$log" >&2; fail "apt-get update failed"; }
  install || { cat "$log" >&2; fail "apt-get could not install: ${missing[*]}"; }
fi
say "installed ${#missing[@]} package(s)"
