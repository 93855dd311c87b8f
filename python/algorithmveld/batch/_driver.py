"""How work is given to the scheduler, and what becomes of it where workers fail."""

from __future__ import annotations

import math
import time
from abc import ABC, abstractmethod
from collections import deque
from collections.abc import Iterable
from dataclasses import dataclass, replace
from typing import TYPE_CHECKING, Any, Generic, Protocol, TypeVar

from ._scheduler import Scheduler, Tell, lost

if TYPE_CHECKING:
    from distributed import Future

PAUSE = 0.05  # seconds between two looks at what is done
RESTART = 20.0  # seconds that a worker that died may take to come again
# What a step takes, by measuring: a part that is always taken, and so much for each byte of the
# input.
LEAST_MEMORY = 200_000_000
SCAN_FACTOR = 25


class Outcome(Protocol):
    """What a task gives, also where it failed."""

    @property
    def may_do_elsewhere(self) -> bool:
        """Whether it failed, and another worker may do better."""

    @property
    def worker(self) -> str:
        """The address of the worker on which it failed."""


Work = TypeVar("Work")
Given = TypeVar("Given", bound=Outcome)


@dataclass(frozen=True)
class Attempt(Generic[Work]):
    """A piece of work, and how it is tried."""

    work: Work
    without: str = ""
    """The worker on which it failed."""
    allowed: frozenset[str] = frozenset()
    """Then the workers that were there beside it, for as long as one of them is."""
    was_lost: bool = False
    """Whether it was lost together with its worker, and now runs alone."""


class Driver(ABC, Generic[Work, Given]):
    """Gives work to the scheduler, and what fails once to another worker."""

    def __init__(self, scheduler: Scheduler, say: Tell) -> None:
        self._scheduler = scheduler
        self._say = say
        self._lost: list[Attempt[Work]] = []
        self._stranded_since = math.inf

    @abstractmethod
    def _submit(self, work: Work, options: dict[str, Any]) -> Future[Any]:
        """Gives one piece of work to the scheduler. `options` go with each of its tasks."""

    @abstractmethod
    def _note(self, given: Given, work: Work) -> None:
        """Takes what came of it."""

    @abstractmethod
    def _note_failure(self, reason: str, work: Work) -> None:
        """Takes that nothing came of it."""

    @abstractmethod
    def _name(self, work: Work, task: str) -> str:
        """What people call a task."""

    def _window(self) -> float:
        """How many pieces of work the scheduler knows of at a time."""
        return math.inf

    def _do_all(self, works: Iterable[Work]) -> None:
        self._run(deque(Attempt(work) for work in works), None)
        # What takes its worker down takes others with it: alone, each tells for itself.
        lost, self._lost = self._lost, []
        self._run(deque(replace(attempt, was_lost=True) for attempt in lost), 1)

    def _run(self, waiting: deque[Attempt[Work]], most: int | None) -> None:
        from distributed import as_completed

        running: dict[Future[Any], Attempt[Work]] = {}
        completed = as_completed(loop=self._scheduler.client.loop)
        with self._scheduler.cancelling(running), self._scheduler.telling_of_loss():
            while waiting or running:
                while waiting and len(running) < (most or self._window()):
                    attempt = self._placed(waiting.popleft())
                    places = {"workers": sorted(attempt.allowed)} if attempt.allowed else {}
                    future = self._submit(attempt.work, places)
                    running[future] = attempt
                    completed.add(future)
                if completed.has_ready():
                    future = next(completed)
                    if future in running:  # and was not taken back
                        waiting.extendleft(self._take(future, running.pop(future)))
                elif not self._take_back(running, waiting):
                    time.sleep(PAUSE)

    def _placed(self, attempt: Attempt[Work]) -> Attempt[Work]:
        if not attempt.without:
            return attempt
        there = frozenset(self._scheduler.workers(now=True))
        return replace(attempt, allowed=there - {attempt.without})

    def _take_back(
        self, running: dict[Future[Any], Attempt[Work]], waiting: deque[Attempt[Work]]
    ) -> bool:
        """Takes back what waits for workers that are no more. The scheduler would wait for ever."""
        there = self._scheduler.workers()  # also tells where the scheduler is lost
        stranded = [
            future
            for future, attempt in running.items()
            if attempt.allowed and not attempt.allowed & there.keys()
        ]
        if not stranded:
            self._stranded_since = math.inf
            return False
        self._stranded_since = min(self._stranded_since, time.monotonic())
        if len(there) < 2 and time.monotonic() - self._stranded_since < RESTART:
            return False
        for future in stranded:
            waiting.appendleft(running.pop(future))
            future.cancel()
        return True

    def _take(self, future: Future[Any], attempt: Attempt[Work]) -> list[Attempt[Work]]:
        """Notes what came of an attempt, or gives how it is to be tried again."""
        from distributed import KilledWorker

        if future.status in ("cancelled", "lost"):
            raise lost()
        error = future.exception()
        if error is None:
            return self._judge(future.result(), attempt)
        if not isinstance(error, KilledWorker):
            self._note_failure(f"{type(error).__name__}: {error}", attempt.work)
        elif attempt.was_lost:
            name = self._name(attempt.work, str(error.task))
            reason = f"{name}: its worker was lost each time; it may need more memory"
            self._note_failure(reason, attempt.work)
        else:
            self._lost.append(attempt)
        return []

    def _judge(self, given: Given, attempt: Attempt[Work]) -> list[Attempt[Work]]:
        if given.may_do_elsewhere and not attempt.without:
            others = self._scheduler.workers(now=True).keys() - {given.worker}
            if others:
                return [replace(attempt, without=given.worker)]
        self._note(given, attempt.work)
        return []
