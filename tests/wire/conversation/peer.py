"""The GUI server's side of the connection, played by the tests."""

import socket
import time
from pathlib import Path

from .frames import Frame, FrameError, read_frame

END_OF_FRAME = b"\x0b"
PATIENCE_SECONDS = 30.0
SOURCES = str(Path(__file__).resolve().parents[3])


class PeerError(Exception):
    """The library did not do what the protocol says."""


class Peer:
    """Listens where the host is told to connect; holds one connection at a time."""

    def __init__(self, writes_single_bytes: bool = False):
        self._writes_single_bytes = writes_single_bytes
        self._listener = socket.create_server(("127.0.0.1", 0))
        self._listener.settimeout(PATIENCE_SECONDS)
        self._connection: socket.socket | None = None
        self._unread = b""

    @property
    def address(self) -> str:
        """What the host's --server wants."""
        return "127.0.0.1:%d" % self._listener.getsockname()[1]

    def accept(self) -> Frame:
        """Waits for the library and gives its first frame, which must be the handshake."""
        try:
            self._connection, _ = self._listener.accept()
        except TimeoutError as error:
            raise PeerError("the host does not connect") from error
        self._connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        self._connection.settimeout(PATIENCE_SECONDS)
        self._unread = b""
        first = self.receive()
        if first.kind != "handshake":
            raise PeerError("the first frame of a connection is no handshake:\n" + first.shown)
        return first

    def send(self, data: bytes) -> None:
        """Sends bytes as they are; byte by byte if this peer was made so (long data in pieces)."""
        piece = max(1, len(data) // 20_000) if self._writes_single_bytes else max(1, len(data))
        for start in range(0, len(data), piece):
            self._connection.sendall(data[start : start + piece])

    def receive(self) -> Frame:
        """The next frame of the library."""
        return read_frame(self.receive_text().replace(SOURCES, "%sources%"))

    def receive_text(self) -> str:
        """The next frame of the library as it came."""
        while END_OF_FRAME not in self._unread:
            try:
                received = self._connection.recv(1 << 20)
            except TimeoutError as error:
                raise PeerError("no frame within %d s" % PATIENCE_SECONDS) from error
            if not received:
                raise PeerError("the host closed the connection")
            self._unread += received
        frame, self._unread = self._unread.split(END_OF_FRAME, 1)
        try:
            return frame.decode("utf-8")
        except UnicodeDecodeError as error:
            raise FrameError(f"no UTF-8: {frame[:200]!r}") from error

    def drop(self) -> None:
        """Closes the connection; the library will come back to the same address."""
        self._connection.close()

    def close_listener_for(self, seconds: float) -> None:
        """Is away for a while, as a relay that is started anew, and then listens at the same address."""
        address = self._listener.getsockname()
        self._listener.close()
        time.sleep(seconds)
        self._listener = socket.create_server(address)
        self._listener.settimeout(PATIENCE_SECONDS)

    def close(self) -> None:
        """Ends both the connection and the listening."""
        if self._connection:
            self._connection.close()
        self._listener.close()
