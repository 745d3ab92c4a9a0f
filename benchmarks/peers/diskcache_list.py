"""DIRECTORY [COUNT]: prints all keys in their order, or fills the cache with so many."""

import sys

import diskcache

with diskcache.Cache(sys.argv[1]) as cache:
    if len(sys.argv) > 2:
        with cache.transact():
            for number in range(int(sys.argv[2])):
                cache[f"https://data.example.org/sample-{number}.raw"] = number
    else:
        for key in cache.iterkeys():
            print(key)
