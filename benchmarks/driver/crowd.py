"""Several programs at once that want one thing."""

import selectors
import statistics
import subprocess
import time
from collections.abc import Callable
from dataclasses import dataclass, field

from .contestants import Contestant, Figures


@dataclass
class Answers:
    """When each process of a crowd gave its answer, by its id, in seconds since the first start."""

    start: float = field(default_factory=time.perf_counter)
    at: dict[int, float] = field(default_factory=dict)

    def note(self, process: int) -> None:
        self.at[process] = time.perf_counter() - self.start

    def waits_behind(self, worker: int | None) -> list[float]:
        first = worker if worker in self.at else min(self.at, key=self.at.__getitem__)
        return [time - self.at[first] for process, time in self.at.items() if process != first]


class Crowd(Contestant):
    """Starts the command so many times at once, and waits until each has answered: has written
    something, or ended. Does so `repeat` times a round.

    Whoever waits for another one by looking at fixed times is late by chance. So that all chances
    are met alike, those behind the first one start a little later at each repetition: by a part of
    `period`, the time between two looks.
    """

    def __init__(self, command: list[str], processes: int, repeat: int, period: float = 0.1):
        self.command = command
        self.processes = processes
        self.delays = [period * number / repeat for number in range(repeat)]
        self.before: Callable[[], None] = lambda: None
        # Asked while they run: the process that works for all. Without it, who answers first.
        self.worker: Callable[[], int | None] = lambda: None

    def round(self) -> Figures:
        seconds: list[float] = []
        waits: list[float] = []
        for delay in self.delays:
            self.before()
            answers, worker = self._play(delay)
            seconds.append(max(answers.at.values()))
            waits += answers.waits_behind(worker)
        figures = {"seconds": statistics.median(seconds)}
        return figures | ({"wait": statistics.median(waits)} if waits else {})

    def _play(self, delay: float) -> tuple[Answers, int | None]:
        answers = Answers()
        processes = [self._start()]
        time.sleep(delay)
        processes += [self._start() for _ in range(self.processes - 1)]
        worker = self._listen(processes, answers)
        for process in processes:
            process.communicate()
            if process.returncode != 0:
                raise RuntimeError(f"{' '.join(self.command)} ended with {process.returncode}")
        return answers, worker

    def _listen(self, processes: list[subprocess.Popen], answers: Answers) -> int | None:
        worker = None
        with selectors.DefaultSelector() as silent:
            for process in processes:
                silent.register(process.stdout, selectors.EVENT_READ, process.pid)
            while silent.get_map():
                for key, _ in silent.select(None if worker else 0.02):
                    answers.note(key.data)
                    silent.unregister(key.fileobj)
                worker = worker or self.worker()
        return worker

    def _start(self) -> subprocess.Popen:
        return subprocess.Popen(
            self.command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, bufsize=0
        )
