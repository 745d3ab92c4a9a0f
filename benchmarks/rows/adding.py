"""Copying a local file or folder into the cache."""

import os
import shutil
import subprocess
from pathlib import Path

from driver.contestants import Absent, Command, Contestant, Speaker
from driver.rows import Goal, Place, Row
from rows.sides import MakeSide, program, python_peer
from rows.sources import MIB, beside, file_of, settle, source_of, tree_of

GIB = 1024 * MIB
DISK_SIZE = 3 * GIB

# The disk is seen by this one process and goes with it. $0 holds its image and its folder.
ON_DISK_OF_ITS_OWN = """
mount -o loop "$0/image" "$0/disk" && mkdir "$0/disk/own" && cp "$1" "$0/disk/source" || exit 1
exec "$2" "$3" "$0/disk/own"
"""


def on_sharing_disk(name: str) -> MakeSide:
    """What programs/ enters under this name, on a file system whose files can share blocks."""

    def make(place: Place) -> Contestant:
        _make_disk(place.work)
        command = ["unshare", "--mount", "sh", "-c", ON_DISK_OF_ITS_OWN, place.work]
        contestant = [place.build / "benchmarks/zel_contestants", name]
        return Speaker([*command, source_of(place), *contestant])

    return make


def _make_disk(folder: Path) -> None:
    if not shutil.which("mkfs.xfs"):
        raise Absent("no package xfsprogs")
    image, disk = folder / "image", folder / "disk"
    disk.mkdir()
    image.touch()
    os.truncate(image, DISK_SIZE)
    subprocess.run(["mkfs.xfs", "-q", "-m", "reflink=1", image], check=True)
    attempt = ["unshare", "--mount", "mount", "-o", "loop", image, disk]
    if subprocess.run(attempt, capture_output=True).returncode != 0:
        raise Absent("no file system of its own can be mounted here")


class CopiedByCp(Command):
    """cp -r and one wait for the disk. To remove thousands of files slows down for seconds how fast
    others can be made, so each round has a place of its own."""

    def __init__(self, place: Place):
        super().__init__([])
        self.place = place
        self.rounds = 0

    def prepare(self) -> None:
        self.rounds += 1
        script = 'cp -r "$0" "$1" && sync --file-system "$1"'
        target = self.place.work / str(self.rounds)
        self.command = ["sh", "-c", script, str(source_of(self.place)), str(target)]
        settle(self.place.work)


ROWS = [
    Row(
        "addfile",
        "addToCache of 1 GiB; the peers do not wait for the disk",
        beside(
            file_of(GIB),
            {
                "ours": program("addfile/ours"),
                "floor": program("addfile/floor"),
                "fsspec": python_peer("fsspec", "addfile"),
                "diskcache": python_peer("diskcache", "addfile"),
            },
        ),
        [Goal("seconds", 1.1, "floor")],
    ),
    Row(
        "reflink",
        "the same where files can share blocks",
        beside(
            file_of(GIB),
            {
                "ours": on_sharing_disk("reflink/ours"),
                "floor": on_sharing_disk("reflink/floor"),
            },
        ),
        [Goal("seconds", 0.01)],
    ),
    Row(
        "addfolder",
        "addToCache of 2,000 files, 128 MiB; the peer does not wait for the disk",
        beside(
            tree_of(20, 100, file_of(64 * 1024)),
            {
                "ours": program("addfolder/ours"),
                "floor": CopiedByCp,
                "fsspec": python_peer("fsspec", "addfolder"),
            },
        ),
        [Goal("seconds", 1.25, "floor")],
    ),
]
