"""The folder build/mutate: a copy of the project in which the product's rooms are rewritten, and all
else is a link to the original. It is built there, and what cannot be compiled is left out."""

import collections
import concurrent.futures
import hashlib
import itertools
import json
import os
import pickle
import re
import subprocess
import sys

import clang.cindex as ci

import marks
import points
import rewrite

ROOMS = ("VUSL", "client", "task", "service")
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
    def __init__(self, root):
        self.root = root
        self.tree = os.path.join(root, "build", "mutate")
        self.build = os.path.join(self.tree, "build", "debug")
        self.left_out_notes = os.path.join(self.tree, "left-out.json")
        self.given_notes = os.path.join(self.tree, "numbers.json")
        self.numbers = marks.Numbers(read_notes(self.given_notes))
        self.read_notes = os.path.join(self.tree, "read.pickle")
        self.sources = {}
        self.dropped = {}

    def make(self):
        """Reads all sources and writes their copies."""
        names = sources(self.root)
        if not self.recall():
            self.read(names)
        self.dropped = {name: set() for name in names}
        self.remember()
        write_notes(self.given_notes, self.numbers.given)
        self.link_the_rest(names)
        for name in names:
            self.write(name)

    def read(self, names):
        reader = Reader(self.root, self.numbers)
        for i, (name, source) in enumerate(zip(names, reader.read(names))):
            self.sources[name] = source
            if (i + 1) % 50 == 0:
                say(f"read {i + 1} of {len(names)} sources")
        for source in self.sources.values():
            source.forget_reader()
        os.makedirs(self.tree, exist_ok=True)
        with open(self.read_notes, "wb") as file:
            pickle.dump((self.text_of_all(), self.numbers, self.sources), file)

    def recall(self):
        """Whether what an earlier run has read is still what stands there."""
        if not os.path.exists(self.read_notes):
            return False
        with open(self.read_notes, "rb") as file:
            text, numbers, found = pickle.load(file)
        if text != self.text_of_all():
            return False
        self.numbers, self.sources = numbers, found
        return True

    def text_of_all(self):
        """Of the product, of what it includes, and of what reads it."""
        paths = [os.path.join(self.root, name) for name in sources(self.root)]
        paths += [module.__file__ for module in (marks, points)]
        for folder, _, files in sorted(os.walk(os.path.join(self.root, "platform"))):
            paths += [os.path.join(folder, name) for name in sorted(files) if name.endswith(".h")]
        whole = hashlib.sha256()
        for path in paths:
            whole.update(path.encode() + marks.bytes_of(path))
        return whole.hexdigest()

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
        if os.path.exists(path):
            with open(path, encoding="utf-8") as file:
                if file.read() == text:
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
        for name, (fingerprint, edits) in read_notes(self.left_out_notes).items():
            if name in self.sources and self.fingerprint(name) == fingerprint:
                self.dropped[name] = set(edits)

    def note(self):
        write_notes(self.left_out_notes, {name: [self.fingerprint(name), sorted(edits)]
                                          for name, edits in self.dropped.items()})

    def configure(self):
        done = subprocess.run(["cmake", "--preset", "debug", "-DMUTATE=ON"], cwd=self.tree,
                              capture_output=True, text=True)
        if done.returncode != 0:
            raise SystemExit(f"mutate: configuring failed\n{done.stdout}{done.stderr}")

    def compile(self, *targets):
        """Until it can be done: what does not compile is left out."""
        for _ in range(MOST_ROUNDS):
            done = subprocess.run(
                ["cmake", "--build", self.build, "--parallel", str(os.cpu_count()), "--target",
                 *targets, "--", "-k", "0"], capture_output=True, text=True)
            if done.returncode == 0:
                return
            if self.leave_out(done.stdout) == 0:
                raise SystemExit(f"mutate: the copies cannot be built\n{done.stdout[-6000:]}")
        raise SystemExit("mutate: the copies could not be made to compile")

    def leave_out(self, output):
        """Leaves out the edits on the lines that the compiler complains of; how many they were."""
        places = set()
        for path, line in re.findall(r"(?:from |^)(/[^\s:]+):(\d+):(?:\d+:)?", output, re.M):
            name = os.path.relpath(path, self.root)
            if name in self.sources:
                places.add((name, int(line)))
        count = sum(self.drop_line(name, line) for name, line in places)
        if count == 0:
            # What a function lacks is told at its end.
            count = sum(self.drop_line(name, self.line_ahead(name, line)) for name, line in places)
        for name in {name for name, _ in places}:
            self.write(name)
        self.note()
        say(f"left out {count} changes of the source on {len(places)} lines: they do not compile")
        return count

    def drop_line(self, name, line):
        """How many edits of the line, whole, the copy had and has no longer."""
        edits = self.sources[name].edits
        spans = {e.span for e in edits if e.line == line}
        found = {i for i, e in enumerate(edits) if e.span in spans} - self.dropped[name]
        self.dropped[name] |= found
        return len(found)

    def line_ahead(self, name, line):
        """The last line up to this one of which the copy has an edit."""
        return max((e.line for i, e in enumerate(self.sources[name].edits)
                    if e.line <= line and i not in self.dropped[name]), default=0)

    def built_points(self):
        """The points that the build has, and those that it was not possible to build."""
        have = set()
        for name, source in self.sources.items():
            have |= {p for i, e in enumerate(source.edits) if i not in self.dropped[name]
                     for p in e.points}
        return [p for p in self.numbers.points if p.number in have], \
            [p for p in self.numbers.points if p.number not in have]


def read_notes(path):
    """Nothing if there are none yet."""
    if not os.path.exists(path):
        return {}
    with open(path, encoding="utf-8") as file:
        return json.load(file)


def write_notes(path, notes):
    """They are whole at any time: a run may be broken off."""
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path + ".new", "w", encoding="utf-8") as file:
        json.dump(notes, file, indent=0)
    os.replace(path + ".new", path)


def link(target, path):
    if not os.path.lexists(path):
        os.symlink(target, path)
