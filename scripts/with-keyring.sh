#!/usr/bin/env bash
# Runs a command inside a private D-Bus session with a throw-away, unlocked gnome-keyring serving
# the Secret Service, so keychain tests run for real and never touch the user's own keyring.
#   usage: scripts/with-keyring.sh <command...>
set -euo pipefail

if [ $# -eq 0 ]; then
  echo "usage: $0 <command...>" >&2
  exit 2
fi

# First pass: start a private session bus and run this script again inside it.
if [ -z "${TAVIX_KEYRING_INNER:-}" ]; then
  exec dbus-run-session -- env TAVIX_KEYRING_INNER=1 "$0" "$@"
fi
unset TAVIX_KEYRING_INNER

# The keyring keeps its files under HOME and XDG_DATA_HOME and its sockets under XDG_RUNTIME_DIR:
# all of them go to a folder removed at the end, never the user's.
scratch="$(mktemp -d "${TMPDIR:-/tmp}/tavix-keyring.XXXXXX")"
keyring_pid=""
cleanup() {
  if [ -n "$keyring_pid" ]; then kill "$keyring_pid" 2>/dev/null || true; fi
  rm -rf "$scratch"
}
trap cleanup EXIT
export HOME="$scratch/home"
export XDG_DATA_HOME="$scratch/data"
export XDG_CONFIG_HOME="$scratch/config"
export XDG_CACHE_HOME="$scratch/cache"
export XDG_RUNTIME_DIR="$scratch/run"
mkdir -p "$HOME" "$XDG_DATA_HOME" "$XDG_CONFIG_HOME" "$XDG_CACHE_HOME" "$XDG_RUNTIME_DIR"
chmod 700 "$XDG_RUNTIME_DIR"

# --unlock reads the new login keyring's password from standard input: a single newline (empty
# input leaves the keyring locked).
keyring_env="$(echo "" | gnome-keyring-daemon --unlock --components=secrets)"
keyring_pid="$(sed -n 's/^GNOME_KEYRING_PID=//p' <<<"$keyring_env")"
control="$(sed -n 's/^GNOME_KEYRING_CONTROL=//p' <<<"$keyring_env")"
if [ -n "$control" ]; then export GNOME_KEYRING_CONTROL="$control"; fi

# The daemon claims its bus name after forking: wait for it, but not forever.
owned() {
  dbus-send --session --print-reply --dest=org.freedesktop.DBus /org/freedesktop/DBus \
    org.freedesktop.DBus.NameHasOwner string:org.freedesktop.secrets 2>/dev/null | grep -q "boolean true"
}
for _ in $(seq 1 100); do
  if owned; then break; fi
  sleep 0.1
done
if ! owned; then
  echo "with-keyring: gnome-keyring did not take org.freedesktop.secrets within 10 seconds" >&2
  exit 1
fi

status=0
"$@" || status=$?
exit "$status"
