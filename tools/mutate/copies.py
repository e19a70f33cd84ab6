"""The folder build/mutate: a copy of the project in which the product's rooms are rewritten, and all
else is a link to the original. It is built there, and what cannot be compiled is left out."""

import collections
import concurrent.futures
import hashlib
import itertools
import json
import os
import re
import subprocess
import sys

import clang.cindex as ci

import marks
import points
import rewrite

ROOMS = ("VUSL", "client", "task", "service")
TARGETS = ("unit_tests", "machine_tests", "TPMEnrollmentService")
MOST_ROUNDS = 25
AHEAD = 2 * (os.cpu_count() or 1)


def say(text):
    print(f"-- {text}", file=sys.stderr, flush=True)


def sources(root):
    found = []
    for room in ROOMS:
        for folder, _, names in os.walk(os.path.join(root, room)):
            found += [os.path.relpath(os.path.join(folder, n), root)
                      for n in names if n.endswith((".cpp", ".h"))]
    return sorted(found)


class Reader:
    def __init__(self, root, numbers):
        library = next(p for p in ("/usr/lib/x86_64-linux-gnu/libclang-19.so.1",
                                   "/usr/lib/llvm-19/lib/libclang.so.1") if os.path.exists(p))
        if not ci.Config.loaded:
            ci.Config.set_library_file(library)
        self.root = root
        self.numbers = numbers
        self.index = ci.Index.create()
        self.arguments = ["-x", "c++", "-std=c++20", "-I", root, "-resource-dir", "/usr/lib/llvm-19/lib/clang/19"]

    def relative(self, path):
        name = os.path.relpath(path, self.root)
        return name if name.split(os.sep)[0] in ROOMS else None

    def parse(self, name):
        path = os.path.join(self.root, name)
        if name.endswith(".h"):
            unit = self.index.parse("unit.cpp", self.arguments,
                                    unsaved_files=[("unit.cpp", f'#include "{path}"\n')])
        else:
            unit = self.index.parse(path, self.arguments)
        wrong = [str(d) for d in unit.diagnostics if d.severity >= ci.Diagnostic.Error]
        if wrong:
            raise SystemExit(f"mutate: {name} cannot be read: {wrong[0]}")
        return unit

    def read(self, names):
        """Yields the sources in their order. The compiler's part is done ahead, on a few threads."""
        waiting = collections.deque()
        left = iter(names)
        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            for name in names:
                for ahead in itertools.islice(left, AHEAD - len(waiting)):
                    waiting.append(pool.submit(self.parse, ahead))
                unit = waiting.popleft().result()
                source = points.SourceFile(name, os.path.join(self.root, name), self.numbers,
                                           self.relative)
                source.find(unit)
                yield source


class Copies:
    def __init__(self, root, chosen):
        self.root = root
        self.chosen = chosen
        self.tree = os.path.join(root, "build", "mutate")
        self.build = os.path.join(self.tree, "build", "debug")
        self.left_out_notes = os.path.join(self.tree, "left-out.json")
        self.numbers = marks.Numbers()
        self.sources = {}
        self.dropped = {}

    def make(self):
        """Reads all sources and writes their copies."""
        names = self.chosen
        reader = Reader(self.root, self.numbers)
        for i, (name, source) in enumerate(zip(names, reader.read(names))):
            self.sources[name] = source
            self.dropped[name] = set()
            if (i + 1) % 50 == 0:
                say(f"read {i + 1} of {len(names)} sources")
        self.remember()
        self.link_the_rest(names)
        for name in names:
            self.write(name)

    def link_the_rest(self, names):
        os.makedirs(self.tree, exist_ok=True)
        for entry in os.listdir(self.root):
            if entry in ROOMS or entry in ("build", ".git"):
                continue
            link(os.path.join(self.root, entry), os.path.join(self.tree, entry))
        for room in ROOMS:
            for folder, _, files in os.walk(os.path.join(self.root, room)):
                below = os.path.join(self.tree, os.path.relpath(folder, self.root))
                os.makedirs(below, exist_ok=True)
                for file in files:
                    name = os.path.relpath(os.path.join(folder, file), self.root)
                    if name not in names:
                        if os.path.isfile(os.path.join(below, file)) and \
                                not os.path.islink(os.path.join(below, file)):
                            os.unlink(os.path.join(below, file))
                        link(os.path.join(folder, file), os.path.join(below, file))

    def write(self, name):
        """Leaves the file alone if it would not change, so that it is not compiled again."""
        text = rewrite.rewritten(self.sources[name], self.dropped[name])
        path = os.path.join(self.tree, name)
        if os.path.islink(path):
            os.unlink(path)
        if os.path.exists(path) and open(path, encoding="utf-8").read() == text:
            return
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)

    def fingerprint(self, name):
        """What the numbers of a source's edits depend on."""
        tool = "".join(str(os.stat(os.path.join(os.path.dirname(__file__), part)).st_size)
                       for part in ("marks.py", "points.py", "rewrite.py"))
        return hashlib.sha256(self.sources[name].raw + tool.encode()).hexdigest()

    def remember(self):
        """What an earlier build found not to compile need not be found again."""
        if os.path.exists(self.left_out_notes):
            notes = json.load(open(self.left_out_notes, encoding="utf-8"))
            for name, (fingerprint, edits) in notes.items():
                if name in self.sources and self.fingerprint(name) == fingerprint:
                    self.dropped[name] = set(edits)

    def note(self):
        os.makedirs(self.tree, exist_ok=True)
        with open(self.left_out_notes, "w", encoding="utf-8") as file:
            json.dump({name: [self.fingerprint(name), sorted(edits)]
                       for name, edits in self.dropped.items()}, file)

    def compile(self):
        run = subprocess.run
        done = run(["cmake", "--preset", "debug", "-DMUTATE=ON"], cwd=self.tree,
                   capture_output=True, text=True)
        if done.returncode != 0:
            raise SystemExit(f"mutate: configuring failed\n{done.stdout}{done.stderr}")
        # The product first: its errors are what is to be found.
        targets = ("product",)
        for _ in range(MOST_ROUNDS):
            done = run(["cmake", "--build", self.build, "--parallel", str(os.cpu_count()),
                        "--target", *targets, "--", "-k", "0"], capture_output=True, text=True)
            if done.returncode == 0:
                if targets == TARGETS:
                    return
                targets = TARGETS
            elif self.leave_out(done.stdout) == 0:
                raise SystemExit(f"mutate: the copies cannot be built\n{done.stdout[-6000:]}")
        raise SystemExit("mutate: the copies could not be made to compile")

    def leave_out(self, output):
        """Leaves out the edits on the lines that the compiler complains of; how many they were."""
        places = set()
        for path, line in re.findall(r"(?:from |^)(/[^\s:]+):(\d+):(?:\d+:)?", output, re.M):
            name = os.path.relpath(path, self.root)
            if name in self.sources:
                places.add((name, int(line)))
        count = 0
        for name, line in places:
            source = self.sources[name]
            spans = {e.span for e in source.edits if e.line == line}
            for i, edit in enumerate(source.edits):
                if edit.span in spans and i not in self.dropped[name]:
                    self.dropped[name].add(i)
                    count += 1
        for name in {name for name, _ in places}:
            self.write(name)
        self.note()
        say(f"left out {count} changes of the source on {len(places)} lines: they do not compile")
        return count

    def built_points(self):
        """The points that the build has, and how many it was not possible to build."""
        have = set()
        for name, source in self.sources.items():
            have |= {p for i, e in enumerate(source.edits) if i not in self.dropped[name]
                     for p in e.points}
        return [p for p in self.numbers.points if p.number in have], \
            len(self.numbers.points) - len(have)


def link(target, path):
    if not os.path.lexists(path):
        os.symlink(target, path)
