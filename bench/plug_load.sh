#!/usr/bin/env bash
# The plug under load, beside nginx in the same run: wrk with one new connection per request
# ("Connection: close") against GET / on the plug and on nginx (one worker, on a loopback port,
# serving the same bytes), then an authorized GET /v1/quote on the plug through a desk that answers
# at once. Needs wrk and nginx (apt-get install wrk nginx-light).
#
#   bench/plug_load.sh [seconds]
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-10}
cmake --preset bench >/dev/null && cmake --build --preset bench --target PlugServe >/dev/null
scratch=$(mktemp -d)
trap 'kill $(jobs -p) 2>/dev/null || true; rm -rf "$scratch"' EXIT

build/bench/bench/PlugServe 7399 >"$scratch/plug.log" &
until grep -q listening "$scratch/plug.log"; do sleep 0.1; done
curl -s http://127.0.0.1:7399/ >"$scratch/index.json"

mkdir -p "$scratch/www"
cp "$scratch/index.json" "$scratch/www/index.json"
cat >"$scratch/nginx.conf" <<CONF
worker_processes 1;
pid $scratch/nginx.pid;
error_log $scratch/error.log;
events { worker_connections 1024; }
http {
  access_log off;
  server {
    listen 127.0.0.1:7398;
    location = / { default_type application/json; alias $scratch/www/index.json; }
  }
}
CONF
nginx -c "$scratch/nginx.conf" -p "$scratch"

# Each quote request carries a key of its own: one key may ask 120 times a minute.
cat >"$scratch/keys.lua" <<'LUA'
local n = 0
request = function()
  n = n + 1
  return wrk.format("GET", "/v1/quote?symbol=AAPL", {["Authorization"] = "Bearer bench-" .. n, ["Connection"] = "close"})
end
LUA
run() {  # name url [wrk options...]
  local name=$1 url=$2
  shift 2
  echo "== $name"
  wrk -t1 -c16 -d"${seconds}s" --latency -H "Connection: close" "$@" "$url" | grep -E "Requests/sec|50%|99%|Non-2xx"
}
run "nginx GET /" http://127.0.0.1:7398/
run "plug GET /" http://127.0.0.1:7399/
run "plug GET /v1/quote, authorized" http://127.0.0.1:7399/ -s "$scratch/keys.lua"
nginx -c "$scratch/nginx.conf" -p "$scratch" -s stop
