"""What fsspec does instead."""

import shutil
from pathlib import Path

import fsspec

from protocol import Peer, play, settle


class AddFile(Peer):
    """Its cache of whole files, over local ones."""

    def prepare(self) -> None:
        shutil.rmtree(self.storage, ignore_errors=True)
        settle(self.directory)

    @property
    def storage(self) -> Path:
        return self.directory / "storage"

    def run(self) -> int:
        source = self.directory.resolve().parent / "source"
        options = {"cache_storage": str(self.storage)}
        fsspec.open_local(f"filecache::file://{source}", filecache=options)
        return 1


class AddFolder(Peer):
    """Its copy of a folder, to another place in each round; its caches know no folders."""

    rounds = 0

    def prepare(self) -> None:
        self.rounds += 1
        settle(self.directory)

    def run(self) -> int:
        source = self.directory.parent / "source"
        target = self.directory / str(self.rounds)
        fsspec.filesystem("file").get(str(source), str(target), recursive=True)
        return 1


play({"addfile": AddFile, "addfolder": AddFolder})
