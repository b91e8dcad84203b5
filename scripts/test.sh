#!/usr/bin/env bash
# Installs what is missing, builds with AddressSanitizer and UndefinedBehaviorSanitizer, and runs
# every test.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh
# Let ccache share results between clones in different folders (CI builds in a fresh clone).
export CCACHE_BASEDIR="$PWD" CCACHE_NOHASHDIR=1
cmake --preset dev >/dev/null
cmake --build --preset dev
export QT_QPA_PLATFORM=offscreen
ctest --preset dev -j2
