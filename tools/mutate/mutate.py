#!/usr/bin/python3
"""Would the tests notice? Changes the product's sources in one place at a time and runs the tests
that come by that place, until one fails. See docs/testing.md."""

import argparse
import hashlib
import json
import os
import subprocess
import sys
import time

import copies
import report
import running


def options():
    parser = argparse.ArgumentParser(prog="./dev mutate", description=__doc__)
    parser.add_argument("files", nargs="*", metavar="FILE", help="only these sources")
    parser.add_argument("--changed", action="store_true",
                        help="only sources that differ from the last commit")
    parser.add_argument("--again", action="store_true",
                        help="also those that an earlier run has judged")
    parser.add_argument("--survivors", action="store_true",
                        help="of those judged before, run the survivors again")
    parser.add_argument("--jobs", type=int, default=os.cpu_count(), help="how many at a time")
    parser.add_argument("--sample", type=int, default=1, metavar="N", help="every N-th change")
    return parser.parse_args()


def chosen_sources(root, wanted):
    every = copies.sources(root)
    if wanted.changed:
        told = subprocess.check_output(["git", "status", "--porcelain", "-uall"], cwd=root,
                                       text=True)
        changed = {line[3:].split(" -> ")[-1] for line in told.splitlines()}
        return [name for name in every if name in changed]
    if not wanted.files:
        return every
    names = [os.path.relpath(os.path.abspath(f), root) for f in wanted.files]
    for name in names:
        if name not in every:
            raise SystemExit(f"mutate: {name} is no source of the product")
    return names


class Results:
    """What became of each change, kept from run to run. It holds for the text of its file."""

    def __init__(self, root, path):
        self.root = root
        self.path = path
        self.known = json.load(open(path, encoding="utf-8")) if os.path.exists(path) else {}
        self.texts = {}

    def text_of(self, file):
        if file not in self.texts:
            with open(os.path.join(self.root, file), "rb") as source:
                self.texts[file] = hashlib.sha256(source.read()).hexdigest()[:16]
        return self.texts[file]

    def get(self, point):
        known = self.known.get(point.key())
        return known if known and known["text"] == self.text_of(point.file) else None

    def put(self, point, outcome, by, how, milliseconds):
        self.known[point.key()] = {"text": self.text_of(point.file), "outcome": outcome, "by": by,
                                   "how": how, "ms": milliseconds}

    def save(self):
        with open(self.path + ".new", "w", encoding="utf-8") as file:
            json.dump(self.known, file, indent=0)
        os.replace(self.path + ".new", self.path)


def judge(points, tests, results, what, jobs):
    """Runs the tests that reach each of the points, and keeps what came of it."""
    began = time.monotonic()
    done = killed = 0
    for point, outcome in tests.judge(points, jobs):
        known = results.get(point)
        # That other tests did come by is worth more than that these did not.
        if outcome[0] != "not reached" or known is None:
            results.put(point, *outcome)
        done += 1
        killed += outcome[0] == "killed"
        if done % 20 == 0:
            results.save()
        if done % 100 == 0:
            copies.say(f"{what}: {done} of {len(points)} changes, {killed} noticed, "
                       f"{time.monotonic() - began:.0f} s")
    results.save()


def main():
    wanted = options()
    root = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
    chosen = chosen_sources(root, wanted)
    if not chosen:
        copies.say("no source of the product has changed")
        return 0
    copy = copies.Copies(root, chosen)
    copy.make()
    copies.say(f"building {len(copy.numbers.points)} changes of {len(chosen)} sources")
    copy.compile()
    points, left_out = copy.built_points()
    points = points[::wanted.sample]
    results = Results(root, os.path.join(copy.tree, "results.json"))

    def open_ones(again):
        found = []
        for point in points:
            known = results.get(point)
            survived = known and known["outcome"] != "killed"
            if known is None or wanted.again or (survived and again):
                found.append(point)
        return found

    unit = running.UnitTests(copy)
    unit.record(wanted.jobs)
    todo = open_ones(wanted.survivors)
    copies.say(f"{len(points)} changes, {len(todo)} of them to be judged")
    judge(todo, unit, results, "unit tests", wanted.jobs)
    left = [p for p in todo if results.get(p)["outcome"] != "killed"]
    if left:
        machine = running.MachineTests(copy)
        machine.record(wanted.jobs)
        judge(left, machine, results, "whole runs", wanted.jobs)
    return report.show(root, points, left_out, results, unit.failing)


if __name__ == "__main__":
    sys.exit(main())
