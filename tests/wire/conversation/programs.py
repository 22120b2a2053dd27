"""The programs under test, as processes."""

import os
import subprocess
import time
from pathlib import Path

# Promised is one second; a machine that does much else at the same time gets a few.
STOP_SECONDS = 5.0
# Texts are in English, whoever runs the tests; and no assertion about a request ends the host.
ENVIRONMENT = {"LC_ALL": "C", "panedeck_ERROR_HANDLING": "assert"}


class ProgramError(Exception):
    """A program did not behave as a program of its kind must."""


class Host:
    """A running panedeck-host."""

    def __init__(self, programs: Path, arguments: list[str], log: Path):
        self._log = log
        with log.open("ab") as errors:
            self._process = subprocess.Popen(
                [programs / "panedeck-host", *arguments], stdin=subprocess.DEVNULL, stderr=errors,
                env={**os.environ, **ENVIRONMENT},
            )

    def stop(self) -> None:
        """Asks it to stop: it must exit with 0, and soon."""
        asked = time.monotonic()
        self._process.terminate()
        try:
            code = self._process.wait(timeout=4 * STOP_SECONDS)
        except subprocess.TimeoutExpired as error:
            self._process.kill()
            self._process.wait()
            raise ProgramError("the host does not stop") from error
        if code != 0:
            raise ProgramError(f"the host exited with {code}\n{self.log_text()}")
        if time.monotonic() - asked > STOP_SECONDS:
            raise ProgramError("the host took %.1f s to stop" % (time.monotonic() - asked))

    def kill(self) -> None:
        """Ends it at once, whatever it does."""
        self._process.kill()
        self._process.wait()

    def memory(self, key: str) -> int:
        """A figure of /proc/PID/status in bytes."""
        status = Path(f"/proc/{self._process.pid}/status").read_text(encoding="ascii")
        return 1024 * int(status.split(key + ":")[1].split()[0])

    def forget_peak_memory(self) -> None:
        """From here on the peak is what it has now, or more."""
        Path(f"/proc/{self._process.pid}/clear_refs").write_text("5", encoding="ascii")

    def is_running(self) -> bool:
        return self._process.poll() is None

    def log_text(self) -> str:
        """What it wrote to standard error, the last few lines."""
        lines = self._log.read_text(encoding="utf-8", errors="replace").splitlines()
        return "\n".join(lines[-20:])


def import_profile(programs: Path, profile: Path, out: Path) -> Path:
    """Makes a result directory from a profile file with the import command."""
    done = subprocess.run(
        [programs / "panedeck", "import", profile, "--out", out, "--user-dir", out / "user"],
        stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=60, check=False,
    )
    if done.returncode != 0:
        raise ProgramError(f"panedeck import exited with {done.returncode}: {done.stderr.strip()}")
    return Path(done.stdout.splitlines()[0])
