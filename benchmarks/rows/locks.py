"""What one take of the semaphore costs."""

from driver.rows import Goal, Row
from rows.sides import program

ROWS = [
    Row(
        "lock",
        "take and give back the scoped locker",
        {"ours": program("lock/ours"), "floor": program("lock/floor")},
        [Goal("seconds", 4, "floor")],
    ),
]
