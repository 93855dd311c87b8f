"""Where the tasks run: a cluster of this machine's own, or any scheduler of Dask."""

from __future__ import annotations

import asyncio
import concurrent.futures
import os
import time
from collections.abc import Callable, Collection, Iterator
from contextlib import contextmanager
from dataclasses import dataclass, field
from typing import TYPE_CHECKING, Any

from .._core import VERSION
from .._errors import InputError, OperationError
from ._tasks import version

if TYPE_CHECKING:
    from distributed import Client, Future

MEMORY = "MEMORY"
"""The name under which workers declare their memory, and tasks what they take of it: bytes."""
MemoryLike = int | str | None
FIRST_WORKER = 60  # seconds to wait for one
AS_OLD = 1.0  # seconds for which it is known which workers there are
Tell = Callable[[str], Any]


@dataclass
class Scheduler:
    """A scheduler that can be reached."""

    client: Client
    is_local: bool
    threads: int
    """For each task."""
    memory: int
    """Of the worker that has most; 0 where one does not declare it."""

    _workers: dict[str, Any] = field(default_factory=dict)
    _asked: float = -AS_OLD

    def workers(self, *, now: bool = False) -> dict[str, Any]:
        """Those that are there, or were a second ago, by their address."""
        if now or time.monotonic() - self._asked >= AS_OLD:
            try:
                self._workers = self.client.scheduler_info(n_workers=-1)["workers"]
            except (OSError, ValueError) as error:
                raise lost() from error
            self._asked = time.monotonic()
        return self._workers

    def resources(self, need: int) -> dict[str, float]:
        """What a task declares. One that needs more than any worker has gets one for itself."""
        return {MEMORY: min(need, self.memory)} if self.memory else {}

    @contextmanager
    def cancelling(self, running: Collection[Future[Any]]) -> Iterator[None]:
        """Leaves no task to the scheduler that nobody waits for."""
        try:
            yield
        except BaseException:
            if self.client.status == "running":
                self.client.cancel(list(running))
            raise

    @contextmanager
    def telling_of_loss(self) -> Iterator[None]:
        """Each call of a scheduler that goes away meanwhile has an error of its own for it."""
        from distributed.comm.core import CommClosedError

        try:
            yield
        except (
            CommClosedError,
            asyncio.CancelledError,
            concurrent.futures.CancelledError,
        ) as error:
            raise lost() from error
        except Exception as error:
            if self.client.status == "running":
                raise
            raise lost() from error


def lost() -> OperationError:
    """What ends a batch."""
    return OperationError(
        "the scheduler was lost; what is made stays, and a batch that is started again goes on"
    )


def need_dask() -> None:
    """Tells where it is not installed."""
    try:
        import distributed  # noqa: F401
    except ImportError as error:
        raise ImportError(
            "many scans run on Dask, which is not installed: pip install 'distributed>=2026.8'"
        ) from error


@contextmanager
def connected(
    address: str | None, workers: int | None, memory_limit: MemoryLike, tell: Tell
) -> Iterator[Scheduler]:
    """A scheduler, for the time of a batch."""
    with _own(workers, memory_limit) if address is None else _other(address, tell) as scheduler:
        yield scheduler


@contextmanager
def _own(workers: int | None, memory_limit: MemoryLike) -> Iterator[Scheduler]:
    from distributed import Client, LocalCluster
    from distributed.system import MEMORY_LIMIT

    cores = len(os.sched_getaffinity(0))
    count = cores if workers is None else workers
    if count < 1:
        raise InputError("workers: has to be 1 or more")
    memory = _bytes(memory_limit) if memory_limit is not None else MEMORY_LIMIT // count
    with (
        LocalCluster(
            n_workers=count,
            threads_per_worker=1,
            processes=True,
            memory_limit=memory,
            resources={MEMORY: memory},
            dashboard_address="127.0.0.1:0",
            silence_logs=50,  # the reasons are told by the batch
        ) as cluster,
        Client(cluster, set_as_default=False) as client,
    ):
        yield Scheduler(client, True, max(1, cores // count), memory)


@contextmanager
def _other(address: str, tell: Tell) -> Iterator[Scheduler]:
    from distributed import Client

    try:
        client = Client(address, timeout=20, set_as_default=False)
    except (OSError, ValueError) as error:
        raise OperationError(f"{address}: the scheduler cannot be reached: {error}") from error
    with client:
        try:
            client.wait_for_workers(1, timeout=FIRST_WORKER)
        except TimeoutError as error:
            raise OperationError(f"{address}: the scheduler has no worker") from error
        _check_versions(client, address)
        # A thread of a worker stands for a core.
        scheduler = Scheduler(client, False, 1, 0)
        declared = [worker["resources"].get(MEMORY) for worker in scheduler.workers().values()]
        if all(declared):
            scheduler.memory = int(max(declared))
        else:
            tell(
                f"{address}: not all workers declare their memory (--resources {MEMORY}=BYTES), so "
                "tasks are not held back for want of it"
            )
        yield scheduler


def _check_versions(client: Client, address: str) -> None:
    for worker, found in client.run(version, on_error="return").items():
        if isinstance(found, BaseException):
            raise OperationError(f"{address}: the worker {worker} has no algorithmveld: {found}")
        if found != VERSION:
            raise OperationError(
                f"{address}: the worker {worker} has algorithmveld {found}, and here is {VERSION}"
            )


def _bytes(text: int | str) -> int:
    from dask.utils import parse_bytes

    try:
        count = int(parse_bytes(text))
    except ValueError as error:
        raise InputError(f"memory_limit: '{text}' is no number of bytes, as 4GB is") from error
    if count < 1:
        raise InputError("memory_limit: has to be more than 0")
    return count
