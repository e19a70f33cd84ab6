"""What the run comes to: a table, the survivors, and whether it is enough."""

import collections
import os
import sys

from rooms import HEART, group_of, listed

LEAST = 95.0
LEAST_IN_THE_HEART = 98.0
def score(killed, counted):
    return 100.0 * killed / counted if counted else 100.0


def show(root, points, left_out, results, failing):
    equal = listed(os.path.join(root, "tools", "mutate", "equal.txt"))
    rows = collections.defaultdict(collections.Counter)
    survivors, stale = [], dict(equal)
    for point in points:
        outcome = results.get(point)["outcome"]
        stale.pop(point.key(), None) if outcome != "killed" else None
        if outcome != "killed":
            outcome = "equal" if point.key() in equal else "left"
        if outcome == "left":
            survivors.append(point)
        for row in (group_of(point.file), "all"):
            rows[row]["points"] += 1
            rows[row][outcome] += 1
    print("| | changes | noticed | equal | not noticed | score |")
    print("|---|---|---|---|---|---|")
    enough = True
    for name in sorted(rows, key=lambda n: (n == "all", n not in HEART, n)):
        row = rows[name]
        reached = score(row["killed"], row["points"] - row["equal"])
        least = LEAST_IN_THE_HEART if name in HEART else LEAST
        enough = enough and reached >= least
        print(f"| {name} | {row['points']} | {row['killed']} | {row['equal']} | {row['left']} | "
              f"{reached:.1f} % |")
    print(f"\n{left_out} further changes do not compile and are left out.")
    if failing:
        print(f"{len(failing)} tests fail without any change, and were not counted on.")
    present = {p.key() for p in points}
    for key in stale:
        if key in present:
            print(f"listed as equal, and yet noticed: {key}", file=sys.stderr)
    told = os.path.join(root, "build", "mutate", "survivors.txt")
    with open(told, "w", encoding="utf-8") as file:
        for point in survivors:
            file.write(f"{point.key()}\n  {point.file}:{point.line}: "
                       f"{results.get(point)['outcome']}\n")
    print(f"{len(survivors)} changes that no test noticed stand in {os.path.relpath(told, root)}.")
    return 0 if enough else 1
