"""What the run comes to: a table, the survivors, and whether it is enough."""

import collections
import os
import sys

from rooms import HEART, group_of, listed

LEAST = 95.0
LEAST_IN_THE_HEART = 98.0


def score(row):
    """None where nothing was judged."""
    if row["judged"] == 0:
        return None
    counted = row["judged"] - row["equal"]
    return 100.0 * row["killed"] / counted if counted else 100.0


def show(root, points, left_out, results, failing):
    """The exit status: whether every room has noticed enough, and each reason still is one."""
    equal = listed(os.path.join(root, "tools", "mutate", "equal.txt"))
    rows = collections.defaultdict(collections.Counter)
    survivors = []
    for point in points:
        outcome = outcome_of(point, results, equal)
        if outcome == "left":
            survivors.append(point)
        for row in (group_of(point.file), "all"):
            rows[row]["points"] += 1
            rows[row]["judged"] += outcome is not None
            rows[row][outcome] += 1
    enough = print_table(rows)
    print(f"\n{len(left_out)} further changes do not compile and are left out.")
    if failing:
        print(f"{len(failing)} tests fail without any change, and were not counted on.")
    stale = tell_stale(equal, points + left_out, results)
    told = os.path.join(root, "build", "mutate", "survivors.txt")
    with open(told, "w", encoding="utf-8") as file:
        for point in survivors:
            file.write(f"{point.key()}\n  {point.file}:{point.line}: "
                       f"{results.get(point)['outcome']}\n")
    print(f"{len(survivors)} changes that no test noticed stand in {os.path.relpath(told, root)}.")
    return 0 if enough and not stale else 1


def outcome_of(point, results, equal):
    """None if nobody has judged it yet."""
    known = results.get(point)
    if known is None or known["outcome"] == "killed":
        return known and "killed"
    return "equal" if point.key() in equal else "left"


def print_table(rows):
    print("| | changes | judged | noticed | equal | not noticed | score |")
    print("|---|---|---|---|---|---|---|")
    enough = True
    for name in sorted(rows, key=lambda n: (n == "all", n not in HEART, n)):
        row = rows[name]
        reached = score(row)
        least = LEAST_IN_THE_HEART if name in HEART else LEAST
        enough = enough and reached is not None and reached >= least
        shown = "" if reached is None else f" {reached:.1f} %"
        print(f"| {name} | {row['points']} | {row['judged']} | {row['killed']} | {row['equal']} | "
              f"{row['left']} |{shown} |")
    return enough


def tell_stale(equal, points, results):
    """Reasons that are none any more, told: the change was noticed, or its source is another one."""
    files = {p.file for p in points}
    keys = {p.key(): p for p in points}
    stale = []
    for key in equal:
        if key.split(" | ")[0] not in files:
            continue
        if key not in keys:
            stale.append(f"listed as equal, and there is no such change: {key}")
        elif (results.get(keys[key]) or {}).get("outcome") == "killed":
            stale.append(f"listed as equal, and yet noticed: {key}")
    for line in stale:
        print(line, file=sys.stderr)
    return stale
