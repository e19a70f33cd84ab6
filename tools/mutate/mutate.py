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
import rooms
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
    parser.add_argument("--known", action="store_true",
                        help="judge nothing: tell what earlier runs have found")
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
        self.known = copies.read_notes(path)
        self.texts = {}

    def text_of(self, file):
        if file not in self.texts:
            with open(os.path.join(self.root, file), "rb") as source:
                self.texts[file] = hashlib.sha256(source.read()).hexdigest()[:16]
        return self.texts[file]

    def get(self, point):
        known = self.known.get(point.key())
        return known if known and known["text"] == self.text_of(point.file) else None

    def has_met(self, point, tests):
        """Whether it is known what these tests say of the change."""
        known = self.get(point)
        return known is not None and (known["outcome"] == "killed" or tests in known["met"])

    def put(self, point, tests, outcome, by, how, milliseconds):
        known = self.get(point)
        met = (known["met"] if known else []) + [tests]
        # That other tests came by is worth more than that these did not.
        if outcome == "not reached" and known:
            outcome = known["outcome"]
        self.known[point.key()] = {"text": self.text_of(point.file), "outcome": outcome, "by": by,
                                   "how": how, "ms": milliseconds, "met": met}

    def forget(self, point):
        self.known.pop(point.key(), None)

    def save(self):
        copies.write_notes(self.path, self.known)


def judge(points, tests, results, jobs):
    """Runs the tests that reach each of the points, and keeps what came of it."""
    began = time.monotonic()
    done = killed = 0
    for point, outcome in tests.judge(points, jobs):
        results.put(point, tests.shown, *outcome)
        done += 1
        killed += outcome[0] == "killed"
        if done % 20 == 0:
            results.save()
        if done % 100 == 0 or done == len(points):
            copies.say(f"{tests.shown}: {done} of {len(points)} changes, {killed} noticed, "
                       f"{time.monotonic() - began:.0f} s")
    results.save()


def judge_all(copy, points, results, wanted):
    """The tests that fail without any change."""
    for point in points:
        known = results.get(point)
        if known and (wanted.again or (wanted.survivors and known["outcome"] != "killed")):
            results.forget(point)
    failing = []
    for tests in (running.UnitTests(copy), running.WholeRuns(copy)):
        todo = [p for p in points if not results.has_met(p, tests.shown)]
        copies.say(f"{tests.shown}: {len(todo)} of {len(points)} changes are to be judged")
        if not todo:
            continue
        # The heart first: a run that is broken off has told of what counts most.
        todo.sort(key=lambda p: (rooms.group_of(p.file) not in rooms.HEART))
        copy.compile(tests.TARGET)
        tests.record(wanted.jobs)
        judge(todo, tests, results, wanted.jobs)
        failing += tests.failing
        for test, times in tests.shaky.most_common():
            copies.say(f"{test} failed without a change too, {times} times")
    return failing


def main():
    wanted = options()
    root = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
    chosen = set(chosen_sources(root, wanted))
    if not chosen:
        copies.say("no source of the product has changed")
        return 0
    copy = copies.Copies(root)
    copy.make()
    results = Results(root, os.path.join(copy.tree, "results.json"))
    failing = []
    if not wanted.known:
        copies.say(f"building {len(copy.numbers.points)} changes")
        copy.configure()
        # By itself first: what does not compile in the product is found ahead of its tests.
        copy.compile("product")
        copy.compile(running.UnitTests.TARGET)
    points, left_out = copy.built_points()
    points = [p for p in points if p.file in chosen][::wanted.sample]
    left_out = [p for p in left_out if p.file in chosen]
    if not wanted.known:
        failing = judge_all(copy, points, results, wanted)
    return report.show(root, points, left_out, results, failing)


if __name__ == "__main__":
    sys.exit(main())
