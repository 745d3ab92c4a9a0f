"""Examining a cache: what verify compares before it reads data, and what doctor looks at."""

import os
import signal
import subprocess
from collections.abc import Callable
from pathlib import Path

from driver.contestants import Command, Contestant
from driver.rows import Goal, Place, Row
from rows.sides import MakeSide, zelcache
from rows.sources import MIB, hole_of

RESOURCES = 10_000
FOLDERS, FOLDERS_IN_EACH, FILES_IN_EACH = 10, 100, 100
FILE_SIZE = 1000
BIG_FILE = 256 * MIB

MakeResources = Callable[[Path], list[Path]]
FIND_AND_CAT = """
    find "$0/Cache" -printf '%s\\n' && find "$0/Manifests" -name '*.json' -exec cat {} +
"""


def single_files(source: Path) -> list[Path]:
    return [_file(source / str(number // 100) / f"run-{number}.raw") for number in range(RESOURCES)]


def folders(source: Path) -> list[Path]:
    for folder in range(FOLDERS * FOLDERS_IN_EACH):
        for number in range(FILES_IN_EACH):
            _file(source / str(folder // FOLDERS_IN_EACH) / str(folder) / f"{number}.bin")
    return [source / str(number) for number in range(FOLDERS)]


def _file(path: Path) -> Path:
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_bytes(b"x" * FILE_SIZE)
    return path


class Comparison(Command):
    """verify up to the first byte that it reads of any data, interrupted there. The first resource
    is big enough that the interruption comes before its end."""

    def _run(self):
        program = subprocess.Popen(
            self.command,
            stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL,
            stderr=subprocess.PIPE,
            env=self.environment,
            text=True,
        )
        reads = any("Reading" in line for line in program.stderr)
        program.terminate()
        program.stderr.read()
        _, status, usage = os.wait4(program.pid, 0)
        program.returncode = os.waitstatus_to_exitcode(status)
        if not reads or program.returncode != 128 + signal.SIGTERM:
            raise RuntimeError(f"{' '.join(self.command)} ended with {program.returncode}")
        return usage


def _fill(place: Place, make_resources: MakeResources) -> None:
    source = place.work / "source"
    source.mkdir()
    hole_of(BIG_FILE)(source / "big.raw")
    listing = place.work / "list"
    for resources in ([source / "big.raw"], make_resources(source)):
        listing.write_text("".join(f"share:{path}\n" for path in resources))
        command = zelcache(place, "get", "-f", listing)
        subprocess.run(command, check=True, stdout=subprocess.DEVNULL)


def _ours(make_resources: MakeResources, make: Callable[[list[str]], Command], *command: str):
    def make_side(place: Place) -> Contestant:
        _fill(place, make_resources)
        return make(zelcache(place, *command))

    return make_side


def _cache_of_ours(place: Place) -> Path:
    return place.work.parent / "ours/cache"


def _find(place: Place) -> Contestant:
    return Command(["find", _cache_of_ours(place) / "Cache", "-printf", "%s\\n"])


def _find_and_cat(place: Place) -> Contestant:
    return Command(["sh", "-c", FIND_AND_CAT, _cache_of_ours(place)])


def _row(name: str, title: str, ours: MakeSide) -> Row:
    """Of the same cache; cat reads all manifests after what find does."""
    sides = {"ours": ours, "find": _find, "cat": _find_and_cat}
    return Row(name, title, sides, [Goal("seconds", 2, "find")], rounds=11)


ROWS = [
    _row(
        "verify",
        "what verify compares, 10,000 resources of one file",
        _ours(single_files, Comparison, "verify", "-v"),
    ),
    _row(
        "verifyFolders",
        "the same, 100,000 files of 10 resources",
        _ours(folders, Comparison, "verify", "-v"),
    ),
    _row(
        "doctor",
        "doctor, 10,000 resources of one file",
        _ours(single_files, Command, "doctor"),
    ),
    _row(
        "doctorFolders",
        "the same, 100,000 files of 10 resources",
        _ours(folders, Command, "doctor"),
    ),
]
