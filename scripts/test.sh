#!/usr/bin/env bash
# Installs what is missing, builds with AddressSanitizer and UndefinedBehaviorSanitizer, and runs
# every test.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh
# The official MCP client the plug is tested with, at the version the lock file pins.
(cd tests/mcp-client && npm ci --no-audit --no-fund --loglevel=error)
# Let ccache share results between clones in different folders (CI builds in a fresh clone).
export CCACHE_BASEDIR="$PWD" CCACHE_NOHASHDIR=1
cmake --preset dev >/dev/null
cmake --build --preset dev
export QT_QPA_PLATFORM=offscreen
# Keychain and keep-awake tests need a session bus and a Secret Service: run everything in a private
# one with a throw-away keyring, and make those tests fail rather than skip when it is missing.
export TAVIX_REQUIRE_KEYRING=1
scripts/with-keyring.sh ctest --preset dev -j2
