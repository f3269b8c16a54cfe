#!/usr/bin/env bash
# Starts or stops the network tests' peers on 127.0.0.1: nginx (files with
# Content-Length, 404s, DAV uploads), tinyproxy (the proxy of KV_PROXY) and
# the tests' own peer (peer.py). Ports are chosen free and written to
# <dir>/ports as NAME=port lines. With "nginx" after the directory only nginx
# starts (the download benchmark needs nothing else).
#
#   servers.sh start <dir> [nginx]    servers.sh stop <dir>
set -u
action=$1
dir=$2
only=${3:-}
here=$(cd "$(dirname "$0")" && pwd)

free_port() {
    python3 -c 'import socket; s=socket.socket(); s.bind(("127.0.0.1",0)); print(s.getsockname()[1])'
}

wait_port() {
    for _ in $(seq 1 100); do
        (exec 3<>"/dev/tcp/127.0.0.1/$1") 2>/dev/null && return 0
        sleep 0.05
    done
    echo "peer on port $1 did not start" >&2
    return 1
}

stop() {
    for name in nginx tinyproxy peer; do
        if [ -f "$dir/$name.pid" ]; then
            kill "$(cat "$dir/$name.pid")" 2>/dev/null
            rm -f "$dir/$name.pid"
        fi
    done
    return 0
}

start() {
    stop
    rm -rf "$dir"
    mkdir -p "$dir/www/files" "$dir/www/uploads" "$dir/nginx-temp" "$dir/record"
    printf 'hello from nginx\n' >"$dir/www/files/hello.txt"
    head -c 300000 /dev/urandom >"$dir/www/files/big.bin"

    local nginx_port proxy_port
    nginx_port=$(free_port)
    proxy_port=$(free_port)
    cat >"$dir/nginx.conf" <<CONF
daemon off;
worker_processes 1;
pid $dir/nginx.pid;
error_log $dir/nginx-error.log;
events { worker_connections 64; }
http {
    access_log $dir/nginx-access.log;
    client_body_temp_path $dir/nginx-temp;
    proxy_temp_path $dir/nginx-temp;
    fastcgi_temp_path $dir/nginx-temp;
    uwsgi_temp_path $dir/nginx-temp;
    scgi_temp_path $dir/nginx-temp;
    server {
        listen 127.0.0.1:$nginx_port;
        root $dir/www;
        location /uploads/ {
            dav_methods PUT;
            create_full_put_path on;
            client_body_timeout 5s;
        }
    }
}
CONF
    nginx -c "$dir/nginx.conf" -p "$dir" >"$dir/nginx.out" 2>&1 &
    if [ "$only" = nginx ]; then
        wait_port "$nginx_port" || { stop; return 1; }
        echo "nginx=$nginx_port" >"$dir/ports"
        return 0
    fi

    cat >"$dir/tinyproxy.conf" <<CONF
Port $proxy_port
Listen 127.0.0.1
Timeout 30
Allow 127.0.0.1
MaxClients 10
LogLevel Error
LogFile "$dir/tinyproxy.log"
PidFile "$dir/tinyproxy.pid"
CONF
    tinyproxy -d -c "$dir/tinyproxy.conf" >"$dir/tinyproxy.out" 2>&1 &
    echo $! >"$dir/tinyproxy.pid"

    python3 "$here/peer.py" "$dir/peer.port" "$dir/record" >"$dir/peer.out" 2>&1 &
    echo $! >"$dir/peer.pid"
    for _ in $(seq 1 100); do
        [ -f "$dir/peer.port" ] && break
        sleep 0.05
    done

    wait_port "$nginx_port" && wait_port "$proxy_port" || { stop; return 1; }
    [ -f "$dir/peer.port" ] || { echo "peer did not start" >&2; stop; return 1; }
    {
        echo "nginx=$nginx_port"
        echo "proxy=$proxy_port"
        echo "peer=$(cat "$dir/peer.port")"
        echo "spare=$(free_port)"
    } >"$dir/ports"
    return 0
}

case $action in
start) start ;;
stop) stop ;;
*) echo "usage: servers.sh start|stop <dir>" >&2; exit 2 ;;
esac
