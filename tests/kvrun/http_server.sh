#!/usr/bin/env bash
# Starts or stops the plain HTTP server that serves <dir> to the front end's
# tests on 127.0.0.1; the chosen port goes to <dir>/port.
#
#   http_server.sh start <dir>    http_server.sh stop <dir>
set -u
action=$1
dir=$2

stop() {
    if [ -f "$dir.pid" ]; then
        kill "$(cat "$dir.pid")" 2>/dev/null
        rm -f "$dir.pid"
    fi
    return 0
}

start() {
    stop
    rm -rf "$dir"
    mkdir -p "$dir"
    local port
    port=$(python3 -c 'import socket; s=socket.socket(); s.bind(("127.0.0.1",0)); print(s.getsockname()[1])')
    python3 -m http.server --bind 127.0.0.1 --directory "$dir" "$port" >"$dir.log" 2>&1 &
    echo $! >"$dir.pid"
    for _ in $(seq 1 100); do
        if (exec 3<>"/dev/tcp/127.0.0.1/$port") 2>/dev/null; then
            echo "$port" >"$dir/port"
            return 0
        fi
        sleep 0.05
    done
    echo "http server on port $port did not start" >&2
    stop
    return 1
}

case $action in
start) start ;;
stop) stop ;;
*) echo "usage: http_server.sh start|stop <dir>" >&2; exit 2 ;;
esac
