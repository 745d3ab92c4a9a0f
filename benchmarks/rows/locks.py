"""What one take of the semaphore costs, and how long others wait for it."""

from driver.rows import Goal, Row
from rows.sides import program

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
        [Goal("seconds", 0.005), Goal("longestCpu", 0.005)],
    ),
]
