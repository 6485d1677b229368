#!/usr/bin/env python3
"""Serves over TLS and cuts connections, for the tests of the transport.

usage: tls_cut_server.py FOLDER
Writes certificate.pem and port into FOLDER and serves on 127.0.0.1 until its standard input ends. Each
connection gets one answer whose body ends with the connection: /clean says so with a close_notify, any
other path does not. /length sends a Content-Length and all of the body, /head ends within the header.
"""

import os
import socket
import ssl
import subprocess
import sys
import threading

ANSWERS = {
    "/length": b"HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nHello",
    "/head": b"HTTP/1.1 200 OK\r\nContent-Le",
}


def serve(context, connection):
    try:
        with context.wrap_socket(connection, server_side=True) as stream:
            request = b""
            while b"\r\n\r\n" not in request:
                data = stream.recv(4096)
                if not data:
                    return
                request += data
            path = request.split(b" ")[1].decode()
            stream.sendall(ANSWERS.get(path, b"HTTP/1.1 200 OK\r\n\r\nHello"))
            if path == "/clean":
                stream.unwrap()
    except OSError:
        pass


def main():
    folder = sys.argv[1]
    key = os.path.join(folder, "key.pem")
    certificate = os.path.join(folder, "certificate.pem")
    subprocess.run(["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1",
                    "-nodes", "-days", "2", "-subj", "/CN=localhost", "-addext",
                    "subjectAltName=IP:127.0.0.1", "-keyout", key, "-out", certificate],
                   check=True, stdin=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    context.load_cert_chain(certificate, key)
    listener = socket.create_server(("127.0.0.1", 0))

    def accept():
        while True:
            connection, _ = listener.accept()
            threading.Thread(target=serve, args=(context, connection), daemon=True).start()

    threading.Thread(target=accept, daemon=True).start()
    with open(os.path.join(folder, "port.new"), "w", encoding="ascii") as file:
        file.write(str(listener.getsockname()[1]))
    os.rename(os.path.join(folder, "port.new"), os.path.join(folder, "port"))
    sys.stdin.read()


main()
