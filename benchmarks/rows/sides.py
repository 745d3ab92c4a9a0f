"""How rows name their sides: the project's own programs, and peers in other languages."""

import shutil
from collections.abc import Callable
from pathlib import Path

from driver.contestants import Absent, Contestant, Speaker
from driver.rows import Place

MakeSide = Callable[[Place], Contestant]
# Debian's own: its packages are not seen by another Python that comes first in the path.
PYTHON = "/usr/bin/python3"


def program(name: str, processes: int = 1) -> MakeSide:
    """What programs/ enters under this name, in so many processes at once."""

    def make(place: Place) -> Contestant:
        return Speaker([place.build / "benchmarks/zel_contestants", name, place.work], processes)

    return make


def python_peer(package: str, name: str, processes: int = 1) -> MakeSide:
    """What peers/PACKAGE_peer.py enters under this name; peers/protocol.py tells how. The script is
    not named like the package, since it would import itself."""

    def make(place: Place) -> Contestant:
        script = python_script(place, package, f"{package}_peer.py")
        return Speaker([*script, name, place.work], processes)

    return make


def python_script(place: Place, package: str, script: str) -> list[str]:
    """The command of a peer that is a program of its own, peers/SCRIPT, started for each round."""
    is_there = Path("/usr/lib/python3/dist-packages", package).exists()
    _need(PYTHON, f"python3-{package}", is_there)
    return [PYTHON, str(place.root / "benchmarks/peers" / script)]


def zelcache(place: Place, *arguments: str | Path) -> list[str]:
    """The command of the built zelcache with a cache in the side's own directory."""
    program = place.build / "apps/zelcache/zelcache"
    return list(map(str, [program, "--cache", place.work / "cache", "--no-progress", *arguments]))


def node_peer(package: str, name: str, processes: int = 1) -> MakeSide:
    """What peers/PACKAGE_peer.mjs enters under this name; peers/protocol.mjs tells how."""

    def make(place: Place) -> Contestant:
        _need("node", f"node-{package}", Path("/usr/share/nodejs", package).exists())
        script = place.root / "benchmarks/peers" / f"{package}_peer.mjs"
        node = ["env", "NODE_PATH=/usr/share/nodejs", "node"]
        return Speaker([*node, script, name, place.work], processes)

    return make


def _need(program: str, package: str, is_there: bool) -> None:
    if not is_there or not shutil.which(program):
        raise Absent(f"no package {package}")
