#!/usr/bin/python3
"""Runs the tests of the coverage build and tells what of the product they leave out. See
docs/testing.md."""

import argparse
import collections
import json
import os
import shutil
import subprocess
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "mutate"))

from rooms import HEART, group_of, listed  # noqa: E402

ROOMS = ("VUSL", "client", "task", "service")
LEAST_LINES = 100.0
LEAST_BRANCHES = 98.0
TOOLS = "/usr/lib/llvm-19/bin/"


def say(text):
    print(f"-- {text}", file=sys.stderr, flush=True)


class Place:
    """A line, or one outcome of a condition."""

    def __init__(self, file, line, what, source, hit):
        self.file = file
        self.line = line
        self.what = what
        self.source = source
        self.hit = hit

    def key(self):
        return f"{self.file} | {self.what} | {self.source}"


def programs(build):
    names = ["tests/unit_tests", "TPMEnrollmentService"]
    return [os.path.join(build, name) for name in names]


def run_tests(build, profiles, jobs):
    shutil.rmtree(profiles, ignore_errors=True)
    os.makedirs(profiles)
    # Processes of one program add to the same few files.
    environment = dict(os.environ, LLVM_PROFILE_FILE=os.path.join(profiles, "%4m.profraw"))
    say("running the tests")
    done = subprocess.run(["ctest", "--test-dir", build, "-j", str(jobs), "--output-on-failure",
                           "--timeout", "900", "-R", r"^unit_tests\.|ScenarioRunsTest|FirstBootTest|LifeEndsTest"],
                          env=environment, stdout=subprocess.PIPE, text=True)
    tail = done.stdout.splitlines()
    print("\n".join(line for line in tail if "FAILED" in line or "tests passed" in line),
          file=sys.stderr)
    return done.returncode == 0


def export(build, data, *options):
    first, *others = programs(build)
    command = [TOOLS + "llvm-cov", options[0], first]
    for other in others:
        command += ["-object", other]
    return command + [f"-instr-profile={data}", *options[1:]]


def source_lines(root, name):
    """The lines of a source by their text; a closing brace goes by the line ahead of it."""
    with open(os.path.join(root, name), encoding="utf-8") as file:
        lines = [line.strip() for line in file.read().split("\n")]
    return [lines[i - 1] + " }" if i > 0 and line == "}" else line for i, line in enumerate(lines)]


def read_lines(root, text):
    """The lines that have code, from the report in the tracefile's format."""
    places, name = [], None
    for row in text.splitlines():
        word, _, rest = row.partition(":")
        if word == "SF":
            name = os.path.relpath(rest, root)
            wanted = name.split("/")[0] in ROOMS
            source = source_lines(root, name) if wanted else []
        elif word == "DA" and wanted:
            number, count = (int(n) for n in rest.split(",")[:2])
            places.append(Place(name, number, "line", source[number - 1], count > 0))
    return places


def read_outcomes(root, told):
    """The two outcomes of each condition. An instance of a template is no condition of its own."""
    places = []
    for file in told["data"][0]["files"]:
        name = os.path.relpath(file["filename"], root)
        if name.split("/")[0] not in ROOMS:
            continue
        counts = collections.defaultdict(lambda: [0, 0])
        for line, column, _, _, yes, no, *_ in file["branches"]:
            counts[line, column][0] += yes
            counts[line, column][1] += no
        source = source_lines(root, name)
        turns = collections.Counter()
        for (line, column), outcomes in sorted(counts.items()):
            turns[line] += 1
            for word, count in zip(("true", "false"), outcomes):
                places.append(Place(name, line, f"condition {turns[line]} {word}",
                                    source[line - 1], count > 0))
    return places


def percent(hit, every):
    return 100.0 * hit / every if every else 100.0


def show_rooms(places, excused):
    """The table of the rooms; whether each is covered as it must be."""
    print("| room | lines | covered | listed | | outcomes of conditions | covered | listed | |")
    print("|---|---|---|---|---|---|---|---|---|")
    enough = True
    for room in (*ROOMS, "all"):
        cells = [room]
        for kind, least in (("line", LEAST_LINES), ("condition", LEAST_BRANCHES)):
            mine = [p for p in places if p.what.startswith(kind) and
                    (room == "all" or p.file.startswith(room + "/"))]
            hit = sum(p.hit for p in mine)
            left = sum(not p.hit and p.key() in excused for p in mine)
            reached = percent(hit, len(mine) - left)
            enough = enough and reached >= least
            cells += [str(len(mine)), str(hit), str(left), f"{reached:.1f} %"]
        print("| " + " | ".join(cells) + " |")
    return enough


def show_pairs(root, told):
    """Pairs of tests that show each condition of a decision to count by itself."""
    sums = collections.defaultdict(collections.Counter)
    for file in told["data"][0]["files"]:
        name = os.path.relpath(file["filename"], root)
        group = group_of(name)
        if group not in HEART:
            continue
        pairs = file["summary"]["mcdc"]
        sums[group].update(count=pairs["count"], covered=pairs["covered"])
    print("\n| part | conditions in decisions of several | with a pair | |")
    print("|---|---|---|---|")
    for group in HEART:
        row = sums[group]
        print(f"| {group} | {row['count']} | {row['covered']} | "
              f"{percent(row['covered'], row['count']):.1f} % |")


def main():
    parser = argparse.ArgumentParser(prog="./dev coverage", description=__doc__)
    parser.add_argument("--jobs", type=int, default=os.cpu_count(), help="how many at a time")
    parser.add_argument("--again", action="store_true",
                        help="only the report, of the tests that an earlier call has run")
    wanted = parser.parse_args()
    root = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
    build = os.path.join(root, "build", "coverage")
    profiles = os.path.join(build, "profiles")
    data = os.path.join(build, "all.profdata")
    passed = wanted.again or run_tests(build, profiles, wanted.jobs)
    raw = [os.path.join(profiles, n) for n in os.listdir(profiles) if n.endswith(".profraw")]
    subprocess.run([TOOLS + "llvm-profdata", "merge", "-sparse", "-o", data, *raw], check=True)
    excused = listed(os.path.join(root, "tools", "coverage", "uncovered.txt"))
    told = {form: subprocess.run(export(build, data, "export", f"-format={form}"), check=True,
                                 capture_output=True, text=True).stdout
            for form in ("lcov", "text")}
    conditions = json.loads(told["text"])
    places = read_lines(root, told["lcov"]) + read_outcomes(root, conditions)
    enough = show_rooms(places, excused)
    show_pairs(root, conditions)
    page = os.path.join(build, "report")
    subprocess.run(export(build, data, "show", "-format=html", f"-output-dir={page}",
                          "-show-branches=count", "-show-mcdc", "-show-line-counts"), check=True,
                   stdout=subprocess.DEVNULL)
    print(f"\nThe report: {os.path.relpath(page, root)}/index.html")
    open_places = [p for p in places if not p.hit and p.key() not in excused]
    for place in sorted(open_places, key=lambda p: (p.file, p.line, p.what)):
        print(f"not covered: {place.file}:{place.line}: {place.what}: {place.source}")
    missed = {p.key() for p in places if not p.hit}
    for key in excused:
        if key not in missed:
            print(f"listed, and yet covered or gone: {key}")
            enough = False
    if not passed:
        print("tests failed: see above")
    return 0 if passed and enough else 1


if __name__ == "__main__":
    sys.exit(main())
