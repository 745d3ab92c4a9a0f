"""The sides of a row, as the driver sees them: prepare() and round(), which gives figures."""

import json
import os
import subprocess
import time
from abc import ABC, abstractmethod
from collections.abc import Callable
from pathlib import Path

Figures = dict[str, float]


class Absent(Exception):
    """What the side needs is not on this machine; the text says what."""


class Contestant(ABC):
    def prepare(self) -> None:
        """Makes what the next round needs. Not measured."""

    @abstractmethod
    def round(self) -> Figures:
        """Does the operation once and tells what it took."""

    def close(self) -> None:
        """Ends what it has started."""


class Speaker(Contestant):
    """A program that stays alive and obeys lines: see programs/Protocol.h. Several at once do
    their rounds together, and their rates add up."""

    def __init__(self, command: list[str | Path], processes: int = 1):
        self.programs = [
            subprocess.Popen(
                list(map(str, command)), stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True
            )
            for _ in range(processes)
        ]

    def prepare(self) -> None:
        for program in self.programs:
            self._tell(program, "prepare")
            self._hear(program)

    def round(self) -> Figures:
        for program in self.programs:
            self._tell(program, "round")
        return together([self._hear(program) for program in self.programs])

    def close(self) -> None:
        for program in self.programs:
            program.stdin.close()
            program.wait()

    @staticmethod
    def _tell(program: subprocess.Popen, line: str) -> None:
        program.stdin.write(line + "\n")
        program.stdin.flush()

    @staticmethod
    def _hear(program: subprocess.Popen) -> Figures:
        answer = program.stdout.readline()
        if not answer:
            raise RuntimeError(f"{' '.join(program.args)} ended with {program.wait()}")
        return json.loads(answer)


def together(parts: list[Figures]) -> Figures:
    """The figures of processes that ran at once: their common rate, and how evenly they ran."""
    if len(parts) == 1:
        return parts[0]
    rates = [1 / part["seconds"] for part in parts]
    figures = {name: sum(part[name] for part in parts) for name in parts[0]}
    figures["seconds"] = 1 / sum(rates)
    figures["rate"] = sum(rates)
    figures["evenness"] = min(rates) / max(rates)
    return figures


class Command(Contestant):
    """A program that is started for each round, and measured from its start to its end."""

    def __init__(
        self,
        command: list[str | Path],
        before: Callable[[], None] = lambda: None,
        environment: dict[str, str] | None = None,
        repeat: int = 1,
    ):
        self.command = list(map(str, command))
        self.before = before
        self.environment = os.environ | (environment or {})
        self.repeat = repeat

    def prepare(self) -> None:
        self.before()

    def round(self) -> Figures:
        start = time.perf_counter()
        usages = [self._run() for _ in range(self.repeat)]
        seconds = time.perf_counter() - start
        return {
            "seconds": seconds / self.repeat,
            "cpu": sum(usage.ru_utime + usage.ru_stime for usage in usages) / self.repeat,
            "peak": max(usage.ru_maxrss for usage in usages) / 1024,  # MiB
        }

    def _run(self):
        null = os.open(os.devnull, os.O_RDWR)
        streams = [(os.POSIX_SPAWN_DUP2, null, 0), (os.POSIX_SPAWN_DUP2, null, 1)]
        child = os.posix_spawnp(
            self.command[0], self.command, self.environment, file_actions=streams
        )
        os.close(null)
        _, status, usage = os.wait4(child, 0)
        if status != 0:
            code = os.waitstatus_to_exitcode(status)
            raise RuntimeError(f"{' '.join(self.command)} ended with {code}")
        return usage
