#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""transfer_ends.py PROGRAM

Answers that end early over TLS and HTTP/2, from a server that writes HTTP/2 frames by itself. None
may count as complete, except where only the size in the index could show that it is not.
"""
import json
import os
import socket
import ssl
import struct
import subprocess
import sys
import tempfile
import threading
import unittest

PROGRAM = sys.argv.pop(1)
HEADERS, DATA, RST_STREAM, SETTINGS, GOAWAY = 1, 0, 3, 4, 7
END_STREAM, END_HEADERS, ACK = 1, 4, 1
OK = b"\x88"  # ":status: 200" of HPACK's static table
INDEX = b"Package: p\nVersion: 1\nFilename: p.deb\n\n"


def frame(kind, flags, stream, payload=b""):
    return struct.pack(">I", len(payload))[1:] + struct.pack(">BBI", kind, flags, stream) + payload


def field(name, value):
    return b"\x00" + bytes([len(name)]) + name + bytes([len(value)]) + value


def head(stream, flags=END_HEADERS, fields=OK):
    return frame(HEADERS, flags, stream, fields)


def reset(stream):
    return frame(RST_STREAM, 0, stream, struct.pack(">I", 0))


EARLY = field(b":status", b"103")
CHUNKED = b"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n"
CUT = CHUNKED + b"4\r\nhalf\r\n"


def of_length(length):
    return OK + field(b"content-length", b"%d" % length)


TEN = of_length(10)

# The frames of the package's stream, and whether the connection ends then. No error code is sent.
ENDS = {
    "a head without end": lambda s: (head(s, 0), True),
    "a last head without end": lambda s: (head(s, END_STREAM), True),
    "an interim answer and the stream's end": lambda s: (head(s, 5, EARLY), False),
    "an interim answer and the connection's end": lambda s: (head(s, 4, EARLY), True),
    "an interim answer and a reset": lambda s: (head(s, 4, EARLY) + reset(s), False),
    "a reset alone": lambda s: (reset(s), False),
    "a head and a reset": lambda s: (head(s) + reset(s), False),
    "half a body and a reset": lambda s: (head(s) + frame(DATA, 0, s, b"half") + reset(s), False),
    "half a body of known length and a reset":
        lambda s: (head(s, 4, TEN) + frame(DATA, 0, s, b"half") + reset(s), False),
    "half a body and the connection's end": lambda s: (head(s) + frame(DATA, 0, s, b"half"), True),
    "half a body and GOAWAY":
        lambda s: (head(s) + frame(DATA, 0, s, b"half")
                   + frame(GOAWAY, 0, 0, struct.pack(">II", s, 0)), True),
    "a body shorter than its length":
        lambda s: (head(s, 4, TEN) + frame(DATA, END_STREAM, s, b"half"), False),
    "a head without a status":
        lambda s: (head(s, 4, field(b"x", b"y")) + frame(DATA, END_STREAM, s, b"half"), False),
}


class Server:
    """TLS on a port of 127.0.0.1; `answer` serves each connection on a thread of its own."""

    def __init__(self, folder, protocol, answer):
        key, self.certificate = os.path.join(folder, "key.pem"), os.path.join(folder, "c.pem")
        subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2",
                        "-keyout", key, "-out", self.certificate, "-subj", "/CN=127.0.0.1",
                        "-addext", "subjectAltName=IP:127.0.0.1"], check=True, capture_output=True)
        self.context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        self.context.load_cert_chain(self.certificate, key)
        self.context.set_alpn_protocols(protocol.split())
        self.answer = answer
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.url = f"https://127.0.0.1:{self.listener.getsockname()[1]}/"
        threading.Thread(target=self.accept, daemon=True).start()

    def accept(self):
        while True:
            try:
                client, _ = self.listener.accept()
            except OSError:
                return
            threading.Thread(target=self.serve, args=(client,), daemon=True).start()

    def serve(self, client):
        try:
            self.answer(self.context.wrap_socket(client, server_side=True))
        except (EOFError, OSError):
            pass

    def close(self):
        self.listener.close()


def read(connection, count):
    data = b""
    while len(data) < count:
        piece = connection.recv(count - len(data))
        if not piece:
            raise EOFError
        data += piece
    return data


def end_without_close_notify(connection):
    plain = socket.socket(fileno=connection.detach())
    plain.shutdown(socket.SHUT_WR)
    plain.close()


class TransferEnds(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)

    def download(self, protocol, answer):
        """The exit status, the JSON output, and the files of the folder."""
        server = Server(self.folder.name, protocol, answer)
        self.addCleanup(server.close)
        out = tempfile.mkdtemp(dir=self.folder.name)
        run = subprocess.run([PROGRAM, "download", server.url, out, "--json", "--type", "apt"],
                             env=dict(os.environ, SSL_CERT_FILE=server.certificate),
                             capture_output=True, timeout=60, check=False)
        files = {name: open(os.path.join(out, name), "rb").read() for name in os.listdir(out)}
        return run.returncode, json.loads(run.stdout), files

    def over_http2(self, end, over_http1=CUT):
        """Serves the index correctly. Every later request is answered over HTTP/2 as `end` returns,
        and over HTTP/1.1 with `over_http1`."""
        lock, served = threading.Lock(), []

        def answer(connection):
            if connection.selected_alpn_protocol() != "h2":
                connection.recv(65536)
                connection.sendall(over_http1)
                connection.close()
                return
            read(connection, 24)  # the preface
            connection.sendall(frame(SETTINGS, 0, 0))
            while True:
                start = read(connection, 9)
                stream = int.from_bytes(start[5:], "big")
                read(connection, int.from_bytes(start[:3], "big"))
                if start[3] == SETTINGS and not start[4] & ACK:
                    connection.sendall(frame(SETTINGS, ACK, 0))
                if start[3] != HEADERS:
                    continue
                with lock:
                    served.append(stream)
                    is_first = len(served) == 1
                frames, is_last = (head(stream, 4, of_length(len(INDEX)))
                                   + frame(DATA, END_STREAM, stream, INDEX), False) \
                    if is_first else end(stream)
                connection.sendall(frames)
                if is_last:
                    connection.close()
                    return

        return self.download("h2 http/1.1", answer)

    def test_a_whole_answer_over_http2_is_kept(self):
        status, report, files = self.over_http2(
            lambda s: (head(s, 4, of_length(5)) + frame(DATA, END_STREAM, s, b"whole"), False))
        self.assertEqual((status, report["downloaded"]), (0, 1))
        self.assertEqual(files, {"p.deb": b"whole"})

    def test_an_answer_over_http2_without_a_length_is_taken_over_http1(self):
        status, report, files = self.over_http2(
            lambda s: (head(s) + frame(DATA, 0, s, b"half"), True),
            CHUNKED + b"5\r\nwhole\r\n0\r\n\r\n")
        self.assertEqual((status, report["downloaded"]), (0, 1))
        self.assertEqual(files, {"p.deb": b"whole"})

    def test_no_answer_over_http2_that_ends_early_is_kept(self):
        for name, end in ENDS.items():
            with self.subTest(name):
                status, report, files = self.over_http2(end)
                self.assertEqual(status, 1)
                self.assertEqual(files, {})
                self.assertEqual([(f["code"], f["reason"]) for f in report["failures"]],
                                 [(-1005, "The network connection was lost.")])

    def over_tls(self, package):
        def answer(connection):
            request = b""
            while b"\r\n\r\n" not in request:
                request += read(connection, 1)
            is_index = request.startswith(b"GET /Packages ")
            length = b"Content-Length: %d\r\nConnection: close\r\n\r\n" % len(INDEX)
            connection.sendall(b"HTTP/1.1 200 OK\r\n" + (length + INDEX if is_index else package))
            end_without_close_notify(connection)

        return self.download("http/1.1", answer)

    def test_a_head_or_a_body_of_known_length_that_is_cut_without_close_notify_is_lost(self):
        for package in (b"", b"Content-Le", b"Content-Length: 10\r\n",
                        b"Content-Length: 10\r\n\r\nhalf",
                        b"Transfer-Encoding: chunked\r\n\r\n4\r\nhalf\r\n"):
            with self.subTest(package):
                status, report, files = self.over_tls(package)
                self.assertEqual((status, report["failed"], files), (1, 1, {}))
                self.assertEqual(report["failures"][0]["code"], -1005)

    def test_a_body_of_unknown_length_ends_with_its_connection_also_without_close_notify(self):
        status, report, files = self.over_tls(b"\r\nhalf")
        self.assertEqual((status, report["downloaded"]), (0, 1))
        self.assertEqual(files, {"p.deb": b"half"})


if __name__ == "__main__":
    unittest.main(warnings="ignore")
