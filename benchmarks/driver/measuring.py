"""Runs a row: all sides in turn, round after round, so that what else the machine does meets all."""

import shutil
import statistics
import tempfile
from dataclasses import dataclass, field, replace
from pathlib import Path

from .contestants import Absent, Contestant, Figures
from .rows import Place, Row


@dataclass
class Outcome:
    row: Row
    medians: dict[str, Figures] = field(default_factory=dict)  # by side
    absent: dict[str, str] = field(default_factory=dict)  # side: why

    def ratios(self) -> dict[str, float]:
        """How much longer ours takes than each other side."""
        ours = self.medians.get("ours")
        others = {side: figures for side, figures in self.medians.items() if side != "ours"}
        if ours is None:
            return {}
        return {side: ours["seconds"] / figures["seconds"] for side, figures in others.items()}


def measure(row: Row, place: Place, rounds: int) -> Outcome:
    outcome = Outcome(row)
    work = Path(tempfile.mkdtemp(prefix=f"{row.name}-", dir=place.work))
    sides = _enter(row, replace(place, work=work), outcome)
    try:
        figures = _play(sides, max(rounds, row.rounds))
    finally:
        for side in sides.values():
            side.close()
        shutil.rmtree(work, ignore_errors=True)
    outcome.medians = {name: _medians(rounds) for name, rounds in figures.items()}
    return outcome


def _enter(row: Row, place: Place, outcome: Outcome) -> dict[str, Contestant]:
    sides = {}
    for name, make in row.sides.items():
        own = place.work / name
        own.mkdir()
        try:
            sides[name] = make(replace(place, work=own))
        except Absent as why:
            outcome.absent[name] = str(why)
    return sides


def _play(sides: dict[str, Contestant], rounds: int) -> dict[str, list[Figures]]:
    """The first round warms up and counts for nothing. Each round begins with another side."""
    names = list(sides)
    figures: dict[str, list[Figures]] = {name: [] for name in names}
    for number in range(rounds + 1 if sides else 0):
        first = number % len(names)
        for name in names[first:] + names[:first]:
            sides[name].prepare()
            result = sides[name].round()
            if number > 0:
                figures[name].append(result)
    return figures


def _medians(rounds: list[Figures]) -> Figures:
    return {name: statistics.median(one[name] for one in rounds) for name in rounds[0]}
