"""The lines of programs/Protocol.h, for peers in Python."""

import json
import subprocess
import sys
import time
from collections.abc import Callable
from pathlib import Path


class Peer:
    """One side of a row; `directory` is there, and empty."""

    def __init__(self, directory: Path):
        self.directory = directory

    def prepare(self) -> None:
        """Makes what the next round needs. Not measured."""

    def run(self) -> int:
        """The round itself. Gives how many operations that was."""
        raise NotImplementedError


def play(peers: dict[str, Callable[[Path], Peer]]) -> None:
    """The whole program: SCRIPT NAME DIRECTORY."""
    peer = peers[sys.argv[1]](Path(sys.argv[2]))
    for line in sys.stdin:
        if line.strip() == "round":
            print(json.dumps(_measure(peer)), flush=True)
        else:
            peer.prepare()
            print("{}", flush=True)


def _measure(peer: Peer) -> dict[str, float]:
    cpu, start = time.process_time(), time.perf_counter()
    operations = peer.run()
    seconds = time.perf_counter() - start
    return {
        "operations": operations,
        "seconds": seconds / operations,
        "cpu": (time.process_time() - cpu) / operations,
    }


def settle(directory: Path) -> None:
    """What one side leaves to be written later must not be at the cost of the next."""
    subprocess.run(["sync", "--file-system", directory], check=True)
