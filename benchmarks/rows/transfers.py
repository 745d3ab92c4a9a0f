"""Fetching from a server: by one program, and by several that want the same."""

import hashlib
import shutil
import sqlite3
from collections.abc import Callable
from contextlib import closing
from pathlib import Path

from driver.contestants import Command, Contestant, Figures
from driver.crowd import Crowd
from driver.origin import Origin, Pace
from driver.rows import Goal, Place, Row
from rows.sides import MakeSide, python_script, zelcache

BIG = "big.raw"
BIG_BYTES = 1 << 30
SHARED = "shared.raw"
SHARED_BYTES = 4 << 20
PIECES = 4  # of the shared file, each followed by a pause of the server
PAUSE = 0.1  # seconds: long enough that all wait for the one that fetches
FEW = 4  # fetches a round, where nobody waits
FETCHER = """
    SELECT processId FROM AcquiringTasks JOIN Clients ON Clients.id = clientId
    WHERE progress IS NOT NULL
"""


def _served(place: Place, name: str, size: int) -> Path:
    """The folder that the servers of all sides of the row serve, with the file in it. Its bytes are
    like no others, so that no file system saves any of them."""
    root = place.work.parent / "served"
    root.mkdir(exist_ok=True)
    if not (root / name).exists():
        with open("/dev/urandom", "rb") as source, open(root / name, "wb") as file:
            for _ in range(0, size, 1 << 20):
                file.write(source.read(1 << 20))
    return root


def _sum_of(file: Path) -> str:
    with file.open("rb") as opened:
        return hashlib.file_digest(opened, "sha256").hexdigest()


class Served(Contestant):
    """Another contestant, with the server that it needs. What it fetches does not stay."""

    def __init__(self, inner: Contestant, origin: Origin, copy: Path):
        self.inner = inner
        self.origin = origin
        self.copy = copy

    def round(self) -> Figures:
        figures = self.inner.round()
        shutil.rmtree(self.copy)
        return figures

    def close(self) -> None:
        self.origin.stop()


class Counted(Served):
    """Tells how often the origin has sent the whole."""

    def __init__(self, inner: Crowd, origin: Origin, copy: Path):
        super().__init__(inner, origin, copy)
        self.times = len(inner.delays)

    def round(self) -> Figures:
        before = self.origin.settled_bytes_sent()
        figures = self.inner.round()
        sent = self.origin.settled_bytes_sent() - before
        return figures | {"origin": sent / SHARED_BYTES / self.times}


MakeCommand = Callable[[Place, str], list[str]]  # of an address; the copy comes to _copy_of()


def _copy_of(place: Place) -> Path:
    return place.work / "cache"


def _get(place: Place, url: str) -> list[str]:
    return zelcache(place, "get", url)


def _curl(place: Place, url: str) -> list[str]:
    return ["curl", "-s", "-f", "--create-dirs", "-o", f"{_copy_of(place)}/file", url]


def _curl_and_sync(place: Place, url: str) -> list[str]:
    """The copy is to outlive a loss of power, as ours does."""
    sync = f'"$@" && sync "{_copy_of(place)}/file"'
    return ["sh", "-c", sync, "sh", *_curl(place, url)]


def _pooch(place: Place, url: str) -> list[str]:
    return [*python_script(place, "pooch", "pooch_fetch.py"), str(_copy_of(place)), url]


def _download(make_command: MakeCommand, with_sum: bool = False) -> MakeSide:
    def make(place: Place) -> Contestant:
        make_command(place, "")  # what is absent says so before anything is started for it
        root = _served(place, BIG, BIG_BYTES)
        end = f"#sha256={_sum_of(root / BIG)}" if with_sum else ""
        origin = Origin(place.work / "origin", root)
        command = make_command(place, origin.url(BIG) + end)
        return Served(Command(command), origin, _copy_of(place))

    return make


def _fetching_process(place: Place) -> int | None:
    """Of the cache's own records; None until somebody fetches."""
    database = f"file:{_copy_of(place)}/ResourceCache.db?mode=ro"
    try:
        with closing(sqlite3.connect(database, uri=True, timeout=0.01)) as connection:
            row = connection.execute(FETCHER).fetchone()
    except sqlite3.OperationalError:
        return None  # it is not made yet
    return row[0] if row else None


def _crowd(
    make_command: MakeCommand,
    processes: int,
    repeat: int,
    fetcher: Callable[[Place], int | None] | None = None,
) -> MakeSide:
    def make(place: Place) -> Contestant:
        make_command(place, "")
        root = _served(place, SHARED, SHARED_BYTES)
        origin = Origin(place.work / "origin", root, Pace(SHARED_BYTES // PIECES, PAUSE))
        command = make_command(place, origin.url(SHARED))
        crowd = Crowd(command, processes, repeat)
        crowd.before = lambda: shutil.rmtree(_copy_of(place), ignore_errors=True)
        if fetcher:
            crowd.worker = lambda: fetcher(place)
        return Counted(crowd, origin, _copy_of(place))

    return make


def _sharing(processes: int, repeat: int) -> Row:
    """How late those are who wait is chance: ours does so many fetches a round that the median of
    that stays where it is."""
    return Row(
        f"share{processes}",
        f"{processes} processes, one missing resource",
        {
            "ours": _crowd(_get, processes, repeat, _fetching_process),
            "floor": _crowd(_curl, 1, FEW),
            "pooch": _crowd(_pooch, processes, FEW),
        },
        [Goal("origin", 1), Goal("wait", 0.06)],
    )


ROWS = [
    _sharing(2, repeat=24),
    _sharing(8, repeat=8),
    Row(
        "http",
        "http: 1 GiB on loopback",
        {
            "ours": _download(_get),
            "curl": _download(_curl),
            "curl+sync": _download(_curl_and_sync),
            "pooch": _download(_pooch),
        },
        [
            Goal("seconds", 1, "curl"),
            Goal("seconds", 1, "curl+sync"),
            Goal("cpu", 1.2, "curl"),
            Goal("peak", 48),
        ],
    ),
    Row(
        "httpSum",
        "http: 1 GiB on loopback with #sha256",
        {
            "ours": _download(_get, with_sum=True),
            "plain": _download(_get),
        },
        [Goal("seconds", 1.3, "plain"), Goal("peak", 48)],
    ),
]
