#!/usr/bin/env python3
"""A SOCKS 5 proxy that plays the server as well (RFC 1928, without authentication).

It prints its port. Whatever it is asked to connect to, it answers the first request itself: with 407 and
the name and port that it was asked for as the body.
"""

import socket
import struct
import threading


def read(sock, count):
    data = b""
    while len(data) < count:
        piece = sock.recv(count - len(data))
        if not piece:
            raise EOFError
        data += piece
    return data


def serve(sock):
    try:
        read(sock, read(sock, 2)[1])
        sock.sendall(b"\x05\x00")
        kind = read(sock, 4)[3]
        if kind == 3:
            host = read(sock, read(sock, 1)[0]).decode()
        else:
            host = socket.inet_ntoa(read(sock, 4))
        port = struct.unpack(">H", read(sock, 2))[0]
        sock.sendall(b"\x05\x00\x00\x01\x00\x00\x00\x00\x00\x00")
        request = b""
        while b"\r\n\r\n" not in request:
            request += read(sock, 1)
        body = f"{host}:{port}".encode()
        sock.sendall(
            b"HTTP/1.1 407 Who\r\nProxy-Authenticate: Basic realm=\"x\"\r\nConnection: close\r\n"
            b"Content-Length: " + str(len(body)).encode() + b"\r\n\r\n" + body
        )
    except (OSError, EOFError):
        pass
    finally:
        sock.close()


listener = socket.create_server(("127.0.0.1", 0))
print("port", listener.getsockname()[1], flush=True)
while True:
    threading.Thread(target=serve, args=(listener.accept()[0],), daemon=True).start()
