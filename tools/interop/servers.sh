# Servers of other people, on the loopback interface; to be sourced after common.sh. They are ordinary
# processes with their files in a folder of the caller's, and end with the script.

# install_packages PACKAGE...: from Debian. A server among them does not start by itself: its service
# would take ports that are not ours.
install_packages() {
    say "install $*"
    local as_root=()
    [ "$(id -u)" -eq 0 ] || as_root=(sudo)
    "${as_root[@]}" apt-get -qq update || true
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive RUNLEVEL=1 \
        apt-get -qq install -y --no-install-recommends "$@" >/dev/null ||
        fail "the packages could not be installed: $*"
}

# free_ports COUNT: ports that nobody listens at, at this moment.
free_ports() {
    /usr/bin/python3 - "$1" <<'END'
import socket, sys
sockets = [socket.create_server(("127.0.0.1", 0)) for _ in range(int(sys.argv[1]))]
print(*(each.getsockname()[1] for each in sockets))
END
}

# stop_server PID: a server that start_server has started, with its children.
stop_server() {
    kill -- "-$1" 2>/dev/null || true
    wait "$1" 2>/dev/null || true
}

# start_server LOG PORT COMMAND...: waits until it answers at the port. Sets server, its process.
start_server() {
    local log=$1 port=$2 try
    shift 2
    setsid "$@" >"$log" 2>&1 </dev/null & # a group of its own
    server=$!
    at_end stop_server "$server"
    for ((try = 0; try < 100; try++)); do
        if (: <"/dev/tcp/127.0.0.1/$port") 2>/dev/null; then
            return
        fi
        kill -0 "$server" 2>/dev/null || break
        sleep 0.2
    done
    fail "$1 does not answer at port $port, see $log"
}

# start_nginx FOLDER PORT [TLS_PORT]: what is in FOLDER/www, with and without TLS; its requests are in
# FOLDER/access.log (each the status and the path). Under /stale each answer is to be asked for again.
start_nginx() {
    local folder=$1 port=$2 secure=""
    mkdir -p "$folder/www" "$folder/temporary"
    if [ $# -gt 2 ]; then
        openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj /CN=127.0.0.1 \
            -addext subjectAltName=IP:127.0.0.1 -keyout "$folder/key.pem" -out "$folder/cert.pem" \
            2>"$folder/openssl.log" || fail "openssl made no certificate, see $folder/openssl.log"
        secure="server {
            listen 127.0.0.1:$3 ssl;
            ssl_certificate $folder/cert.pem;
            ssl_certificate_key $folder/key.pem;
            root $folder/www;
        }"
    fi
    cat >"$folder/nginx.conf" <<END
daemon off;
master_process off;
user $(id -un) $(id -gn);
pid $folder/nginx.pid;
error_log $folder/error.log;
events { worker_connections 256; }
http {
    types { application/json json; image/png png; image/jpeg jpg; }
    default_type application/octet-stream;
    log_format short '\$status \$uri';
    access_log $folder/access.log short;
    keepalive_requests 1000000;
    $(for kind in client_body proxy fastcgi uwsgi scgi; do
        printf '%s_temp_path %s;\n' "$kind" "$folder/temporary"
    done)
    server {
        listen 127.0.0.1:$port;
        root $folder/www;
        location /stale/ {
            alias $folder/www/;
            add_header Cache-Control no-cache;
        }
    }
    $secure
}
END
    start_server "$folder/nginx.log" "$port" /usr/sbin/nginx -p "$folder" -c "$folder/nginx.conf"
}

# start_mapproxy FOLDER PORT NAME TEMPLATE: one layer of web map tiles to zoom level 4, by WMTS and TMS.
start_mapproxy() {
    mkdir -p "$1"
    cat >"$1/mapproxy.yaml" <<END
services:
  wmts:
  tms:
    use_grid_names: true
layers:
  - name: $3
    title: $3
    sources: [tiles]
caches:
  tiles:
    grids: [webmercator]
    sources: [server]
    disable_storage: true
sources:
  server:
    type: tile
    grid: webmercator
    url: $4
grids:
  webmercator:
    base: GLOBAL_WEBMERCATOR
    num_levels: 5
globals:
  image:
    paletted: false
END
    start_server "$1/mapproxy.log" "$2" mapproxy-util serve-develop --bind "127.0.0.1:$2" \
        "$1/mapproxy.yaml"
}
