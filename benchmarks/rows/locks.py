"""What one take of the semaphore costs, and how long others wait for it."""

from driver.rows import Goal, Row
from rows.sides import program

UNNOTICED = [Goal("seconds", 0.005), Goal("longestCpu", 0.005)]


def _holds(kind: str, work: str, *others: str) -> Row:
    name = f"hold{kind}"
    sides = {side: program(f"{name}/{side}") for side in ("ours", *others)}
    return Row(name, f"longest hold: {work}", sides, UNNOTICED)


ROWS = [
    Row(
        "lock",
        "take and give back the scoped locker",
        {"ours": program("lock/ours"), "floor": program("lock/floor")},
        [Goal("seconds", 4, "floor")],
    ),
    Row(
        "hold",
        "longest hold of the semaphore in normal work",
        {"ours": program("hold/ours"), "floor": program("hold/floor")},
        UNNOTICED,
    ),
    _holds("Open", "first and later openings", "floor"),
    _holds("Bury", "an opening that takes out what a killed program has left"),
    _holds("Folder", "the fetch of a folder of 500 files"),
    _holds("Six", "120 fetches, six at once", "floor"),
]
