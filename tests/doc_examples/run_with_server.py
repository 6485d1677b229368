#!/usr/bin/env python3
"""Runs a program with the URL of a small server on 127.0.0.1 as its only argument.

The server answers every GET with 200, Content-Type: text/plain and "Hello". The run fails as the program
does, and also when the program made no request.
"""
import http.server
import os
import subprocess
import sys
import threading


class Hello(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"
    requests = 0

    def do_GET(self):
        Hello.requests += 1
        self.send_response(200)
        self.send_header("Content-Type", "text/plain")
        self.send_header("Content-Length", "5")
        self.end_headers()
        self.wfile.write(b"Hello")

    def log_message(self, *arguments):
        pass


def main(command):
    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Hello)
    threading.Thread(target=server.serve_forever, daemon=True).start()
    # A proxy of the machine would not reach this server.
    environment = {name: value for name, value in os.environ.items()
                   if not name.lower().endswith("_proxy")}
    url = f"http://127.0.0.1:{server.server_port}/"
    code = subprocess.run([*command, url], env=environment, check=False).returncode
    server.shutdown()
    if code == 0 and Hello.requests == 0:
        print("the program made no request", file=sys.stderr)
        return 1
    return code if code >= 0 else 128 - code


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
