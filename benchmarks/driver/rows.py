"""What a row of the table is: sides that do the same, and what is expected of the first of them."""

from collections.abc import Callable
from dataclasses import dataclass, field
from pathlib import Path

from .contestants import Contestant


@dataclass(frozen=True)
class Place:
    """Where things are."""

    build: Path  # a release build of the project
    root: Path  # the project itself
    work: Path  # an empty directory, made for one row


@dataclass(frozen=True)
class Goal:
    """`figure` of ours divided by that of `side` is to be at most (or at least) `bound`. Without a
    side the figure itself is meant."""

    figure: str
    bound: float
    side: str = ""
    at_least: bool = False

    def measured(self, medians: dict[str, dict[str, float]]) -> float | None:
        """None if a side is absent."""
        if "ours" not in medians:
            return None
        ours = medians["ours"][self.figure]
        if not self.side:
            return ours
        return ours / medians[self.side][self.figure] if self.side in medians else None

    def is_met(self, value: float) -> bool:
        return value >= self.bound if self.at_least else value <= self.bound

    def __str__(self) -> str:
        against = f" x {self.side}" if self.side else ""
        return f"{self.figure} {'>=' if self.at_least else '<='} {self.bound:g}{against}"


@dataclass(frozen=True)
class Row:
    name: str  # a word, for the command line
    title: str
    sides: dict[str, Callable[[Place], Contestant]]  # "ours" first; each makes its contestant
    goals: list[Goal] = field(default_factory=list)
    rounds: int = 5  # at least
