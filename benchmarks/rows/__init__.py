"""The rows of the table, in its order. A module a subject."""

from driver.rows import Row

from . import locks

SUBJECTS = [locks]


def all_rows() -> list[Row]:
    return [row for subject in SUBJECTS for row in subject.ROWS]
