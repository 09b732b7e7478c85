"""Stands between pell and its server, and misbehaves on request."""

import dataclasses
import json
import socket
import threading
import time

from harness.processes import Failure


@dataclasses.dataclass
class Fault:
    """What happens to the requests of a path."""

    reply: bytes | None = None  # these bytes are the whole answer, as they stand; the server is not asked
    half: bool = False  # the server answers, half of its body arrives, then the connection ends
    slow: float = 0.0  # the answer comes that many seconds late


def answer(status, body, kind="application/json"):
    text = body if isinstance(body, bytes) else body.encode()
    head = f"HTTP/1.1 {status}\r\nContent-Type: {kind}\r\nContent-Length: {len(text)}\r\nConnection: close\r\n\r\n"
    return head.encode() + text


def api_error(status, code, message):
    number = int(status.split()[0])
    return answer(status, json.dumps({"error": message, "code": code, "status": number, "request_id": "r"}))


NOT_HTTP = b"SSH-2.0-OpenSSH_9.2\r\n"
UNAUTHORIZED = api_error("401 Unauthorized", "UNAUTHORIZED", "The token has expired.")
QUOTA = api_error("402 Payment Required", "QUOTA_EXCEEDED", "You have used up this month's minutes.")
HTML_500 = answer("500 Internal Server Error", "<html><body><h1>Oops</h1></body></html>", "text/html")


class FaultProxy:
    """Listens on a free port. Threads: one for each connection, and each connection carries one request."""

    def __init__(self, upstream_port):
        self.upstream_port = upstream_port
        self.faults = {}  # path prefix -> Fault
        self.requests = []  # (method, path, headers) in order, once their bodies are there
        self.gate = threading.Event()
        self.gate.set()
        self.reached = threading.Event()  # a gated answer is ready
        self.gated = None
        self.listener = None
        self.port = 0
        self.open()

    def open(self):
        listener = socket.socket()
        listener.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        listener.bind(("127.0.0.1", self.port))
        listener.listen(32)
        self.port = listener.getsockname()[1]
        self.listener = listener
        threading.Thread(target=self._accept, args=(listener,), daemon=True).start()

    def close(self):
        """From here on connections are refused; `open` takes them again, on the same port."""
        if self.listener:
            self.listener.shutdown(socket.SHUT_RDWR)
            self.listener.close()
            self.listener = None

    @property
    def address(self):
        return f"http://127.0.0.1:{self.port}"

    def misbehave(self, path, **fault):
        self.faults[path] = Fault(**fault)

    def behave(self):
        self.faults.clear()

    def hold_answers(self, path):
        """Answers to this path wait, from now on, until `let_go`."""
        self.gated = path
        self.reached.clear()
        self.gate.clear()

    def wait_held(self, timeout=20):
        if not self.reached.wait(timeout):
            raise Failure(f"no answer to {self.gated} within {timeout} s")

    def let_go(self):
        self.gate.set()
        self.gated = None

    def _accept(self, listener):
        while True:
            try:
                connection, _ = listener.accept()
            except OSError:
                return
            threading.Thread(target=self._serve, args=(connection,), daemon=True).start()

    def _serve(self, client):
        with client:
            try:
                self._pass_on(client)
            except OSError:
                pass  # one of the two ends went away, which is its right

    def _pass_on(self, client):
        head, body = read_until(client, b"\r\n\r\n")
        if not head:
            return
        lines = head.decode("latin-1").split("\r\n")
        method, path, _ = lines[0].split(" ", 2)
        headers = {name.lower(): value.strip() for name, _, value in (line.partition(":") for line in lines[1:])}
        if headers.get("expect"):
            client.sendall(b"HTTP/1.1 100 Continue\r\n\r\n")
        while len(body) < int(headers.get("content-length", 0)):
            block = client.recv(65536)
            if not block:
                return
            body += block
        self.requests.append((method, path, headers))
        fault = next((fault for prefix, fault in self.faults.items() if path.startswith(prefix)), Fault())
        if fault.reply is not None:
            self._answer_late(client, fault.reply, path, fault)
            return
        kept = [line for line in lines if line and not line.lower().startswith(("connection:", "expect:"))]
        request = "\r\n".join([*kept, "Connection: close", "", ""]).encode("latin-1") + body
        self._answer(client, request, path, fault)

    def _answer(self, client, request, path, fault):
        with socket.create_connection(("127.0.0.1", self.upstream_port), 10) as server:
            server.settimeout(200)
            server.sendall(request)
            if fault.slow or fault.half or self.gated:
                self._answer_late(client, read_all(server), path, fault)
                return
            while block := server.recv(65536):
                client.sendall(block)

    def _answer_late(self, client, answer, path, fault):
        time.sleep(fault.slow)
        if fault.half:
            head, _, body = answer.partition(b"\r\n\r\n")
            client.sendall(head + b"\r\n\r\n" + body[: len(body) // 2])
            return
        if self.gated and path.startswith(self.gated):
            self.reached.set()
            self.gate.wait(120)
        client.sendall(answer)


def read_until(connection, mark):
    data = b""
    while mark not in data:
        block = connection.recv(65536)
        if not block:
            return b"", b""
        data += block
    head, _, rest = data.partition(mark)
    return head, rest


def read_all(connection):
    blocks = []
    while block := connection.recv(65536):
        blocks.append(block)
    return b"".join(blocks)
