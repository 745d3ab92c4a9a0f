"""What diskcache does instead."""

from pathlib import Path

from diskcache import Cache

from protocol import Peer, play, settle


class AddFile(Peer):
    """A value that is read from a file."""

    def __init__(self, directory: Path):
        super().__init__(directory)
        self.cache = Cache(directory / "cache")

    def prepare(self) -> None:
        self.cache.clear()
        settle(self.directory)

    def run(self) -> int:
        with (self.directory.parent / "source").open("rb") as source:
            self.cache.set("run.raw", source, read=True)
        return 1


class Evict(Peer):
    """Removes the half that was stored first. All values are files, as with us."""

    values = 10_000
    value_size = 4096

    def __init__(self, directory: Path):
        super().__init__(directory)
        self.cache = Cache(
            directory / "cache", size_limit=1 << 40, cull_limit=0, disk_min_file_size=0
        )

    def prepare(self) -> None:
        self.cache.reset("size_limit", 1 << 40)
        for key in range(self.values):
            if key not in self.cache:
                self.cache[key] = b"x" * self.value_size
        half = self.values // 2 * self.value_size
        self.cache.reset("size_limit", self.cache.volume() - half)
        settle(self.directory)

    def run(self) -> int:
        self.cache.cull()
        return 1


class Open(Peer):
    """Opens and closes a cache with many keys."""

    keys = 100_000
    operations = 50

    def __init__(self, directory: Path):
        super().__init__(directory)
        with Cache(directory / "cache") as cache, cache.transact():
            for number in range(self.keys):
                cache[f"share:/data/runs/sample-{number}.raw"] = number

    def run(self) -> int:
        for _ in range(self.operations):
            Cache(self.directory / "cache").close()
        return self.operations


play({"addfile": AddFile, "evict": Evict, "open": Open})
