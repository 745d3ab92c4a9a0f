"""scripts/bench ends up here. What is measured stands in rows/, one subject a file."""

import argparse
import shutil
import sys
import tempfile
from pathlib import Path

from rows import all_rows

from . import table
from .measuring import Outcome, measure
from .rows import Place, Row

ROOT = Path(__file__).resolve().parents[2]


def arguments() -> argparse.Namespace:
    parser = argparse.ArgumentParser(
        prog="scripts/bench",
        description="Measures the library beside floors and peers, in turns, and prints medians.",
        epilog="Example: scripts/bench --rounds 9 readStatus lock",
    )
    parser.add_argument("rows", nargs="*", metavar="ROW", help="only these; all without")
    parser.add_argument("--rounds", type=int, default=5, help="at least so many (%(default)s)")
    parser.add_argument("--json", action="store_true", help="one object a row and line")
    parser.add_argument("--list", action="store_true", help="only name the rows")
    parser.add_argument("--build", type=Path, default=ROOT / "build/release", help="a release build")
    parser.add_argument("--work", type=Path, help="a directory on the disk to measure")
    return parser.parse_args()


def wanted(names: list[str]) -> list[Row]:
    known = {row.name: row for row in all_rows()}
    unknown = [name for name in names if name not in known]
    if unknown:
        sys.exit(f"There is no row {', '.join(unknown)}. There are: {', '.join(known)}")
    return [known[name] for name in names] or list(known.values())


def main() -> None:
    options = arguments()
    rows = wanted(options.rows)
    if options.list:
        print("\n".join(f"{row.name:20}{row.title}" for row in rows))
    else:
        (table.print_json if options.json else table.print_table)(measured(rows, options))


def measured(rows: list[Row], options: argparse.Namespace) -> list[Outcome]:
    work = Path(tempfile.mkdtemp(prefix="bench-", dir=options.work or options.build))
    outcomes = []
    try:
        for row in rows:
            print(f"measuring {row.name}", file=sys.stderr)
            outcomes.append(measure(row, Place(options.build, ROOT, work), options.rounds))
    finally:
        shutil.rmtree(work, ignore_errors=True)
    return outcomes


main()
