#!/usr/bin/env bash
# Keeps the product's folders apart from each other and from the host. usage: scripts/check-includes.sh [TREE]
#
#   - product files include platform/<topic>.h, headers of the product and C++ standard headers, nothing else;
#   - common/ includes no other product folder;
#   - of service/ the other folders include only debug_log.h and service_context.h;
#   - no conditional compilation, but for what only clang understands (its thread-safety annotations).
# Prints each offending line as file:line: text, and fails when there is one.
set -euo pipefail
tree="${1:-$(dirname "${BASH_SOURCE[0]}")/..}"
cd "$tree"

product=(service device common rpc auth appservice tasks)
folders=()
for folder in "${product[@]}"; do [[ -d "$folder" ]] && folders+=("$folder"); done
[[ ${#folders[@]} -gt 0 ]] || { echo "error: no product folder under $PWD" >&2; exit 1; }
mapfile -t files < <(find "${folders[@]}" -type f \( -name '*.h' -o -name '*.cpp' -o -name '*.inc' \) | sort)
[[ ${#files[@]} -gt 0 ]] || { echo "error: no sources in ${folders[*]}" >&2; exit 1; }

# C++ standard headers have neither a folder nor an extension; the C forms and the system's have.
awk -v product="${product[*]}" '
  function complain(why) { printf "%s:%d: %s   [%s]\n", FILENAME, FNR, $0, why; bad++ }
  function folderOf(path) { return substr(path, 1, index(path, "/") - 1) }
  BEGIN { count = split(product, list, " "); for (i = 1; i <= count; i++) isProduct[list[i]] = 1 }
  /^[ \t]*#[ \t]*(if|ifdef|ifndef|elif)([^a-z]|$)/ {
    if ($0 !~ /^[ \t]*#[ \t]*if(def)?[ \t]+(defined)?[ \t(]*__clang__[ \t)]*$/) complain("conditional compilation")
  }
  /^[ \t]*#[ \t]*include/ {
    includes++
    if (match($0, /<[^>]*>/)) {
      name = substr($0, RSTART + 1, RLENGTH - 2)
      if (name !~ /^[a-z_]+$/) complain("not a C++ standard header")
      next
    }
    if (!match($0, /"[^"]*"/)) { complain("include that is neither <> nor \"\""); next }
    name = substr($0, RSTART + 1, RLENGTH - 2)
    target = folderOf(name); own = folderOf(FILENAME)
    if (target == "platform") {
      if (name !~ /^platform\/[a-z_0-9]+\.h$/) complain("only platform/<topic>.h")
    } else if (!(target in isProduct)) {
      complain("not a product header")
    } else if (own == "common" && target != "common") {
      complain("common/ includes no other product folder")
    } else if (target == "service" && own != "service" && name !~ /^service\/(debug_log|service_context)\.h$/) {
      complain("of service/ only debug_log.h and service_context.h")
    }
  }
  END {
    printf "%d includes of %d files looked at, %d offending\n", includes, ARGC - 1, bad
    exit bad > 0
  }' "${files[@]}"
