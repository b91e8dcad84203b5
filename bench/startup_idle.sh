#!/usr/bin/env bash
# Whole-program figures for the practice account with a 20-symbol watchlist:
#   - time from process start to the first painted main window, beside the same for an empty Qt
#     main window of the same size (bench/reference/EmptyWindow.cpp), measured in the same run;
#   - resident memory and CPU use while the window sits idle for a minute, beside the empty
#     window's.
# Runs the Release build under a virtual X display with throw-away settings and data folders, so
# the user's own state is neither read nor touched.
#
#   bench/startup_idle.sh [runs] [idle-seconds]
set -euo pipefail
cd "$(dirname "$0")/.."
runs=${1:-5}
idle=${2:-60}

cmake --preset release >/dev/null
cmake --build --preset release --target Tavix >/dev/null
tavix=$PWD/build/release/Tavix/Tavix

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
reference=$scratch/EmptyWindow
# shellcheck disable=SC2046
g++ -std=c++20 -O2 -fPIC bench/reference/EmptyWindow.cpp -o "$reference" $(pkg-config --cflags --libs Qt6Widgets)
export HOME=$scratch/home XDG_CONFIG_HOME=$scratch/config XDG_DATA_HOME=$scratch/data
export XDG_RUNTIME_DIR=$scratch/runtime
mkdir -p "$HOME" "$XDG_CONFIG_HOME" "$XDG_DATA_HOME" "$XDG_RUNTIME_DIR" && chmod 700 "$XDG_RUNTIME_DIR"
# Twenty symbols: stocks, funds and coins, as an active trader's list might hold.
cat >"$XDG_CONFIG_HOME/com.brindlecove.tavix.ini" <<'INI'
[General]
tavix.watchlist=AAPL, MSFT, NVDA, AMZN, GOOGL, META, TSLA, AMD, NFLX, JPM, XOM, KO, DIS, INTC, SPY, QQQ, IWM, BTC/USD, ETH/USD, SOL/USD
INI
export QT_LOGGING_RULES="com.brindlecove.tavix.startup.info=true"
export QT_MESSAGE_PATTERN="%{category}: %{message}"

clock_ticks=$(getconf CLK_TCK)
measure() {
    local log=$scratch/run.log start_ms pid painted=""
    start_ms=$(date +%s%3N)
    "$app" >"$log" 2>&1 &
    pid=$!
    for _ in $(seq 1 300); do
        painted=$(grep -o 'first paint at [0-9]*' "$log" | grep -o '[0-9]*$' || true)
        [ -n "$painted" ] && break
        sleep 0.05
    done
    [ -n "$painted" ] || { echo "no first paint logged"; cat "$log"; kill "$pid"; exit 1; }
    echo "start to first paint: $((painted - start_ms)) ms"
    if [ "$idle" -gt 0 ]; then
        sleep 5  # let the first account, quote and chart reads land
        local before after rss
        before=$(awk '{print $14 + $15}' "/proc/$pid/stat")
        sleep "$idle"
        after=$(awk '{print $14 + $15}' "/proc/$pid/stat")
        rss=$(awk '/VmRSS/ {print $2}' "/proc/$pid/status")
        echo "idle ${idle} s: CPU $(awk -v t=$((after - before)) -v hz="$clock_ticks" -v s="$idle" \
            'BEGIN {printf "%.2f", 100 * t / hz / s}') % of one core, resident $((rss / 1024)) MiB"
    fi
    kill "$pid"
    wait "$pid" 2>/dev/null || true
}

run_under_x() {  # app idle
    app=$1 idle=$2 xvfb-run -a -s "-screen 0 1400x900x24" \
        bash -c "$(declare -f measure); $(declare -p scratch clock_ticks); app=$1 idle=$2 measure"
}
for app in "$tavix" "$reference"; do
    echo "== $(basename "$app"): first run (cold caches), then $runs runs:"
    run_under_x "$app" 0
    for _ in $(seq 1 "$runs"); do run_under_x "$app" 0; done
    echo "idle:"
    run_under_x "$app" "$idle"
done
