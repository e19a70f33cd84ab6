"""Runs tests with one change on. Which tests come by a change is recorded once for a build."""

import collections
import os
import queue
import re
import subprocess
import tempfile
import threading

from copies import read_notes, say, write_notes

MOST_MARKS = 1 << 16
LEAST_SECONDS = 2
RECORD_SECONDS = 60
# What a program may take that does not even come to its orders with a change on.
START_PROCESSOR_SECONDS = 20
START_SECONDS = 300


def in_parallel(jobs, items, make_worker):
    """Yields (item, result) as they come; `make_worker` gives each thread a function and its end."""
    todo = queue.SimpleQueue()
    for item in items:
        todo.put(item)
    done = queue.SimpleQueue()

    def work():
        do, end = make_worker()
        try:
            while True:
                try:
                    item = todo.get_nowait()
                except queue.Empty:
                    return
                done.put((item, do(item)))
        except Exception as error:  # told by the one who waits for the results
            done.put((None, error))
        finally:
            end()

    threads = [threading.Thread(target=work, daemon=True) for _ in range(jobs)]
    for thread in threads:
        thread.start()
    for _ in range(len(items)):
        item, result = done.get()
        if item is None:
            raise result
        yield item, result


class Server:
    """A test program that runs what it is told in processes forked for it; with a point it has that
    change on from its start."""

    def __init__(self, program, scratch, point=0):
        handle, self.marks = tempfile.mkstemp(dir=scratch)
        os.truncate(handle, MOST_MARKS)
        os.close(handle)
        environment = dict(os.environ, MUTANT_MARKS=self.marks, TMPDIR=scratch)
        command = [program, "--serve"]
        if point:
            environment["MUTANT"] = str(point)
            command = ["prlimit", f"--cpu={START_PROCESSOR_SECONDS}:", "--core=0:", *command]
        self.process = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        stderr=subprocess.DEVNULL, text=True, env=environment)
        waiting = threading.Timer(START_SECONDS, self.process.kill)
        waiting.start()
        self.early = [int(p) for p in self.answer()[1:]]
        waiting.cancel()

    def answer(self):
        return self.process.stdout.readline().split()

    def ask(self, order):
        """Nothing if the program has ended."""
        try:
            self.process.stdin.write(order + "\n")
            self.process.stdin.flush()
        except BrokenPipeError:
            return []
        return self.answer()

    def end(self):
        try:
            self.process.stdin.close()
        except BrokenPipeError:
            pass
        self.process.wait()
        self.process.stdout.close()
        os.unlink(self.marks)


def tests_of(program):
    listed = subprocess.check_output([program, "--gtest_list_tests"], text=True,
                                     stdin=subprocess.DEVNULL)
    tests, suite = [], ""
    for line in listed.splitlines():
        word = line.split("#")[0].rstrip()
        if not line.startswith(" "):
            suite = word if word.endswith(".") else ""
        elif suite:
            tests.append(suite + word.strip())
    return tests


class Tests:
    """The tests of one program: how long each takes, and the points that it comes by."""

    TARGET = ""

    def __init__(self, copy, folder, shown, wanted="."):
        name = self.TARGET
        self.program = os.path.join(copy.build, folder, name)
        self.shown = shown  # how a person knows them
        self.wanted = wanted  # those whose names this is found in
        self.notes = os.path.join(copy.tree, f"reached-by-{name}.json")
        self.scratch = os.path.join(copy.tree, "scratch")
        os.makedirs(self.scratch, exist_ok=True)
        self.times = {}  # of processor and of the clock, in milliseconds
        self.reaching = collections.defaultdict(list)
        self.failing = []
        self.early = set()
        self.files = {p.number: p.file for p in copy.numbers.points}
        # For each test how many points of each file it comes by, and which files it served before.
        self.touched = {}
        self.served = collections.Counter()
        # Tests that failed with a change on, and then without it too.
        self.shaky = collections.Counter()

    def record(self, jobs):
        built = [os.stat(self.program).st_mtime_ns]
        noted = read_notes(self.notes)
        if noted.get("built") != built:
            noted = {"built": built, "tests": {}}
            tests = [t for t in tests_of(self.program) if re.search(self.wanted, t)]
            say(f"{self.shown}: looking where {len(tests)} tests come by")
            for done, (test, row) in enumerate(
                    in_parallel(jobs, tests, self.recorder), start=1):
                noted["tests"][test] = row
                if done % 500 == 0:
                    say(f"{self.shown}: looked at {done} of {len(tests)}")
            write_notes(self.notes, noted)
        for test, (status, processor, wall, reached) in noted["tests"].items():
            if status != 0:
                self.failing.append(test)
                continue
            self.times[test] = (processor, wall)
            self.touched[test] = collections.Counter(self.files.get(p) for p in reached)
            for point in reached:
                self.reaching[point].append(test)
        if self.failing:
            say(f"{len(self.failing)} tests fail without any change, and are not counted on: "
                + " ".join(self.failing[:20]))

    def recorder(self):
        server = Server(self.program, self.scratch)

        def do(test):
            answer = server.ask(f"record {RECORD_SECONDS} {RECORD_SECONDS} {test}")
            return [int(answer[1]), int(answer[2]), int(answer[3]), [int(p) for p in answer[4:]]]
        return do, server.end

    def judge(self, points, jobs):
        def worker():
            server = Server(self.program, self.scratch)
            return (lambda point: self.outcome(point, server)), server.end
        return in_parallel(jobs, points, worker)

    def outcome(self, point, server):
        tests = self.reaching.get(point.number, [])
        if not tests:
            return ("not reached", "", "", 0)
        left = sorted(tests, key=lambda t: self.dearness(t, point))
        while left:
            outcome, by, how, milliseconds = self.run(point.number, left, server)
            if outcome != "killed":
                return (outcome, by, how, milliseconds)
            if by not in left or self.holds_without(by, server):
                self.served[by, point.file] += 1
                return (outcome, by, how, milliseconds)
            # The machine may be too busy for it, or it fails now and then: it says nothing.
            self.shaky[by] += 1
            left = left[left.index(by) + 1:]
        return ("survived", "-", "-", milliseconds)

    def run(self, number, tests, server):
        order = f"run {number} " + " ".join(self.with_limits(t) for t in tests)
        if number not in self.early:
            answer = server.ask(order)
            return (answer[0], answer[1], answer[2], int(answer[3]))
        own = Server(self.program, self.scratch, number)
        answer = own.ask(order)
        own.end()
        # The program does not even start.
        return (answer[0], answer[1], answer[2], int(answer[3])) if answer else \
            ("killed", "start", "died", 0)

    def holds_without(self, test, server):
        return server.ask(f"run 0 {self.with_limits(test)}")[0] == "survived"

    def with_limits(self, test):
        """The seconds of processor time, and those in which nothing happens, after which the test
        counts as one that never ends."""
        limits = [LEAST_SECONDS + 4 * time // 1000 for time in self.times[test]]
        return f"{limits[0]} {limits[1]} {test}"

    def dearness(self, test, point):
        """The fastest first, those before others that are about the point's file, or that noticed
        other changes of it."""
        touched = self.touched[test]
        about = touched[point.file] / (sum(touched.values()) or 1)
        return (self.times[test][0] + 1) / (0.05 + about) / (1 + self.served[test, point.file])


class UnitTests(Tests):
    TARGET = "unit_tests"

    def __init__(self, copy):
        super().__init__(copy, "tests", "unit tests")

    def record(self, jobs):
        server = Server(self.program, self.scratch)
        self.early = set(server.early)
        server.end()
        super().record(jobs)
        # What is reached before the tests is theirs all the same: any of them may show it.
        for point in self.early:
            self.reaching[point] = list(self.times)


class WholeRuns(Tests):
    """The scenarios. Their lives are programs of their own, which have the change from their start."""

    TARGET = "machine_tests"

    def __init__(self, copy):
        super().__init__(copy, "tests/machine", "whole runs", "ScenarioRunsTest")
