# SPDX-License-Identifier: MIT
"""An HTTP server on loopback over raw sockets, so that it can break every rule.

A path with a fault (faults.Fault) is answered with it, every other path correctly. The server
counts the requests for each path, so that the tests need not rely on the program's output.
"""
import collections
import inspect
import socket
import ssl
import struct
import threading
import time
from dataclasses import dataclass

PATIENCE = 45  # seconds that a thread waits for a client
TLS_HANDSHAKE = 0x16  # the first byte of a client that speaks TLS to the plain server
NOT_FOUND = b"HTTP/1.1 404 Not Found\r\nContent-Length: 9\r\n\r\nNot found"


@dataclass
class Request:
    """What is passed to a fault."""

    path: str
    turn: int  # the number in "?turn=", which a redirect increments
    port: int  # of this server

    @property
    def next_turn(self):
        return f"{self.path}?turn={self.turn + 1}"


class Server:
    """Serves until the process ends. `listeners` maps "" (the server without TLS) and each name of
    `contexts` (servers with TLS) to an address."""

    def __init__(self, contexts=None):
        self.site = {}
        self.faults = {}  # path: Fault
        self.slow = {}  # path: the seconds that its body takes
        self.requests = collections.Counter()
        self.overrun = set()  # paths of which a client read more than the fault's bound
        self.listeners = {}
        self._lock = threading.Lock()
        self._listen("", None)
        for name, context in (contexts or {}).items():
            self._listen(name, context)

    @property
    def url(self):
        return self.listeners[""] + "/"

    def show(self, repository, slow=None):
        """Serves another repository without faults, and resets the counts."""
        self.site, self.faults, self.slow = repository.site, {}, slow or {}
        self.forget()

    def forget(self):
        with self._lock:
            self.requests, self.overrun = collections.Counter(), set()

    def asked_for(self, paths):
        with self._lock:
            return {path: self.requests[path] for path in paths if self.requests[path]}

    def _listen(self, name, context):
        listener = socket.create_server(("127.0.0.1", 0), backlog=128)
        scheme = "https" if context else "http"
        self.listeners[name] = f"{scheme}://127.0.0.1:{listener.getsockname()[1]}"
        threading.Thread(target=self._accept, args=(listener, name, context), daemon=True).start()

    def _accept(self, listener, name, context):
        while True:
            try:
                connection = listener.accept()[0]
            except OSError:  # no descriptor for it
                time.sleep(0.1)
                continue
            threading.Thread(target=self._serve, args=(connection, name, context),
                             daemon=True).start()

    def _serve(self, connection, name, context):
        try:
            connection.settimeout(PATIENCE)
            connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
            if context:
                connection = context.wrap_socket(connection, server_side=True)
            buffer = bytearray()
            while path := read_request(connection, buffer):
                if not self._answer(connection, name, path):
                    break
        except (OSError, ValueError):  # the client may close at any time
            pass
        finally:
            connection.close()

    def _answer(self, connection, name, path):
        """True if the connection stays open."""
        path, _, turn = path.partition("?turn=")
        with self._lock:
            self.requests[path] += 1
        fault, body = self.faults.get(path), self.site.get(path)
        if fault and fault.over != name:
            connection.sendall(redirect(self.listeners[fault.over] + path))
        elif fault:
            port = connection.getsockname()[1]
            return self._misbehave(connection, fault, Request(path, int(turn or 0), port))
        elif body is None:
            connection.sendall(NOT_FOUND)
        else:
            head = f"HTTP/1.1 200 OK\r\nContent-Length: {len(body)}\r\n\r\n"
            connection.sendall(head.encode())
            send_body(connection, body, self.slow.get(path, 0))
        return True

    def _misbehave(self, connection, fault, request):
        body, sent = self.site.get(request.path, b""), 0
        wants_request = "request" in inspect.signature(fault.pieces).parameters
        for piece in fault.pieces(body, request) if wants_request else fault.pieces(body):
            if isinstance(piece, float):
                time.sleep(piece)
                continue
            connection.sendall(piece)
            sent += len(piece)
            if fault.bound and sent > fault.bound:
                self.overrun.add(request.path)
                reset(connection)
                return False
        if fault.ending == "keep":
            return True
        end(connection, fault.ending)
        return False


def read_request(connection, buffer):
    """The path of the next request; None at the end of the connection."""
    while b"\r\n\r\n" not in buffer:
        received = connection.recv(65536)
        if not received or received[0] == TLS_HANDSHAKE:
            return None
        buffer += received
    head, _, rest = bytes(buffer).partition(b"\r\n\r\n")
    buffer[:] = rest
    return head.split(b" ", 2)[1].decode("latin-1")


def send_body(connection, body, seconds):
    if not seconds:
        connection.sendall(body)
        return
    step = len(body) // 8 + 1
    for start in range(0, len(body), step):
        connection.sendall(body[start:start + step])
        time.sleep(seconds / 8)


def redirect(address):
    return f"HTTP/1.1 302 Found\r\nLocation: {address}\r\nContent-Length: 0\r\n\r\n".encode()


def reset(connection):
    connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
    connection.close()


def end(connection, ending):
    if ending == "reset":
        time.sleep(0.02)  # or the client's kernel discards what has not been read yet
        reset(connection)
    elif ending == "hold":
        while connection.recv(65536):
            pass
    elif isinstance(connection, ssl.SSLSocket) and ending == "close":
        connection.unwrap()
    connection.close()
