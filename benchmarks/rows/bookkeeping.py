"""What the cache writes down and looks up, without any transfer."""

from driver.rows import Goal, Row
from rows.sides import node_peer, program, python_peer

ROWS = [
    Row(
        "readStatus",
        "ask for the status of one resource",
        {
            "ours": program("readStatus/ours"),
            "floor": program("readStatus/floor"),
            "cacache": node_peer("cacache", "info"),
        },
        [Goal("seconds", 1.25, "floor"), Goal("seconds", 0.35, "cacache")],
    ),
    Row(
        "readStatus4",
        "the same in 4 processes at once",
        {
            "ours": program("readStatus4/ours", 4),
            "floor": program("readStatus4/floor", 4),
            "cacache": node_peer("cacache", "infoTogether", 4),
        },
        [
            Goal("rate", 0.9, "floor", at_least=True),
            Goal("rate", 1.0, "cacache", at_least=True),
            Goal("evenness", 0.9, at_least=True),
        ],
    ),
    Row(
        "saveStatus",
        "change the status of one resource",
        {"ours": program("saveStatus/ours"), "floor": program("saveStatus/floor")},
        [Goal("seconds", 1.25, "floor")],
    ),
    Row(
        "use",
        "begin and end the use of one resource",
        {"ours": program("use/ours"), "floor": program("use/floor")},
        [Goal("seconds", 1.25, "floor")],
    ),
    Row(
        "bookkeeping",
        "all bookkeeping of one retrieval",
        {
            "ours": program("bookkeeping/ours"),
            "floor": program("bookkeeping/floor"),
            "default": program("bookkeeping/default"),
        },
        [Goal("seconds", 1.2, "floor"), Goal("seconds", 0.2, "default")],
    ),
    Row(
        "many",
        "retrieve one of 1,000 resources of 4 KiB",
        {
            "ours": program("many/ours"),
            "floor": program("many/floor"),
            "promise": program("many/promise"),
            "cacache": node_peer("cacache", "put"),
        },
        [Goal("seconds", 1.25, "floor"), Goal("seconds", 1.5, "cacache")],
    ),
    Row(
        "open",
        "open and close a cache of 100,000 resources",
        {
            "ours": program("open/ours"),
            "empty": program("open/empty"),
            "diskcache": python_peer("diskcache", "open"),
        },
        [Goal("seconds", 1.3, "empty"), Goal("seconds", 1.4, "diskcache")],
    ),
]
