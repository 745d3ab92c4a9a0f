"""DIRECTORY KEY [VALUE]: prints what the cache has under the key, or keeps the value there."""

import sys

import diskcache

with diskcache.Cache(sys.argv[1]) as cache:
    if len(sys.argv) > 3:
        cache[sys.argv[2]] = sys.argv[3]
    print(cache[sys.argv[2]])
