"""Counting sizes."""

from driver.contestants import Command, Contestant
from driver.rows import Goal, Place, Row
from rows.sides import program
from rows.sources import beside, hole_of, source_of, tree_of


def du_of_source(place: Place) -> Contestant:
    return Command(["du", "-sb", source_of(place)])


def du_of_ours(place: Place) -> Contestant:
    """Of the same files: they are there once ours has had its first turn."""
    return Command(["du", "-sb", place.work.parent / "ours/Cache"])


ROWS = [
    Row(
        "size",
        "size of 100,000 files",
        beside(
            tree_of(100, 1000, hole_of(4096)),
            {"ours": program("size/ours"), "floor": du_of_source},
        ),
        [Goal("seconds", 1.25, "floor")],
        rounds=11,
    ),
    Row(
        "scan",
        "scan of 10,000 unchanged resources",
        {"ours": program("scan/ours"), "floor": du_of_ours},
        [Goal("seconds", 1.5, "floor")],
        rounds=11,
    ),
]
