"""Speaks one script to the real host."""

import os
import tempfile
from dataclasses import dataclass, field
from pathlib import Path

from .frames import Frame, event_frame, failure_text, request_frame
from .grid_table import table_of
from .grid_window import RowIds, window_of
from .peer import Peer, PeerError
from .programs import Host, import_profile
from .script_file import Script, ScriptError, Step
from .single_rows import SingleRows

TOKEN = "token-of-the-tests"
DEFAULT_PROFILE = b"main;work 3\nmain 1\n"


@dataclass(frozen=True)
class Setting:
    """One way to run every script."""

    name: str
    single_bytes: bool = False  # every frame in pieces of one byte
    joined: bool = False  # frames that follow each other go out in one write
    reopened: bool = False  # the profile is imported first, and the result directory is opened
    single_rows: bool = False  # each row of a tree grid's answer is asked for once more, alone


SETTINGS = (
    Setting("plain"),
    Setting("bytes", single_bytes=True),
    Setting("joined", joined=True),
    Setting("reopened", reopened=True),
    Setting("rows", single_rows=True),
)


@dataclass
class Outcome:
    """What came of a run. `blocks` holds the actual block of each expectation, by its line in the script."""

    blocks: dict[int, str] = field(default_factory=dict)
    error: str | None = None


def run_script(script: Script, setting: Setting, programs: Path, config: Path | None) -> Outcome:
    """Runs a script in one setting."""
    with tempfile.TemporaryDirectory(prefix="panedeck-wire-") as folder:
        return _Run(script, setting, programs, config, Path(folder)).run()


class _Run:
    def __init__(self, script: Script, setting: Setting, programs: Path, config: Path | None, folder: Path):
        self._script = script
        self._setting = setting
        self._programs = programs
        self._config = config
        self._folder = folder
        self._exports = folder / "exports"
        self._exports.mkdir(mode=0o700)
        self._peer = Peer(setting.single_bytes)
        self._host: Host | None = None
        self._outcome = Outcome()
        self._to_send = b""
        self._last_id = 0
        self._row_ids = RowIds()
        self._single_rows = SingleRows(self._ask_aside)
        self._changes: dict[str, tuple] = {}  # what each request told its grid about the window
        self._asked: list[str] = []  # ids without an answer yet, on this connection
        self._forgotten: set[str] = set()  # ids that were asked on a connection that is gone
        self._arrived: list[Frame] = []  # frames that nothing has expected yet
        self._events: list[Frame] = []  # events that nothing has expected yet

    def run(self) -> Outcome:
        try:
            self._results = self._prepare_results()
            self._start_host()
            for step in self._script.steps:
                self._do(step)
            self._expect_silence()
            self._host.stop()
        except Exception as error:  # whatever went wrong, the script failed
            self._outcome.error = f"{type(error).__name__}: {error}"
            if self._host and not self._host.is_running():
                self._outcome.error += "\nthe host is gone; its last words:\n" + self._host.log_text()
        finally:
            if self._host:
                self._host.kill()
            self._peer.close()
        return self._outcome

    # The host and its connection

    def _prepare_results(self) -> list[Path]:
        texts = {(step.words or ["profile.folded"])[0]: step.expanded + b"\n" for step in self._script.of("profile")}
        paths = []
        for name, text in (texts or {"profile.folded": DEFAULT_PROFILE}).items():
            path = self._folder / name
            path.write_bytes(text)
            paths.append(self._reopenable(path) if self._setting.reopened else path)
        return paths

    def _reopenable(self, profile: Path) -> Path:
        return import_profile(self._programs, profile, self._folder / "results")

    def _start_host(self) -> None:
        arguments = ["--server", self._peer.address, "--token", TOKEN, "--role", "wire tests"]
        arguments += ["--user-dir", str(self._folder / "user"), "--export-dir", str(self._exports)]
        if self._config:
            arguments += ["--config-dir", str(self._config)]
        arguments += [str(path) for path in self._results]
        self._host = Host(self._programs, arguments, self._folder / "host.log")
        self._accept()

    def _accept(self) -> None:
        handshake = self._peer.accept().content[0]
        if handshake.findtext("role") != "wire tests" or handshake.findtext("_/token") != TOKEN:
            raise PeerError("the handshake lacks role or token")

    # Steps

    def _do(self, step: Step) -> None:
        action = getattr(self, "_do_" + step.keyword.replace("-", "_"), None)
        if action is None:
            raise ScriptError(f"{self._script.path}:{step.line + 1}: unknown step {step.keyword}")
        action(step)

    def _do_title(self, step: Step) -> None:
        pass

    _do_doc = _do_profile = _do_settings = _do_title

    def _do_request(self, step: Step) -> None:
        """request TYPE [xCOUNT]: asks, as often as said."""
        count = int(step.words[1][1:]) if len(step.words) > 1 else 1
        parameters = b"".join(line.strip() for line in step.expanded.split(b"\n"))
        parameters = self._row_ids.reveal(parameters).replace(b"%folder%", str(self._folder).encode())
        for _ in range(count):
            self._last_id += 1
            self._asked.append(str(self._last_id))
            self._changes[str(self._last_id)] = SingleRows.changes(step.words[0], parameters)
            self._send(request_frame(str(self._last_id), step.words[0], parameters))

    def _do_frame(self, step: Step) -> None:
        """frame [ID]: sends the block as it stands; ID is the request id that its answer will carry."""
        if step.words:
            self._asked.append(step.words[0])
        self._send(step.expanded)

    def _do_cancel(self, step: Step) -> None:
        """cancel ID"""
        self._send(event_frame("cancelRequest", {"requestId": step.words[0]}))

    def _do_answer(self, step: Step) -> None:
        """answer [to ID|to nobody]: the whole answer."""
        self._check(step, self._response(step).shown)

    def _do_event(self, step: Step) -> None:
        """event NAME: the next event of that name, which may have come already."""
        self._flush()
        while not (named := [frame for frame in self._events if frame.name == step.words[0]]):
            self._keep(self._peer.receive())
        self._events.remove(named[0])
        self._check(step, named[0].shown)

    def _do_table(self, step: Step) -> None:
        """table [to ID]: a grid answer's rows."""
        self._check(step, table_of(self._response(step)))

    def _do_window(self, step: Step) -> None:
        """window [to ID]: the rows that a gridview answer shows."""
        self._check(step, window_of(self._response(step)))

    def _do_failure(self, step: Step) -> None:
        """failure [to ID|to nobody]: the text of an error answer."""
        frame = self._response(step)
        text = failure_text(frame)
        self._check(step, text if text is not None else "no failure but:\n" + frame.shown)

    def _do_file(self, step: Step) -> None:
        """file NAME: what a request has written to %folder%/NAME; NAME may be a pattern, for several files."""
        texts = [path.read_text(encoding="utf-8") for path in sorted(self._folder.glob(step.words[0]))]
        self._check(step, "".join(texts).removesuffix("\n"))

    def _do_pipe(self, step: Step) -> None:
        """pipe NAME: makes %folder%/NAME, a pipe that nobody reads yet."""
        os.mkfifo(self._folder / step.words[0])

    def _do_read(self, step: Step) -> None:
        """read NAME [BYTES]: reads that much of a pipe, or all, and leaves it."""
        with open(self._folder / step.words[0], "rb", buffering=0) as pipe:
            pipe.read(int(step.words[1])) if len(step.words) > 1 else pipe.readall()

    def _do_settle(self, step: Step) -> None:
        """settle: every request that was asked gets its one answer, whatever it is."""
        self._flush()
        while self._asked:
            self._response_to(self._asked[0])

    def _do_drop(self, step: Step) -> None:
        """drop [SECONDS]: breaks the connection, after sending the block; the host comes back by itself, also when
        nobody listens for a while."""
        self._send(step.expanded)
        self._flush()
        self._peer.drop()
        self._forgotten.update(self._asked)
        self._asked.clear()
        if step.words:
            self._peer.close_listener_for(float(step.words[0]))
        self._accept()

    def _do_restart(self, step: Step) -> None:
        """restart: stops the host and starts it again, with the same user folder."""
        self._expect_silence()
        self._host.stop()
        self._start_host()

    # Sending and receiving

    def _send(self, data: bytes) -> None:
        self._to_send += data
        if not self._setting.joined:
            self._flush()

    def _flush(self) -> None:
        self._peer.send(self._to_send)
        self._to_send = b""

    def _response(self, step: Step) -> Frame:
        self._flush()
        if step.words[:1] == ["to"]:
            return self._response_to(None if step.words[1] == "nobody" else step.words[1])
        if not self._asked:
            raise ScriptError(f"{self._script.path}:{step.line + 1}: nothing was asked")
        return self._response_to(self._asked[-1])

    def _response_to(self, request_id: str | None) -> Frame:
        for frame in self._arrived:
            if frame.request_id == request_id:
                self._arrived.remove(frame)
                return self._taken(frame)
        while True:
            frame = self._peer.receive()
            if frame.kind == "response" and frame.request_id == request_id:
                return self._taken(frame)
            self._keep(frame)

    def _taken(self, frame: Frame) -> Frame:
        frame.shown = self._row_ids.hide(frame.shown).replace(str(self._folder), "%folder%")
        if frame.request_id is not None:
            self._asked.remove(frame.request_id)
        # While others are under way the grid need not be as it was.
        if self._setting.single_rows and not self._asked:
            problem = self._single_rows.check(frame, *self._changes.get(frame.request_id, ("", {})))
            if problem:
                raise PeerError(problem)
        return frame

    def _ask_aside(self, request_type: str, parameters: bytes) -> Frame:
        """Asks what the script does not know of."""
        self._asked.append("aside")
        self._send(request_frame("aside", request_type, parameters))
        self._flush()
        frame = self._peer.receive()
        while frame.kind != "response":
            frame = self._peer.receive()
        self._asked.remove("aside")
        return frame

    def _keep(self, frame: Frame) -> None:
        if frame.kind == "response" and frame.request_id in self._forgotten:
            return
        if frame.kind == "response":
            if frame.request_id is not None and frame.request_id not in self._asked:
                raise PeerError("a second answer, or one to nothing that was asked:\n" + frame.shown)
            self._arrived.append(frame)
        if frame.kind == "event":
            self._events.append(frame)

    def _expect_silence(self) -> None:
        """Asks something last: whatever else was sent by then has come ahead of this answer."""
        self._do_settle(None)
        self._asked.append("last")
        self._send(request_frame("last", "nobody:home", b""))
        self._flush()
        self._response_to("last")
        if self._arrived:
            raise PeerError("a frame that nothing expects:\n" + self._arrived[0].shown)

    def _check(self, step: Step, actual: str) -> None:
        self._outcome.blocks[step.line] = actual
