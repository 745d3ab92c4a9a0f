"""Prints what was measured: as a table for people, as JSON for programs."""

import json

from .measuring import Outcome
from .rows import Goal


def as_time(seconds: float) -> str:
    for unit, factor in (("s", 1), ("ms", 1e3), ("us", 1e6)):
        if seconds * factor >= 1:
            return f"{seconds * factor:.3g} {unit}"
    return f"{seconds * 1e9:.3g} ns"


def verdict(goal: Goal, outcome: Outcome) -> tuple[str, str]:
    value = goal.measured(outcome.medians)
    if value is None:
        return "-", "skipped"
    return f"{value:.3g}", "met" if goal.is_met(value) else "MISSED"


def lines_of(outcome: Outcome) -> list[list[str]]:
    times = ", ".join(
        f"{side} {as_time(figures['seconds'])}" for side, figures in outcome.medians.items()
    )
    lines = [[outcome.row.name, outcome.row.title, times, "", ""]]
    for goal in outcome.row.goals:
        lines.append(["", f"  {goal}", "", *verdict(goal, outcome)])
    lines += lines_without_goal(outcome)
    for side, reason in outcome.absent.items():
        lines.append(["", f"  no {side}: {reason}", "", "", ""])
    return lines


def lines_without_goal(outcome: Outcome) -> list[list[str]]:
    with_goal = {goal.side for goal in outcome.row.goals}
    return [
        ["", f"  seconds : {side}", "", f"{ratio:.3g}", ""]
        for side, ratio in outcome.ratios().items()
        if side not in with_goal
    ]


def print_table(outcomes: list[Outcome]) -> None:
    lines = [["row", "operation and goals", "medians", "measured", ""]]
    for outcome in outcomes:
        lines += lines_of(outcome)
    widths = [max(len(line[column]) for line in lines) for column in range(5)]
    for line in lines:
        print("  ".join(cell.ljust(width) for cell, width in zip(line, widths)).rstrip())


def print_json(outcomes: list[Outcome]) -> None:
    for outcome in outcomes:
        goals = [
            {
                "goal": str(goal),
                "measured": goal.measured(outcome.medians),
                "verdict": verdict(goal, outcome)[1],
            }
            for goal in outcome.row.goals
        ]
        row = {
            "row": outcome.row.name,
            "medians": outcome.medians,
            "ratios": outcome.ratios(),
            "absent": outcome.absent,
        }
        print(json.dumps(row | {"goals": goals}))
