"""What sides copy and count: made once, beside their own directories."""

import os
import subprocess
from collections.abc import Callable
from pathlib import Path

from driver.contestants import Contestant
from driver.rows import Place
from rows.sides import MakeSide

MIB = 1 << 20
MakeSource = Callable[[Path], None]


def source_of(place: Place) -> Path:
    return place.work.parent / "source"


def beside(make_source: MakeSource, sides: dict[str, MakeSide]) -> dict[str, MakeSide]:
    """The sides, which find a source beside their directories."""

    def with_source(make_side: MakeSide) -> MakeSide:
        def make(place: Place) -> Contestant:
            if not source_of(place).exists():
                make_source(source_of(place))
            return make_side(place)

        return make

    return {name: with_source(side) for name, side in sides.items()}


def file_of(size: int) -> MakeSource:
    """A file that nothing can make smaller."""

    def make(path: Path) -> None:
        piece = os.urandom(min(size, MIB))
        with path.open("wb") as file:
            for _ in range(size // len(piece)):
                file.write(piece)

    return make


def tree_of(folders: int, files: int, make_file: MakeSource) -> MakeSource:
    """Folders side by side with so many files each."""

    def make(path: Path) -> None:
        for folder in range(folders):
            (path / str(folder)).mkdir(parents=True)
            for number in range(files):
                make_file(path / str(folder) / f"{number}.dat")

    return make


def hole_of(size: int) -> MakeSource:
    """A file that has a size and takes no room."""

    def make(path: Path) -> None:
        path.touch()
        os.truncate(path, size)

    return make


def settle(path: Path) -> None:
    """What one side leaves to be written later must not be at the cost of the next."""
    subprocess.run(["sync", "--file-system", path], check=True)
