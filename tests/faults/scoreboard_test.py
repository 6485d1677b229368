#!/usr/bin/env python3
"""Tests of scripts/scoreboard and its server: every fault can be survived, and every way to fail is seen."""

import importlib.machinery
import importlib.util
import os
import sys
import tempfile
import unittest
import urllib.error
import urllib.request

sys.dont_write_bytecode = True
ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))


def load_scoreboard():
    loader = importlib.machinery.SourceFileLoader("scoreboard",
                                                  os.path.join(ROOT, "scripts", "scoreboard"))
    module = importlib.util.module_from_spec(importlib.util.spec_from_loader("scoreboard", loader))
    loader.exec_module(module)
    return module


scoreboard = load_scoreboard()
fault_server = scoreboard.fault_server

# A downloader that trusts every answer: what it has, and whatever comes for the rest.
TRUSTING = """
import os, sys, urllib.request
have = 0
for _ in range(9):
    request = urllib.request.Request(sys.argv[1], headers={"Range": f"bytes={have}-"} if have else {})
    with open("file.bin", "ab") as file:
        try:
            with urllib.request.urlopen(request) as answer:
                while True:
                    data = answer.read1(65536)
                    if not data:
                        break
                    file.write(data)
        except urllib.error.HTTPError as error:
            sys.exit(0 if error.code == 416 else 1)
    have = os.path.getsize("file.bin")
"""
OPENER = urllib.request.build_opener(urllib.request.ProxyHandler({}))


def get(url):
    """The body if the answer came whole, else nothing."""
    try:
        with OPENER.open(url, timeout=10) as answer:
            return answer.read()
    except (OSError, urllib.error.HTTPError, ValueError, EOFError):
        return None
    except Exception as error:  # http.client's own, for what breaks off
        if type(error).__module__ != "http.client":
            raise
        return None


class FaultServerTest(unittest.TestCase):
    def setUp(self):
        self.server = fault_server.FaultServer()

    def tearDown(self):
        self.server.stop()

    def test_has_22_different_cases(self):
        names = {case.name for case in fault_server.CASES}
        self.assertEqual(len(names), 22)
        self.assertEqual(len(fault_server.CASES), 22)

    def test_every_case_breaks_the_first_answer_off(self):
        for case in fault_server.CASES:
            with self.subTest(case.name):
                self.assertIsNone(get(self.server.url(case.name, "x")))

    def test_every_case_but_one_is_survived_by_starting_over(self):
        for case in fault_server.CASES:
            with self.subTest(case.name):
                url = self.server.url(case.name, "x")
                bodies = [get(url) for _ in range(5)]
                whole = any(body in self.server.right_bytes(case.name, "x") for body in bodies)
                # An answer that always breaks off needs a client that continues.
                self.assertEqual(whole, case.name != "repeated-cuts")

    def test_runs_have_states_of_their_own(self):
        self.assertIsNone(get(self.server.url("whole-again", "x")))
        self.assertIsNone(get(self.server.url("whole-again", "y")))
        self.assertIsNotNone(get(self.server.url("whole-again", "x")))
        self.assertEqual(self.server.requests("whole-again", "x"), 2)

    def test_versions_differ_at_nearly_every_position(self):
        old, new = fault_server.old().data, fault_server.new().data
        same = sum(a == b for a, b in zip(old, new))
        self.assertLess(same, len(old) // 128)


class ScoreboardTest(unittest.TestCase):
    def play(self, *commands):
        named = {f"p{number}": command for number, command in enumerate(commands)}
        cases = [case for case in fault_server.CASES if case.name == "changed-no-validator"]
        results = scoreboard.play(named, cases)["changed-no-validator"]
        return [results[name] for name in named]

    def test_sees_silent_corruption(self):
        self.assertEqual(self.play([sys.executable, "-c", TRUSTING, "{url}"]),
                         [(scoreboard.CORRUPT, 0)])

    def test_sees_success_without_a_file(self):
        touch = "import sys, socket, urllib.parse as p; " \
                "socket.create_connection(('127.0.0.1', p.urlsplit(sys.argv[1]).port))" \
                ".sendall(b'GET ' + p.urlsplit(sys.argv[1]).path.encode() + b' HTTP/1.1\\r\\n\\r\\n')"
        self.assertEqual(self.play([sys.executable, "-c", touch + "; import time; time.sleep(0.05)",
                                    "{url}"]), [(scoreboard.CORRUPT, 0)])

    def test_sees_an_honest_failure(self):
        fail = "import sys, urllib.request as r; r.urlopen(sys.argv[1]); sys.exit(7)"
        self.assertEqual(self.play([sys.executable, "-c", fail, "{url}"]), [(scoreboard.HONEST, 7)])

    def test_sees_a_hang(self):
        limit, scoreboard.TIME_LIMIT = scoreboard.TIME_LIMIT, 0.5
        try:
            hang = "import time; time.sleep(60)"
            self.assertEqual(self.play([sys.executable, "-c", hang, "{url}"]),
                             [(scoreboard.HANG, None)])
        finally:
            scoreboard.TIME_LIMIT = limit

    def test_wants_the_beginning_of_one_version_in_a_pipe_that_failed(self):
        right = [b"0123456789", b"abcdefghij"]
        for got, verdict in ((b"0123456789", scoreboard.HONEST), (b"abc", scoreboard.HONEST),
                             (b"", scoreboard.HONEST), (b"012d", scoreboard.CORRUPT),
                             (b"0123456789a", scoreboard.CORRUPT)):
            self.assertEqual(scoreboard.judge(9, got, True, right), (verdict, 9))
        self.assertEqual(scoreboard.judge(0, b"abcdefghij", True, right), (scoreboard.EXACT, 0))
        self.assertEqual(scoreboard.judge(0, b"abcdefghi", True, right), (scoreboard.CORRUPT, 0))
        self.assertEqual(scoreboard.judge(9, None, False, right), (scoreboard.HONEST, 9))

    def test_does_not_count_a_program_that_never_asked(self):
        with self.assertRaises(RuntimeError):
            self.play([sys.executable, "-c", "pass", "{url}"])

    def test_writes_between_the_markers_only(self):
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, "page.md")
            with open(path, "w", encoding="utf-8") as file:
                file.write(f"above\n{scoreboard.BEGIN}\nold\n{scoreboard.END}\nbelow\n")
            scoreboard.replace_between_markers(path, "new")
            with open(path, encoding="utf-8") as file:
                self.assertEqual(file.read(),
                                 f"above\n{scoreboard.BEGIN}\nnew\n{scoreboard.END}\nbelow\n")

    def test_refuses_a_page_without_markers(self):
        with tempfile.NamedTemporaryFile() as page:
            with self.assertRaises(RuntimeError):
                scoreboard.replace_between_markers(page.name, "new")


if __name__ == "__main__":
    unittest.main()
