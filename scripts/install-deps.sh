#!/usr/bin/env bash
# Installs the Debian packages Tavix needs to build, run and test, skipping those already present.
set -euo pipefail

packages=(
  build-essential cmake ninja-build ccache pkg-config
  qt6-base-dev qt6-svg-dev qt6-websockets-dev qcoro-qt6-dev qtkeychain-qt6-dev libgl1-mesa-dev
  rapidjson-dev libgtest-dev libgmock-dev libbenchmark-dev libintelrdfpmath-dev
  libsecret-1-0 gnome-keyring dbus xvfb xauth
)
# Node.js and npm run the official MCP client in the tests. Debian's packages, unless the computer
# already has them from elsewhere (NodeSource's nodejs carries its own npm and refuses Debian's).
command -v node >/dev/null 2>&1 || packages+=(nodejs)
command -v npm >/dev/null 2>&1 || packages+=(npm)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

echo "Installing: ${missing[*]}"
sudo_cmd=()
if [ "$(id -u)" -ne 0 ]; then
  sudo_cmd=(sudo)
fi
export DEBIAN_FRONTEND=noninteractive
"${sudo_cmd[@]}" apt-get update -qq
"${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
