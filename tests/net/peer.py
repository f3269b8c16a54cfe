#!/usr/bin/env python3
"""The network tests' own HTTP peer. It answers what the stock servers will
not send: chunked bodies of chosen sizes, malformed status lines, header
lines too long for a 512-byte buffer, truncated bodies and resets. It also
records raw uploads and echoes request heads, so that the client's exact
bytes can be checked.

Usage: peer.py <port-file> <record-dir>; the chosen port is written to the
port file once the server listens."""
import os
import socket
import socketserver
import struct
import sys
import time


def read_head(conn):
    data = b""
    while b"\r\n\r\n" not in data:
        part = conn.recv(4096)
        if not part:
            break
        data += part
    head, _, rest = data.partition(b"\r\n\r\n")
    return head.decode("latin-1"), rest


class Handler(socketserver.BaseRequestHandler):
    def handle(self):
        conn = self.request
        conn.settimeout(20)
        head, rest = read_head(conn)
        if not head:
            return
        method, target = (head.split("\r\n")[0].split(" ") + ["", ""])[:2]
        path = target.split("?")[0]
        if path.startswith("http://"):  # absolute form, as sent to a proxy
            path = "/" + path[7:].partition("/")[2]
        if method == "PUT" and path.startswith("/early/"):
            # Answers before the upload ends ("100 Continue", or an error),
            # then reads the rest slowly and records it; a reset is noted.
            if path.endswith("/error"):
                conn.sendall(b"HTTP/1.1 413 Payload Too Large\r\nContent-Length: 0\r\n\r\n")
            else:
                conn.sendall(b"HTTP/1.1 100 Continue\r\n\r\n")
            time.sleep(0.5)
            data = rest
            try:
                while True:
                    part = conn.recv(65536)
                    if not part:
                        break
                    data += part
            except ConnectionResetError:
                data += b"<reset>"
            name = "early-" + os.path.basename(path)
            with open(os.path.join(self.server.record_dir, name), "wb") as f:
                f.write(data)
            return
        if method == "PUT" and path.startswith("/record/"):
            data = rest
            while True:
                part = conn.recv(65536)
                if not part:
                    break
                data += part
            name = os.path.basename(path)
            with open(os.path.join(self.server.record_dir, name), "wb") as f:
                f.write(head.encode("latin-1") + b"\r\n\r\n" + data)
            return
        send = conn.sendall
        if path in ("/", "/echo"):
            body = head.encode("latin-1")
            send(b"HTTP/1.1 200 OK\r\nContent-Length: %d\r\n\r\n" % len(body) + body)
        elif path.startswith("/chunked/"):
            sizes = [int(x) for x in path[len("/chunked/"):].split(",") if x]
            send(b"HTTP/1.1 200 OK\r\ntransfer-encoding:   Chunked\r\n\r\n")
            letter = ord("a")
            for n in sizes:
                send(b"%x\r\n" % n + bytes([letter]) * n + b"\r\n")
                letter += 1
            send(b"0\r\n\r\n")
        elif path == "/split":
            # A known length sent in two parts, the second a while later.
            send(b"HTTP/1.1 200 OK\r\nContent-Length: 10000\r\n\r\n" + b"p" * 5000)
            time.sleep(0.3)
            send(b"q" * 5000)
            conn.recv(1)  # keep the connection until the client goes away
        elif path == "/unframed":
            send(b"HTTP/1.0 200 OK\r\nServer: peer\r\n\r\nuntil the end")
        elif path == "/bad-status":
            send(b"HTTP/1.1 OK two hundred\r\n\r\n")
        elif path == "/long-header":
            send(b"HTTP/1.1 200 OK\r\nX-Long: " + b"x" * 600 + b"\r\nContent-Length: 2\r\n\r\nhi")
        elif path == "/truncated-chunk":
            send(b"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nabc")
        elif path == "/truncated-length":
            send(b"HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nshort")
        elif path == "/bad-chunk-size":
            send(b"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nzz\r\nabc\r\n")
        elif path == "/reset":
            conn.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        elif path == "/reset-in-head":
            send(b"HTTP/1.1 200 OK\r\nContent-Le")
            conn.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        elif path == "/silent":
            conn.recv(1)  # say nothing until the client goes away
        else:
            send(b"HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\n\r\n")


class Server(socketserver.ThreadingTCPServer):
    daemon_threads = True
    allow_reuse_address = True


def main():
    port_file, record_dir = sys.argv[1], sys.argv[2]
    server = Server(("127.0.0.1", 0), Handler)
    server.record_dir = record_dir
    with open(port_file + ".tmp", "w") as f:
        f.write(str(server.server_address[1]))
    os.rename(port_file + ".tmp", port_file)
    server.serve_forever()


if __name__ == "__main__":
    main()
