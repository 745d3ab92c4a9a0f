"""DIRECTORY URL: prints the path of the file, fetched if it is not there."""

import logging
import sys

import pooch

pooch.get_logger().setLevel(logging.ERROR)
print(pooch.retrieve(sys.argv[2], known_hash=None, path=sys.argv[1], fname="file"))
