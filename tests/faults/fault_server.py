#!/usr/bin/env python3
"""A server that cuts a download and then answers the resume in 22 different ways.

usage: fault_server.py
Serves on a free port of 127.0.0.1, prints the URL of each case, and ends with standard input. As a
module it is what scripts/scoreboard runs. A case has a state of its own for each name of a run:
http://127.0.0.1:PORT/CASE/RUN/file.bin

The first answer of every case breaks off; what comes after decides whether a client that continues its
file mixes bytes that do not belong together. Each client is expected to end with exactly the bytes of
one version that the server had, or to fail.
"""

import base64
import dataclasses
import email.utils
import gzip
import hashlib
import re
import socketserver
import sys
import threading
import time
from typing import Callable, List, Optional

SIZE = 1_000_000
FIRST_CUT = 400_000
DAY = 86400


def random_bytes(name: str, size: int) -> bytes:
    """Bytes that depend on the name at every position, so that any mix of two is seen."""
    return hashlib.shake_256(name.encode()).digest(size)


def http_date(seconds_from_now: float) -> str:
    return email.utils.formatdate(time.time() + seconds_from_now, usegmt=True)


@dataclasses.dataclass
class Version:
    """One version of the file, with the header fields that tell it from others."""
    data: bytes
    etag: Optional[str] = None
    modified: Optional[str] = None
    coding: Optional[str] = None

    def fields(self) -> dict:
        fields = {"Content-Type": "application/octet-stream", "Accept-Ranges": "bytes"}
        if self.etag:
            fields["ETag"] = self.etag
        if self.modified:
            fields["Last-Modified"] = self.modified
        if self.coding:
            fields["Content-Encoding"] = self.coding
        return fields

    def matches(self, if_range: str) -> bool:
        """A weak tag never matches; a date matches by its text, as with most servers."""
        if if_range.startswith('"'):
            return if_range == self.etag
        return self.modified is not None and if_range == self.modified


@dataclasses.dataclass
class Request:
    number: int  # 0 for the first GET of the run
    method: str
    path: str
    range_field: str
    if_range: str

    def range_of(self, size: int):
        """(first, last) of a single range, clipped to the size; None for no range."""
        match = re.fullmatch(r"bytes=(\d*)-(\d*)", self.range_field.strip())
        if not match or match.groups() == ("", ""):
            return None
        first, last = match.groups()
        if not first:
            return max(0, size - int(last)), size - 1
        return int(first), min(int(last), size - 1) if last else size - 1


@dataclasses.dataclass
class Reply:
    """What goes over the wire; the connection ends after it."""
    status: str
    fields: dict
    body: bytes = b""
    chunked: bool = False
    cut_after: Optional[int] = None  # body bytes
    cut_head_after: Optional[int] = None  # bytes of the head
    length: Optional[int] = None  # declared, where it is not the true one

    def wire(self, is_head_request: bool) -> bytes:
        fields = {"Date": http_date(0), "Connection": "close", **self.fields}
        body = self.body
        if self.chunked:
            fields["Transfer-Encoding"] = "chunked"
        else:
            fields["Content-Length"] = str(len(body) if self.length is None else self.length)
        head = f"HTTP/1.1 {self.status}\r\n" + "".join(f"{k}: {v}\r\n" for k, v in fields.items())
        head = (head + "\r\n").encode()
        if self.cut_head_after is not None:
            return head[:self.cut_head_after]
        if is_head_request:
            return head
        if self.chunked:
            # One chunk is announced in full and broken inside.
            if self.cut_after is not None:
                return head + f"{len(body):x}\r\n".encode() + body[:self.cut_after]
            return head + f"{len(body):x}\r\n".encode() + body + b"\r\n0\r\n\r\n"
        return head + (body if self.cut_after is None else body[:self.cut_after])


def whole(version: Version, **options) -> Reply:
    return Reply("200 OK", version.fields(), version.data, **options)


def part(version: Version, first: int, last: int, total=None, **options) -> Reply:
    fields = version.fields()
    size = len(version.data) if total is None else total
    fields["Content-Range"] = f"bytes {first}-{last}/{size}"
    return Reply("206 Partial Content", fields, version.data[first:last + 1], **options)


def honest(version: Version, request: Request, ignore_if_range=False, total=None, **options) -> Reply:
    """What a server that knows its business answers."""
    size = len(version.data)
    wanted = request.range_of(size)
    if wanted and request.if_range and not ignore_if_range and not version.matches(request.if_range):
        wanted = None
    if not wanted:
        return whole(version, **options)
    if wanted[0] > wanted[1]:
        return Reply("416 Range Not Satisfiable", {"Content-Range": f"bytes */{size}"})
    return part(version, *wanted, total=total, **options)


Answer = Callable[[Request], Reply]


@dataclasses.dataclass
class Case:
    """`make` begins a run: it gives the function that answers, and the versions that are right."""
    name: str
    text: str
    make: Callable


CASES: List[Case] = []


def case(name: str, text: str):
    def add(make):
        CASES.append(Case(name, text, make))
        return make
    return add


def old(**fields) -> Version:
    return Version(random_bytes("old", SIZE), **fields)


def new(size=SIZE, **fields) -> Version:
    return Version(random_bytes("new", size), **fields)


def after_first_cut(before: Version, then: Answer, **first):
    """The first request gets `before`, broken off; `then` answers the others."""
    def answer(request: Request) -> Reply:
        if request.number == 0:
            return whole(before, cut_after=FIRST_CUT, **first)
        return then(request)
    return answer


def changed(before: Version, after: Version, **options):
    answer = after_first_cut(before, lambda request: honest(after, request, **options))
    return answer, [before.data, after.data]


# ---- nothing changes

@case("repeated-cuts", "strong ETag; every answer breaks off after 200,000 bytes")
def repeated_cuts():
    version = old(etag='"old"')
    return lambda request: honest(version, request, cut_after=200_000), [version.data]


@case("chunked-cut", "chunked without a length, broken inside a chunk")
def chunked_cut():
    version = old(etag='"old"')
    then = lambda request: honest(version, request, chunked=True)
    return after_first_cut(version, then, chunked=True), [version.data]


@case("cut-in-head", "the head of the answer to the resume breaks off")
def cut_in_head():
    version = old(etag='"old"')

    def then(request):
        return honest(version, request, cut_head_after=60 if request.number == 1 else None)
    return after_first_cut(version, then), [version.data]


@case("busy-retry-after", "503 pages: Retry-After in seconds, then as a date, then the rest")
def busy():
    version = old(etag='"old"')

    def then(request):
        if request.number > 2:
            return honest(version, request)
        after = "1" if request.number == 1 else http_date(2)
        return Reply("503 Service Unavailable", {"Retry-After": after, "Content-Type": "text/html"},
                     b"<p>busy</p>" * 200)
    return after_first_cut(version, then), [version.data]


@case("unknown-total", "strong Last-Modified only; 206 with the total *")
def unknown_total():
    version = old(modified=http_date(-30 * DAY))
    then = lambda request: honest(version, request, total="*")
    return after_first_cut(version, then), [version.data]


@case("whole-again", "200 with the same file, whatever range was asked")
def whole_again():
    version = old(etag='"old"')
    return after_first_cut(version, lambda request: whole(version)), [version.data]


@case("shorter-part", "206 ends after 200,000 bytes, well formed")
def shorter_part():
    version = old(etag='"old"')

    def then(request):
        wanted = request.range_of(SIZE)
        if not wanted or wanted[0] > wanted[1]:
            return honest(version, request)
        return part(version, wanted[0], min(wanted[1], wanted[0] + 199_999))
    return after_first_cut(version, then), [version.data]


# ---- the file changes

@case("changed-strong-etag", "the file changed, and so did its strong ETag")
def changed_strong():
    return changed(old(etag='"old"'), new(etag='"new"'))


@case("if-range-ignored", "the same, and the server sends the range although If-Range forbids it")
def if_range_ignored():
    return changed(old(etag='"old"'), new(etag='"new"'), ignore_if_range=True)


@case("changed-weak-etag", "the file changed, with weak ETags")
def changed_weak():
    return changed(old(etag='W/"old"'), new(etag='W/"new"'))


@case("changed-no-validator", "the file changed; neither ETag nor Last-Modified")
def changed_bare():
    return changed(old(), new())


@case("changed-last-modified", "the file changed, and so did its Last-Modified")
def changed_date():
    return changed(old(modified=http_date(-30 * DAY)), new(modified=http_date(-DAY)))


@case("changed-same-second", "the file changed within the second of its Last-Modified")
def changed_same_second():
    date = http_date(0)
    return changed(old(modified=date), new(modified=date))


@case("whole-changed", "200 with the changed file, whatever range was asked")
def whole_changed():
    before, after = old(etag='"old"'), new(etag='"new"')
    return after_first_cut(before, lambda request: whole(after)), [before.data, after.data]


@case("other-total", "the file grew to 1,200,000 bytes under the same ETag")
def other_total():
    return changed(old(etag='"same"'), new(1_200_000, etag='"same"'))


@case("not-satisfiable", "the file shrank to 300,000 bytes: 416")
def not_satisfiable():
    return changed(old(), new(300_000))


@case("redirect-to-mirror", "302 to a mirror that has another version")
def redirect():
    before, after = old(etag='"old"'), new(etag='"new"')

    def then(request):
        if "/mirror/" in request.path:
            return honest(after, request)
        return Reply("302 Found", {"Location": request.path.replace("/file.bin", "/mirror/file.bin")})
    return after_first_cut(before, then), [before.data, after.data]


@case("gzip-cut", "Content-Encoding: gzip, packed anew for each answer")
def gzip_cut():
    plain = base64.b64encode(random_bytes("old", SIZE))[:SIZE]
    before = Version(gzip.compress(plain, 1, mtime=1), coding="gzip")
    after = Version(gzip.compress(plain, 9, mtime=2), coding="gzip")
    return changed(before, after)[0], [before.data, after.data, plain]


# ---- the answer is not what it says, or not what was asked

@case("other-offset", "206 from 100,000 bytes before the offset asked for")
def other_offset():
    version = old(etag='"old"')

    def then(request):
        wanted = request.range_of(SIZE)
        if not wanted or wanted[0] > wanted[1]:
            return honest(version, request)
        return part(version, max(0, wanted[0] - 100_000), wanted[1])
    return after_first_cut(version, then), [version.data]


@case("no-content-range", "206 without Content-Range, with the whole file")
def no_content_range():
    version = old(etag='"old"')

    def then(request):
        if not request.range_of(SIZE):
            return whole(version)
        return Reply("206 Partial Content", version.fields(), version.data)
    return after_first_cut(version, then), [version.data]


@case("length-too-short", "206 whose Content-Length and body end 100,000 bytes before its range does")
def length_too_short():
    version = old(etag='"old"')

    def then(request):
        wanted = request.range_of(SIZE)
        if request.number > 1 or not wanted or wanted[1] - wanted[0] < 200_000:
            return honest(version, request)
        reply = part(version, *wanted)
        reply.body = reply.body[:-100_000]
        return reply
    return after_first_cut(version, then), [version.data]


@case("multipart-byteranges", "206 as multipart/byteranges with one part")
def multipart():
    version = old(etag='"old"')

    def then(request):
        wanted = request.range_of(SIZE)
        if not wanted or wanted[0] > wanted[1]:
            return honest(version, request)
        first, last = wanted
        body = (f"--edge\r\nContent-Type: application/octet-stream\r\n"
                f"Content-Range: bytes {first}-{last}/{SIZE}\r\n\r\n").encode()
        body += version.data[first:last + 1] + b"\r\n--edge--\r\n"
        fields = {**version.fields(), "Content-Type": "multipart/byteranges; boundary=edge"}
        return Reply("206 Partial Content", fields, body)
    return after_first_cut(version, then), [version.data]


# ---- the server

class Run:
    """The state of one case for one client."""

    def __init__(self, chosen: Case):
        self.answer, self.right = chosen.make()
        self.gets = 0


class Handler(socketserver.StreamRequestHandler):
    def handle(self):
        line = self.rfile.readline(65536).decode("latin-1").split()
        fields = {}
        while True:
            field = self.rfile.readline(65536).decode("latin-1").strip()
            if not field:
                break
            name, _, value = field.partition(":")
            fields[name.strip().lower()] = value.strip()
        if len(line) == 3:
            try:
                self.wfile.write(self.server.faults.reply(line[0], line[1], fields))
            except ConnectionError:
                pass  # The client has gone; it will come back.


class TcpServer(socketserver.ThreadingTCPServer):
    daemon_threads = True
    request_queue_size = 64

    def handle_error(self, request, client_address):
        if not isinstance(sys.exc_info()[1], ConnectionError):
            super().handle_error(request, client_address)


class FaultServer:
    """Serves all cases until stop()."""

    def __init__(self):
        self._lock = threading.Lock()
        self._runs = {}
        self._server = TcpServer(("127.0.0.1", 0), Handler)
        self._server.faults = self
        self.port = self._server.server_address[1]
        self._thread = threading.Thread(target=self._server.serve_forever, args=(0.05,), daemon=True)
        self._thread.start()

    def stop(self):
        self._server.shutdown()
        self._server.server_close()

    def url(self, case_name: str, run: str) -> str:
        return f"http://127.0.0.1:{self.port}/{case_name}/{run}/file.bin"

    def _run(self, case_name: str, run: str) -> Optional[Run]:
        chosen = next((known for known in CASES if known.name == case_name), None)
        if chosen and (case_name, run) not in self._runs:
            self._runs[case_name, run] = Run(chosen)
        return self._runs.get((case_name, run))

    def right_bytes(self, case_name: str, run: str) -> List[bytes]:
        """The bodies of which a client may end with one."""
        with self._lock:
            return self._run(case_name, run).right

    def requests(self, case_name: str, run: str) -> int:
        with self._lock:
            return self._run(case_name, run).gets

    def reply(self, method: str, path: str, fields: dict) -> bytes:
        names = path.split("/")
        with self._lock:
            run = self._run(names[1], names[2]) if len(names) > 3 else None
            if run is None or method not in ("GET", "HEAD"):
                return Reply("404 Not Found", {}).wire(method == "HEAD")
            number = run.gets
            if method == "GET":
                run.gets += 1
            answer = run.answer
        request = Request(number, method, path, fields.get("range", ""), fields.get("if-range", ""))
        return answer(request).wire(method == "HEAD")


def main() -> int:
    server = FaultServer()
    for known in CASES:
        print(f"{server.url(known.name, 'x')}  {known.text}")
    sys.stdout.flush()
    sys.stdin.read()
    server.stop()
    return 0


if __name__ == "__main__":
    sys.exit(main())
