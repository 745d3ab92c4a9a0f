"""How long a script waits for the path of what is in the cache already."""

import subprocess

from driver.contestants import Command, Contestant
from driver.rows import Goal, Place, Row
from rows.sides import MakeSide, python_script, zelcache

STARTS = 10  # a round
REMOTE = "sample.raw"


def _quietly(command: list[str]) -> None:
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL)


def _get(place: Place) -> Contestant:
    source = place.work / REMOTE
    source.write_bytes(b"content")
    command = zelcache(place, "get", f"share:{source}")
    _quietly(command)
    return Command(command, repeat=STARTS)


def _doing_nothing(program: str) -> MakeSide:
    return lambda place: Command([place.build / "benchmarks" / program], repeat=STARTS)


def _diskcache(place: Place) -> Contestant:
    command = [*python_script(place, "diskcache", "diskcache_lookup.py"), place.work, REMOTE]
    _quietly([*command, f"{place.work}/{REMOTE}"])
    return Command(command, repeat=STARTS)


ROWS = [
    Row(
        "start",
        "process start to the path of a hit",
        {
            "ours": _get,
            "floor": _doing_nothing("zel_empty"),
            "linked": _doing_nothing("zel_linked"),
            "diskcache": _diskcache,
        },
        [Goal("seconds", 2, "floor"), Goal("seconds", 0.3, "diskcache")],
    ),
]
