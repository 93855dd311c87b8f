"""What lies where in the folder of the results, and how several batches share it."""

from __future__ import annotations

import errno
import fcntl
import hashlib
import json
import os
import tempfile
import time
from collections.abc import Iterator
from contextlib import contextmanager, suppress
from pathlib import Path
from typing import Any

WORK = ".work"
RECORD = "scan.json"
"""In the folder of each result: which scan it is of."""
FAILED = ".failed.json"
WAIT = 0.1  # seconds between two looks at a lock
ODD_NAMES = "backslashreplace"  # of files, whose bytes are no UTF-8


class Places:
    """Names in the folder of the results. One that has a dot in front is of work that goes on."""

    def __init__(self, out: str | os.PathLike[str]) -> None:
        self.out = Path(out)
        self.hidden = self.out / WORK

    def make(self) -> None:
        """Makes the folders."""
        self.hidden.mkdir(parents=True, exist_ok=True)

    def result(self, key: str) -> Path:
        """Where the result of a scan stands once it is whole."""
        return self.out / key

    def work(self, key: str) -> Path:
        """Where it is made, on the same file system."""
        return self.hidden / key

    def is_there(self, key: str) -> bool:
        """Whether a result is whole."""
        return (self.result(key) / RECORD).is_file()

    def failure(self, source: str) -> Path:
        """The note on a scan that failed. A later try at the same scan replaces it."""
        name = hashlib.blake2b(os.fsencode(source), digest_size=8).hexdigest()
        return self.hidden / f"{name}{FAILED}"

    def put_in_place(self, key: str) -> None:
        """Gives a result its name in one step, with all its bytes on the disk before."""
        work = self.work(key)
        for path in [*work.iterdir(), work]:
            _flush(path)
        try:
            work.rename(self.result(key))
        except OSError as error:
            if error.errno not in (errno.ENOTEMPTY, errno.EEXIST, errno.ENOTDIR):
                raise
            self._move_aside(key)
            work.rename(self.result(key))
        _flush(self.out)

    def _move_aside(self, key: str) -> None:
        """What has the name of a result and is none, such as one of which half was deleted."""
        aside = self.hidden / f"{key}.aside-{time.time_ns()}"
        self.result(key).rename(aside)
        self.log(f"{self.result(key)} is no result, and is now {aside}")

    @contextmanager
    def lock(self, name: str) -> Iterator[None]:
        """Waits until nobody else is at work on this name. A process that dies frees it."""
        path = self.hidden / f"{name}.lock"
        file = _lock(path)
        try:
            yield
        finally:
            with suppress(FileNotFoundError):
                path.unlink()
            os.close(file)

    def log(self, line: str) -> None:
        """Adds a line to the list of what was done, for people. Nothing fails for want of it."""
        path = self.out / "batch.log"
        with suppress(OSError), path.open("a", encoding="utf-8", errors=ODD_NAMES) as file:
            file.write(f"{time.strftime('%Y-%m-%d %H:%M:%S')} {line}\n")


def _flush(path: Path) -> None:
    file = os.open(path, os.O_RDONLY)
    try:
        os.fsync(file)
    finally:
        os.close(file)


def _lock(path: Path) -> int:
    while True:
        file = os.open(path, os.O_RDWR | os.O_CREAT, 0o666)
        try:
            fcntl.flock(file, fcntl.LOCK_EX | fcntl.LOCK_NB)
            # Who had it may have taken the name away meanwhile.
            if os.fstat(file).st_ino == path.stat().st_ino:
                return file
        except (BlockingIOError, FileNotFoundError):
            pass
        except BaseException:
            os.close(file)
            raise
        os.close(file)
        time.sleep(WAIT)


def write_text(path: Path, text: str) -> None:
    """Writes a file whole or not at all."""
    file, name = tempfile.mkstemp(prefix=f".{path.name}-", dir=path.parent)
    try:
        with os.fdopen(file, "w", encoding="utf-8", errors=ODD_NAMES) as stream:
            stream.write(text)
        Path(name).chmod(0o644)
        Path(name).replace(path)
    except BaseException:
        with suppress(FileNotFoundError):
            Path(name).unlink()
        raise


def write_json(path: Path, values: dict[str, Any]) -> None:
    """The same for values."""
    write_text(path, json.dumps(values, indent=2) + "\n")


def read_json(path: Path) -> dict[str, Any]:
    """The values in a file; none where it is not there or none can be read."""
    try:
        values = json.loads(path.read_text(encoding="utf-8"))
    except (OSError, ValueError, RecursionError):
        return {}
    return values if isinstance(values, dict) else {}
