#!/usr/bin/env bash
# Builds the programs and plays the demo on a simulated machine of its own. usage: scripts/run.sh [--once] [demo options]
#
# Without --once the machine stays up until Ctrl-C, to be looked at with the tool.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

"$ROOT/scripts/setup.sh" build
say "building (preset release)"
configure release
build release programs
exec "$ROOT/build/release/bin/hkd04a7ctl" demo "$@"
