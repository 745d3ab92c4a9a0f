"""How rows name their sides: the project's own programs, and peers in other languages."""

import os
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


def python_peer(script: str, *arguments: str, processes: int = 1) -> MakeSide:
    """peers/SCRIPT ARGUMENT... DIRECTORY, which speaks as programs/Protocol.h says."""

    def make(place: Place) -> Contestant:
        _need(PYTHON, f'python3-{script.removesuffix(".py")}', _has_python_package(script))
        command = [PYTHON, place.root / "benchmarks/peers" / script, *arguments, place.work]
        return Speaker(command, processes)

    return make


def _has_python_package(script: str) -> bool:
    name = script.removesuffix(".py")
    return any(Path("/usr/lib/python3/dist-packages").glob(name))


def node_peer(script: str, *arguments: str, processes: int = 1) -> MakeSide:
    def make(place: Place) -> Contestant:
        package = Path("/usr/share/nodejs") / script.removesuffix(".mjs")
        _need("node", f"node-{package.name}", package.exists())
        os.environ.setdefault("NODE_PATH", "/usr/share/nodejs")
        command = ["node", place.root / "benchmarks/peers" / script, *arguments, place.work]
        return Speaker(command, processes)

    return make


def _need(program: str, package: str, is_there: bool) -> None:
    if not is_there or not shutil.which(program):
        raise Absent(f"no package {package}")
