"""The rows of the table, in its order. A module a subject."""

from driver.rows import Row

from . import (
    adding,
    bookkeeping,
    counting,
    evicting,
    examining,
    listing,
    locks,
    starting,
    transfers,
)

SUBJECTS = [locks, bookkeeping, adding, counting, evicting, starting, transfers, listing, examining]


def all_rows() -> list[Row]:
    return [row for subject in SUBJECTS for row in subject.ROWS]
