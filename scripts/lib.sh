# Shared by the scripts of this folder: where the tree is, how they speak, which Debian packages they need.
# Sourced, not run. Callers have set -euo pipefail.

ROOT="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
JOBS="$(nproc)"

# One line per package: group, package, what it is needed for.
PACKAGES='
build    g++                            the host compiler
build    cmake                          configures the build
build    ninja-build                    runs the build
build    ccache                         keeps compiled objects between builds
build    lld                            links the programs of a debug build fast
build    libsqlite3-dev                 the registry of the simulated machine
build    libssl-dev                     SHA-256, for capability SIDs
build    liburing-dev                   replies of the RPC runtime, many in one system call
build    libcli11-dev                   command line of the tool
build    nlohmann-json3-dev             messages and records in JSON
build    libgtest-dev                   the tests
build    libgmock-dev                   the tests
build    libbenchmark-dev               the measurements under bench/
lint     clang                          thread-safety analysis, fuzz targets
lint     libclang-rt-14-dev             run-time part of the fuzzer and the sanitizers under clang
lint     clang-format                   the layout of the sources
lint     clang-tidy                     static analysis
windows  g++-mingw-w64-x86-64-posix     the cross compiler for Windows
windows  mingw-w64-tools                widl, the IDL compiler
windows  googletest                     the tests, built for Windows from source
windows  wine64                         runs the Windows tests
'

say() { printf '== %s\n' "$*"; }
fail() {
  printf 'error: %s\n' "$*" >&2
  exit 1
}

# seconds_since START: for the time each step took.
seconds_since() { echo $((SECONDS - $1)); }

# configure PRESET [CMAKE ARGS...]: quiet while it works, complete when it does not.
configure() {
  local preset="$1" log
  shift
  log="$(mktemp)"
  if ! (cd "$ROOT" && cmake --preset "$preset" "$@") >"$log" 2>&1; then
    cat "$log" >&2
    rm -f "$log"
    fail "cmake could not configure the preset '$preset'"
  fi
  rm -f "$log"
}

# build PRESET [TARGETS...]
build() {
  local preset="$1"
  shift
  (cd "$ROOT" && cmake --build --preset "$preset" -j "$JOBS" ${1:+--target "$@"})
}
