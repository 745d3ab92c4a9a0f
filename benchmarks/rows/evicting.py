"""Making room."""

from pathlib import Path

from driver.contestants import Command, Contestant
from driver.rows import Goal, Place, Row
from rows.sides import node_peer, program, python_peer
from rows.sources import settle

RESOURCES = 10_000
FILE_SIZE = 4096


def removed_by_rm(place: Place) -> Contestant:
    """One half of folders side by side, all named in one call."""
    folders = [place.work / str(number) for number in range(RESOURCES)]

    def prepare() -> None:
        for folder in folders:
            _make(folder)
        settle(place.work)

    return Command(["rm", "-rf", *folders[: RESOURCES // 2]], prepare)


def _make(folder: Path) -> None:
    if not folder.exists():
        folder.mkdir()
        (folder / "run.raw").write_bytes(b"x" * FILE_SIZE)


ROWS = [
    Row(
        "evict",
        "evict 5,000 of 10,000 resources; bare: calls and statements",
        {
            "ours": program("evict/ours"),
            "quarter": program("evict/quarter"),
            "bare": program("evict/bare"),
            "floor": removed_by_rm,
            "diskcache": python_peer("diskcache", "evict"),
            "cacache": node_peer("cacache", "evict"),
        },
        [
            Goal("seconds", 1.5, "floor"),
            Goal("seconds", 1.5, "bare"),
            Goal("seconds", 2, "diskcache"),
            Goal("seconds", 0.2, "cacache"),
            Goal("seconds", 6, "quarter"),
        ],
    ),
]
