# SPDX-License-Identifier: MIT
"""The faults of a server, and which results of a client are correct for each."""
import gzip
import itertools
from dataclasses import dataclass
from typing import Callable

# The correct results of a request that meets the fault.
WHOLE = "whole"  # the answer is unusual but correct: it is kept, byte for byte
FAILURE = "failure"  # there is no complete answer: no file, and a failure that is named
EITHER = "either"  # complete, or a failure
WRONG = "wrong"  # a complete answer with other bytes: named if the index gives size or digest
ABSENT = "absent"  # the server does not have it: no file and no failure

MEGABYTE = 1 << 20
LONGEST_HEAD = 32 * MEGABYTE  # far more than a client has to read
MAX_TIME = ("--max-time", "1")
MAX_SIZE = ("--max-size", "2000000")
BEYOND_INDEX = 128 * MEGABYTE  # a client that knows the size stops 64 above it
BEYOND_MEMORY = 768 * MEGABYTE  # an index is held in memory, and is limited to 512


@dataclass
class Fault:
    """`pieces` returns what is sent: bytes, or pauses in seconds. It is called with the correct
    body, and with the server.Request if it takes two arguments. A client that reads more than
    `bound` bytes fails the test."""

    name: str
    pieces: Callable
    package: str
    index: str = ""
    metadata: str = ""
    ending: str = "close"  # or "keep", "reset", "hold", and "cut": TLS without close_notify
    over: str = ""  # a TLS server, to which the request is redirected first
    bound: int = 0
    only: tuple = ("sized", "unsized", "index", "metadata")
    spoils: bool = False  # affects other requests on the same connection too
    needs: tuple = ()  # an option that keeps the round short, and its value

    def __post_init__(self):
        self.index = self.index or self.package
        self.metadata = self.metadata or self.package


FAULTS: list = []


def add(name, package, pieces, **more):
    FAULTS.append(Fault(name, pieces, package, **more))


def head(*fields, status="200 OK", version="HTTP/1.1"):
    return "\r\n".join((f"{version} {status}", *fields, "", "")).encode("latin-1")


def sized(body, *fields, **more):
    return head(f"Content-Length: {len(body)}", *fields, **more)


def whole(body, *fields, **more):
    return [sized(body, *fields, **more), body]


def half(body):
    return body[:len(body) // 2]


def chunk(body):
    return b"%x\r\n%b\r\n" % (len(body), body)


def chunked(*pieces):
    return [head("Transfer-Encoding: chunked"), *pieces]


def single_bytes(data):
    return [data[at:at + 1] for at in range(len(data))]


def altered(body):
    middle = len(body) // 2
    return body[:middle] + bytes([body[middle] ^ 1]) + body[middle + 1:] if body else body


def length(*values):
    return head(*(f"Content-Length: {value}" for value in values))


def moved(location, status="302 Found"):
    return head(f"Location: {location}", "Content-Length: 0", status=status)


def add_cut_heads():
    start = b"HTTP/1.1 200 OK\r\n"
    add("ends before the status line", FAILURE, lambda body: [])
    add("ends inside the status line", FAILURE, lambda body: [b"HTTP/1.1 20"])
    add("ends after the status line", FAILURE, lambda body: [start])
    add("ends inside a header field", FAILURE, lambda body: [start, b"Content-Le"])
    add("ends before the empty line", FAILURE, lambda body: [sized(body)[:-2]])
    add("ends before the empty line, no length", FAILURE,
        lambda body: [start, b"Content-Type: text/plain\r\n"])
    add("ends inside the empty line", FAILURE, lambda body: [sized(body)[:-1]])
    add("ends after the head", FAILURE, lambda body: [sized(body)])
    add("ends after a head without length", WRONG, lambda body: [head()], index=FAILURE)


def add_interim_answers():
    hints = head("Link: </style>", status="103 Early Hints")
    more = head(status="100 Continue")
    add("100, then the end", FAILURE, lambda body: [more])
    add("103, then the end", FAILURE, lambda body: [hints])
    add("102 three times, then the end", FAILURE, lambda body: [head(status="102 Processing")] * 3)
    add("100, then the status line and the end", FAILURE,
        lambda body: [more, b"HTTP/1.1 200 OK\r\n"])
    add("100 and 103, then the answer", WHOLE, lambda body: [more, hints, *whole(body)])
    add("101 without a request for it", FAILURE, lambda body: [
        head("Upgrade: other", "Connection: Upgrade", status="101 Switching Protocols"), body])
    add("interim answers without end", FAILURE, lambda body: itertools.repeat(hints * 500),
        bound=LONGEST_HEAD)


def add_lengths():
    add("body cut in the middle", FAILURE, lambda body: [sized(body), half(body)])
    add("body one byte short", FAILURE, lambda body: [sized(body), body[:-1]])
    add("Content-Length negative", FAILURE, lambda body: [length(-5), body])
    add("Content-Length no number", EITHER, lambda body: [length("many"), body])
    add("Content-Length of 2^62", FAILURE, lambda body: [length(1 << 62), body])
    add("Content-Length beyond 64 bits", EITHER, lambda body: [length(10**30), body])
    add("Content-Length twice, equal", EITHER, lambda body: [length(len(body), len(body)), body])
    add("Content-Length twice, half first", EITHER,
        lambda body: [length(len(body) // 2, len(body)), body])
    add("Content-Length twice, half last", FAILURE,
        lambda body: [length(len(body), len(body) // 2), body])
    add("Content-Length of half the body", WRONG, lambda body: [sized(half(body)), body])
    add("Content-Length 0 and a body", WRONG, lambda body: [length(0), body], index=FAILURE)
    add("Content-Length and chunked", EITHER, lambda body: [
        head(f"Content-Length: {len(body) // 2}", "Transfer-Encoding: chunked"), chunk(body),
        b"0\r\n\r\n"])
    more = b"".join(whole(b"not requested"))
    add("a second answer with the end of the body", WHOLE,
        lambda body: [sized(body), body + more], ending="keep", spoils=True)
    add("a second answer after the body", WHOLE,
        lambda body: [*whole(body), 0.01, more], ending="keep", spoils=True)


def add_chunks():
    add("chunked, in three", WHOLE, lambda body: chunked(
        chunk(body[:10]), chunk(body[10:20]), chunk(body[20:]), b"0\r\n\r\n"), ending="keep")
    add("chunked, with trailers", WHOLE,
        lambda body: chunked(chunk(body), b"0\r\nX-Sum: 1\r\n\r\n"), ending="keep")
    add("chunked, cut in a size line", FAILURE,
        lambda body: chunked(chunk(half(body)), b"%x" % len(body)))
    add("chunked, cut in the data", FAILURE, lambda body: chunked(chunk(body)[:len(body) // 2]))
    add("chunked, cut after a chunk", FAILURE, lambda body: chunked(chunk(half(body))))
    add("chunked, cut before the last chunk", FAILURE, lambda body: chunked(chunk(body)))
    add("chunked, cut in the last chunk", EITHER, lambda body: chunked(chunk(body), b"0\r\n"))
    add("chunked, cut in the trailers", EITHER,
        lambda body: chunked(chunk(body), b"0\r\nX-Sum: 1\r\n"))
    add("chunk size too small", FAILURE, lambda body: chunked(
        b"%x\r\n%b\r\n0\r\n\r\n" % (len(body) - 7, body)))
    add("chunk size too large", FAILURE, lambda body: chunked(
        b"%x\r\n%b\r\n0\r\n\r\n" % (len(body) + 700, body)))
    add("chunk size no number", FAILURE, lambda body: chunked(b"xyz\r\n", body, b"\r\n0\r\n\r\n"))
    add("chunk size negative", FAILURE, lambda body: chunked(b"-5\r\n", body, b"\r\n0\r\n\r\n"))
    add("chunk size beyond 64 bits", FAILURE,
        lambda body: chunked(b"f" * 17 + b"\r\n", body, b"\r\n0\r\n\r\n"))


def add_resets_and_stalls():
    add("reset at once", FAILURE, lambda body: [], ending="reset")
    add("reset inside the head", FAILURE, lambda body: [b"HTTP/1.1 200 OK\r\nDate"], ending="reset")
    add("reset after the head", FAILURE, lambda body: [sized(body)], ending="reset")
    add("reset in the body", FAILURE, lambda body: [sized(body), half(body)], ending="reset")
    add("reset in a body of unknown length", FAILURE, lambda body: [head(), half(body)],
        ending="reset")
    add("reset after the body", EITHER, whole, ending="reset")
    for name, pieces in (("before the head", lambda body: []),
                         ("inside the head", lambda body: [b"HTTP/1.1 200 OK\r\nDate"]),
                         ("in the body", lambda body: [sized(body), half(body)])):
        add(f"stall {name}", FAILURE, pieces, ending="hold", needs=MAX_TIME,
            only=("sized", "index", "metadata"))
    add("a byte now and then, without end", FAILURE,
        lambda body: itertools.chain([sized(body)], itertools.cycle((0.2, b"x"))),
        only=("unsized",), needs=MAX_TIME)


def add_endless():
    block = b"x" * MEGABYTE
    field_block = (b"X-More: " + b"y" * 90 + b"\r\n") * 500
    add("head without end", FAILURE,
        lambda body: itertools.chain([b"HTTP/1.1 200 OK\r\n"], itertools.repeat(field_block)),
        bound=LONGEST_HEAD)
    add("header field without end", FAILURE,
        lambda body: itertools.chain([b"HTTP/1.1 200 OK\r\nX-More: "], itertools.repeat(block)),
        bound=LONGEST_HEAD)
    add("status line without end", FAILURE,
        lambda body: itertools.chain([b"HTTP/1.1 200 "], itertools.repeat(block)),
        bound=LONGEST_HEAD)
    add("trailers without end", EITHER, lambda body: itertools.chain(
        chunked(chunk(body), b"0\r\n"), itertools.repeat(field_block)), bound=LONGEST_HEAD)
    add("redirect with a body without end", EITHER, lambda body, request:
        whole(body) if request.turn else itertools.chain(
            [head(f"Location: {request.next_turn}", status="302 Found")],
            itertools.repeat(block)), bound=LONGEST_HEAD)

    def endless_body(_):
        return itertools.chain([head()], itertools.repeat(block))

    add("body without end", FAILURE, endless_body, only=("sized",), bound=BEYOND_INDEX)
    add("body without end, --max-size", FAILURE, endless_body, only=("unsized", "metadata"),
        bound=LONGEST_HEAD, needs=MAX_SIZE)
    add("chunks without end", FAILURE, lambda body: itertools.chain(
        chunked(), itertools.repeat(chunk(block))), only=("sized",), bound=BEYOND_INDEX)
    add("index without end", FAILURE, endless_body, only=("index",), bound=BEYOND_MEMORY)


def add_statuses():
    page = b"<html><body><h1>Sorry</h1></body></html>"
    for status in ("400 Bad Request", "403 Forbidden", "416 Range Not Satisfiable",
                   "429 Too Many Requests", "500 Internal Server Error", "503 Unavailable"):
        add(f"{status[:3]} with a page", WRONG, lambda body, status=status: whole(
            page, status=status), index=FAILURE, metadata=FAILURE, ending="keep")
    for status in ("404 Not Found", "410 Gone"):
        add(f"{status[:3]} with a page", WRONG, lambda body, status=status: whole(
            page, status=status), index=FAILURE, metadata=ABSENT, ending="keep")
    add("204", WRONG, lambda body: [head(status="204 No Content")], index=FAILURE, ending="keep")
    add("206 with half", WRONG, lambda body: whole(
        half(body), f"Content-Range: bytes 0-{len(body) // 2 - 1}/{len(body)}",
        status="206 Partial Content"), ending="keep")
    add("304", WRONG, lambda body: [head(status="304 Not Modified")], index=FAILURE,
        metadata=FAILURE, ending="keep")
    add("status 99999", FAILURE, lambda body: whole(body, status="99999 Large"))
    add("status no number", FAILURE, lambda body: whole(body, status="abc Odd"))


def add_redirects():
    add("redirected three times", WHOLE, lambda body, request:
        whole(body) if request.turn == 3 else [moved(request.next_turn)], ending="keep")
    add("redirect to itself", FAILURE, lambda body, request: [moved(request.path)], ending="keep")
    add("redirects without end", FAILURE,
        lambda body, request: [moved(request.next_turn)], ending="keep")
    add("redirect without a Location", WRONG,
        lambda body: whole(b"<html>", status="302 Found"), index=FAILURE, metadata=FAILURE)
    for name, place in (("a port that refuses", "http://127.0.0.1:1/"),
                        ("file:", "file:///etc/passwd"), ("ftp:", "ftp://127.0.0.1:1/x"),
                        ("an invalid URL", "http://[::bad"), ("a URL without a host", "http:///x")):
        add(f"redirect to {name}", FAILURE, lambda body, place=place: [moved(place)],
            ending="keep")


def add_other_protocols():
    add("HTTP/0.9", FAILURE, lambda body: [body])
    add("garbage", FAILURE, lambda body: [bytes(range(256)) * 8])
    add("NULs", FAILURE, lambda body: [bytes(4096)])
    add("HTTP/9.9", EITHER, lambda body: whole(body, version="HTTP/9.9"))
    add("HTTP/1.0, ended by the connection", WHOLE, lambda body: [head(version="HTTP/1.0"), body])
    add("HTTP/1.0, cut", WRONG, lambda body: [head(version="HTTP/1.0"), half(body)])
    add("ended by the connection", WHOLE, lambda body: [head(), body])
    add("ended by the connection, cut", WRONG, lambda body: [head(), half(body)])
    add("lines that end in LF alone", WHOLE, lambda body: [sized(body).replace(b"\r", b""), body])
    add("head in single bytes", WHOLE, lambda body: [*single_bytes(sized(body)), body],
        ending="keep")
    add("folded header field", EITHER, lambda body: whole(body, "X-Note: one\r\n two"))
    add("header field without a colon", EITHER, lambda body: whole(body, "no colon here"))
    add("NUL in a header field", EITHER, lambda body: whole(body, "X-Note: a\0b"))
    add("header field of 200 kB", EITHER, lambda body: whole(body, "X-Note: " + "z" * 200_000))
    add("Content-Disposition with another name", WHOLE, lambda body: whole(
        body, 'Content-Disposition: attachment; filename="../../other.deb"'), ending="keep")


def add_contents():
    coded = "Content-Encoding: gzip"
    add("labelled gzip, but not gzip", WHOLE, lambda body: whole(body, coded), index=FAILURE,
        ending="keep")
    add("labelled gzip, and gzip", WRONG, lambda body: whole(gzip.compress(body), coded),
        index=WHOLE, ending="keep")
    add("labelled gzip, cut inside", WRONG, lambda body: whole(half(gzip.compress(body)), coded),
        index=FAILURE, ending="keep")
    add("labelled gzip, one byte more", WRONG,
        lambda body: whole(gzip.compress(body) + b"\n", coded), index=FAILURE, ending="keep")
    add("an unknown coding", WHOLE, lambda body: whole(body, "Content-Encoding: odd"), index=EITHER,
        ending="keep")
    add("one bit changed", WRONG, lambda body: whole(altered(body)), ending="keep")
    add("other bytes of the same size", WRONG, lambda body: whole(b"z" * len(body)), index=FAILURE,
        ending="keep")
    add("half of it, with that length", WRONG, lambda body: whole(half(body)), ending="keep")
    add("one byte more", WRONG, lambda body: whole(body + b"\n"), ending="keep")
    add("empty, with 200", WRONG, lambda body: whole(b""), index=FAILURE, ending="keep")
    add("a page, with 200", WRONG, lambda body: whole(b"<html>Log in first</html>"), index=FAILURE,
        ending="keep")


def add_tls():
    for kind in ("expired", "self-signed", "other name"):
        add(f"TLS, certificate {kind}", FAILURE, whole, over=kind)
    add("TLS, correct", WHOLE, whole, over="tls", ending="keep")
    add("TLS, ended inside the head", FAILURE, lambda body: [sized(body)[:-2]], over="tls")
    add("TLS, ended in the body", FAILURE, lambda body: [sized(body), half(body)], over="tls")
    add("TLS, cut inside the head", FAILURE, lambda body: [sized(body)[:-2]], over="tls",
        ending="cut")
    add("TLS, cut in the body", FAILURE, lambda body: [sized(body), half(body)], over="tls",
        ending="cut")
    add("TLS, cut after the body", EITHER, whole, over="tls", ending="cut")
    add("TLS, unknown length, cut in the body", WRONG, lambda body: [head(), half(body)],
        over="tls", ending="cut")
    add("TLS, unknown length, cut after the body", EITHER, lambda body: [head(), body],
        over="tls", ending="cut")
    add("TLS, unknown length, correct", WHOLE, lambda body: [head(), body], over="tls")
    add("TLS, reset in the body", FAILURE, lambda body: [sized(body), half(body)], over="tls",
        ending="reset")
    add("https to a server without TLS", FAILURE,
        lambda body, request: [moved(f"https://127.0.0.1:{request.port}{request.path}")],
        ending="keep")


for add_all in (add_cut_heads, add_interim_answers, add_lengths, add_chunks, add_resets_and_stalls,
                add_endless, add_statuses, add_redirects, add_other_protocols, add_contents,
                add_tls):
    add_all()
