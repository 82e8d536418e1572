"""A listener on a plain socket for what no messaging library would send: wrong greetings, wrong frames, cut connections.

A test gives a function that speaks to one connection. It is called for each that the scanner makes, in a thread of its
own, and what it returns decides: the connection is cut if it is CUT, and is otherwise listened to until the scanner
closes it.

    with RawPeer(lambda connection: connection.send(b"nonsense")) as listener, start(listener.endpoint) as scanner:
        code = scanner.wait()
    listener.heard
"""

import socket
import struct
import threading
import time

CUT = object()

# Bits of a frame's first byte.
MORE = 1
LONG = 2
COMMAND = 4


def greeting(mechanism=b"NULL", version=(3, 0)):
    """The 64 bytes that begin a connection: signature, version, mechanism, no server's role, filler."""
    return b"\xff" + bytes(8) + b"\x7f" + bytes(version) + mechanism.ljust(20, b"\0") + bytes(32)


def frame(content, flags=0):
    if len(content) > 255:
        return struct.pack(">BQ", flags | LONG, len(content)) + content
    return struct.pack(">BB", flags, len(content)) + content


def message(*contents):
    """Frames of one message."""
    return b"".join(frame(content, MORE) for content in contents[:-1]) + frame(contents[-1])


def command(name, content=b""):
    return frame(bytes([len(name)]) + name + content, COMMAND)


def ready(socket_type=b"REP"):
    return command(b"READY", b"\x0bSocket-Type" + struct.pack(">I", len(socket_type)) + socket_type)


class Connection:
    def __init__(self, accepted):
        self.socket = accepted
        self.began = time.monotonic()
        self.heard = bytearray()

    def send(self, content):
        self.socket.sendall(content)

    def hear_until(self, expected):
        """Listens until these bytes have come. Raises ConnectionError if the scanner closes the connection first."""
        while expected not in self.heard:
            self.hear()

    def hear(self):
        heard = self.socket.recv(65536)
        if not heard:
            raise ConnectionResetError("closed by the scanner")
        self.heard += heard

    def shake_hands(self):
        """All of a good peer's part up to the request, which is awaited."""
        self.send(greeting() + ready())
        self.hear_until(b"SCAN_WORKREQUEST")


class RawPeer:
    def __init__(self, speak):
        self.speak = speak
        self.connections = []
        self.problems = []
        self.connected = threading.Event()
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.endpoint = f"tcp://127.0.0.1:{self.listener.getsockname()[1]}"
        self.threads = [threading.Thread(target=self.accept)]
        self.threads[0].start()

    @property
    def heard(self):
        """All that came, over all connections."""
        return b"".join(bytes(connection.heard) for connection in self.connections)

    def wait_for_connection(self, timeout):
        if not self.connected.wait(timeout):
            raise AssertionError(f"no connection within {timeout} s")

    def accept(self):
        while True:
            try:
                accepted, _ = self.listener.accept()
            except OSError:
                return
            connection = Connection(accepted)
            self.connections.append(connection)
            self.connected.set()
            thread = threading.Thread(target=self.serve, args=(connection,))
            self.threads.append(thread)
            thread.start()

    def serve(self, connection):
        with connection.socket:
            try:
                if self.speak(connection) is not CUT:
                    while True:
                        connection.hear()
            except ConnectionError:
                # Closed by the scanner, as many of these tests mean it to be.
                pass
            except Exception as problem:  # handed to the test
                self.problems.append(problem)

    def close(self):
        # Closing alone does not wake a thread that waits for a connection.
        try:
            self.listener.shutdown(socket.SHUT_RDWR)
        finally:
            self.listener.close()
        for connection in self.connections:
            try:
                connection.socket.shutdown(socket.SHUT_RDWR)
            except OSError:
                pass
        for thread in self.threads:
            thread.join()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()
