#!/usr/bin/env python3
"""A small HTTP/2 server over TLS that ends its connections in chosen ways.

usage: h2_server.py CERTIFICATE KEY MODE

It prints its port, then a line for each request: the number of its connection, its stream, and whether
its body came. The first request of a connection is answered with 200. What happens to the second one of
the first connection, once its body is complete, is the mode:

  goaway        GOAWAY that names the second stream as the last one, then an orderly end
  refused       RST_STREAM with REFUSED_STREAM; the connection stays
  close         an orderly end (close_notify, FIN) without GOAWAY
  fin           FIN without close_notify
  reset         a TCP reset

Every later connection answers everything.
"""

import socket
import ssl
import struct
import sys
import threading

DATA, HEADERS, RST_STREAM, SETTINGS, PING, GOAWAY = 0, 1, 3, 4, 6, 7
END_STREAM, ACK, END_HEADERS = 1, 1, 4
REFUSED_STREAM = 7


def frame(kind, flags, stream, payload=b""):
    return struct.pack(">I", len(payload))[1:] + bytes([kind, flags]) + struct.pack(">I", stream) + payload


class Peer:
    """One connection."""

    def __init__(self, sock, number, mode):
        self.sock = sock
        self.number = number
        self.mode = mode

    def read(self, count):
        data = b""
        while len(data) < count:
            piece = self.sock.recv(count - len(data))
            if not piece:
                raise EOFError
            data += piece
        return data

    def serve(self):
        self.read(24)  # The client's preface.
        self.sock.sendall(frame(SETTINGS, 0, 0))
        answered = 0
        while True:
            head = self.read(9)
            payload = self.read(int.from_bytes(head[:3], "big"))
            kind, flags, stream = head[3], head[4], int.from_bytes(head[5:9], "big")
            if kind == SETTINGS and not flags & ACK:
                self.sock.sendall(frame(SETTINGS, ACK, 0))
            elif kind == PING and not flags & ACK:
                self.sock.sendall(frame(PING, ACK, 0, payload))
            elif kind in (HEADERS, DATA) and flags & END_STREAM:
                print(self.number, stream, "body" if kind == DATA else "none", flush=True)
                if self.number == 0 and answered > 0 and not self.end(stream):
                    return
                elif self.number > 0 or answered == 0:
                    # 0x88 is ":status: 200" in the static table of HPACK.
                    self.sock.sendall(frame(HEADERS, END_HEADERS | END_STREAM, stream, b"\x88"))
                answered += 1

    def end(self, stream):
        """Does what the mode says; true if the connection stays."""
        if self.mode == "refused":
            self.sock.sendall(frame(RST_STREAM, 0, stream, struct.pack(">I", REFUSED_STREAM)))
            return True
        if self.mode == "goaway":
            self.sock.sendall(frame(GOAWAY, 0, 0, struct.pack(">II", stream, 0)))
        if self.mode == "reset":
            self.sock.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
            socket.socket(fileno=self.sock.detach()).close()
        elif self.mode == "fin":
            self.sock.shutdown(socket.SHUT_WR)
            socket.socket(fileno=self.sock.detach()).close()
        else:
            try:
                self.sock.unwrap()
            except OSError:
                pass  # The client may close without an answer.
            self.sock.close()
        return False


def main():
    certificate, key, mode = sys.argv[1:]
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    context.load_cert_chain(certificate, key)
    context.set_alpn_protocols(["h2"])
    listener = socket.create_server(("127.0.0.1", 0))
    print("port", listener.getsockname()[1], flush=True)
    number = 0
    while True:
        plain, _ = listener.accept()

        def run(sock=plain, own=number):
            try:
                Peer(context.wrap_socket(sock, server_side=True), own, mode).serve()
            except (OSError, EOFError):
                pass

        threading.Thread(target=run, daemon=True).start()
        number += 1


main()
