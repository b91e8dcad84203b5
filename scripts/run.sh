#!/usr/bin/env bash
# Installs what is missing, builds Tavix and opens it on the practice account.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh
export CCACHE_BASEDIR="$PWD" CCACHE_NOHASHDIR=1
cmake --preset release >/dev/null
cmake --build --preset release

if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ] && [ -z "${QT_QPA_PLATFORM:-}" ]; then
  echo "No display found: starting Tavix offscreen (QT_QPA_PLATFORM=offscreen). Stop it with Ctrl+C."
  export QT_QPA_PLATFORM=offscreen
fi
exec build/release/Tavix/Tavix
