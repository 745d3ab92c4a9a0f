"""Looking at a cache of 100,000 resources."""

import sqlite3
import subprocess

from driver.contestants import Command, Contestant
from driver.rows import Goal, Place, Row
from rows.sides import MakeSide, python_script, zelcache

RESOURCES = 100_000
ONE = "https://data.example.org/runs/sample-77777.raw"
FILL = """
    WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < ?)
    INSERT INTO CachedResources (reference, cachedPath, fileSize, status, cleanupPolicy,
                                 lastAccessDateTime, lastStatusUpdateClientId, version)
    SELECT 'https://data.example.org/runs/sample-' || i || '.raw',
           ? || '/Cache/http/' || i || '/sample-' || i || '.raw', i, 'Ready', 'OnDemand', i, 1, '1'
    FROM n
"""
BARE_LIST = "SELECT id, reference, status, fileSize, lastAccessDateTime FROM CachedResources"
BARE_STATUS = "SELECT currentSize FROM CacheMetadata; SELECT COUNT(*) FROM CachedResources"


def _fill(place: Place) -> None:
    """A cache that the program made, with rows that no file stands behind."""
    source = place.work / "one.raw"
    source.write_bytes(b"content")
    first = zelcache(place, "get", f"share:{source}")
    subprocess.run(first, check=True, stdout=subprocess.DEVNULL)
    cache = place.work / "cache"
    database = sqlite3.connect(cache / "ResourceCache.db")
    database.execute(FILL, (RESOURCES, str(cache)))
    database.commit()
    database.close()


def _ours(*arguments: str) -> MakeSide:
    def make(place: Place) -> Contestant:
        _fill(place)
        return Command(zelcache(place, *arguments))

    return make


def _bare(statements: str) -> MakeSide:
    def make(place: Place) -> Contestant:
        _fill(place)
        database = place.work / "cache/ResourceCache.db"
        return Command(["sqlite3", "-readonly", database, statements])

    return make


def _diskcache(place: Place) -> Contestant:
    command = [*python_script(place, "diskcache", "diskcache_list.py"), place.work]
    subprocess.run([*command, str(RESOURCES)], check=True)
    return Command(command)


def _look(name: str, *arguments: str) -> Row:
    command = " ".join(arguments).replace(ONE, "REF")
    label = f"zelcache {command}, 100,000 resources"
    return Row(name, label, {"ours": _ours(*arguments)}, [PROMPT])


PROMPT = Goal("seconds", 0.2)
LIMITS = [PROMPT, Goal("peak", 64)]
ROWS = [
    Row(
        "list",
        "zelcache list of 100,000 resources",
        {"ours": _ours("list"), "floor": _bare(BARE_LIST), "diskcache": _diskcache},
        LIMITS,
    ),
    Row(
        "status",
        "zelcache status with 100,000 resources",
        {"ours": _ours("status"), "floor": _bare(BARE_STATUS)},
        LIMITS,
    ),
    _look("listJson", "list", "--json"),
    _look("who", "who", ONE),
    _look("why", "why"),
    _look("whyOne", "why", ONE),
    _look("policy", "policy", ONE),
    _look("purgePlan", "purge", "--dry-run", "--to", "0"),
    _look("outdatedPlan", "outdated", "--dry-run"),
    _look("fetchPlan", "get", "--plan", ONE),
]
