#!/usr/bin/env bash
# Installs what is missing, builds with AddressSanitizer and UndefinedBehaviorSanitizer, and runs
# every test.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh
cmake --preset dev >/dev/null
cmake --build --preset dev
export QT_QPA_PLATFORM=offscreen
ctest --preset dev -j2
