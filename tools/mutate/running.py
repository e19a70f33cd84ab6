"""Runs tests with one change on. Which tests come by a change is recorded once for a build."""

import collections
import json
import os
import queue
import signal
import subprocess
import tempfile
import threading

from copies import say

MOST_MARKS = 1 << 16
LEAST_SECONDS = 2
RECORD_SECONDS = 60


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
    """The unit tests' program, which runs what it is told in a process forked for it."""

    def __init__(self, program, scratch, point=0):
        handle, self.marks = tempfile.mkstemp(dir=scratch)
        os.truncate(handle, MOST_MARKS)
        os.close(handle)
        environment = dict(os.environ, MUTANT_MARKS=self.marks, TMPDIR=scratch)
        if point:
            environment["MUTANT"] = str(point)
        self.process = subprocess.Popen([program, "--serve"], stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                                        text=True, env=environment, start_new_session=True)
        self.early = [int(p) for p in self.answer()[1:]]

    def answer(self):
        return self.process.stdout.readline().split()

    def ask(self, order):
        try:
            self.process.stdin.write(order + "\n")
            self.process.stdin.flush()
        except BrokenPipeError:
            return []
        return self.answer()

    def end(self):
        self.process.stdin.close()
        self.process.wait()
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

    def __init__(self, copy, name, folder):
        self.program = os.path.join(copy.build, folder, name)
        self.notes = os.path.join(copy.tree, f"reached-by-{name}.json")
        self.scratch = os.path.join(copy.tree, "scratch")
        os.makedirs(self.scratch, exist_ok=True)
        self.milliseconds = {}
        self.reaching = collections.defaultdict(list)
        self.failing = []
        self.files = {p.number: p.file for p in copy.numbers.points}
        # For each test how many points of each file it comes by, and which files it served before.
        self.touched = {}
        self.served = collections.Counter()

    def record(self, jobs):
        built = [os.stat(self.program).st_mtime_ns]
        noted = json.load(open(self.notes, encoding="utf-8")) if os.path.exists(self.notes) else {}
        if noted.get("built") != built:
            noted = {"built": built, "tests": {}}
            tests = tests_of(self.program)
            say(f"looking where {len(tests)} tests of {os.path.basename(self.program)} come by")
            for done, (test, row) in enumerate(
                    in_parallel(jobs, tests, self.recorder), start=1):
                noted["tests"][test] = row
                if done % 500 == 0:
                    say(f"looked at {done} of {len(tests)} tests")
            with open(self.notes, "w", encoding="utf-8") as file:
                json.dump(noted, file)
        for test, (status, milliseconds, reached) in noted["tests"].items():
            if status != 0:
                self.failing.append(test)
                continue
            self.milliseconds[test] = milliseconds
            self.touched[test] = collections.Counter(self.files[p] for p in reached)
            for point in reached:
                self.reaching[point].append(test)
        if self.failing:
            say(f"{len(self.failing)} tests fail without any change, and are not counted on: "
                + " ".join(self.failing[:20]))

    def judge(self, points, jobs):
        def worker():
            do, end = self.judger()
            return (lambda point: self.outcome(point, do)), end
        return in_parallel(jobs, points, worker)

    def outcome(self, point, do):
        tests = self.reaching.get(point.number, [])
        if not tests:
            return ("not reached", "", "", 0)
        outcome = do(point.number, sorted(tests, key=lambda t: self.dearness(t, point)))
        if outcome[0] == "killed":
            self.served[outcome[1], point.file] += 1
        return outcome

    def limit(self, test):
        """The seconds of processor time after which the test counts as one that never ends."""
        return LEAST_SECONDS + 4 * self.milliseconds[test] // 1000

    def dearness(self, test, point):
        """The fastest first, those before others that are about the point's file, or that noticed
        other changes of it."""
        touched = self.touched[test]
        about = touched[point.file] / (sum(touched.values()) or 1)
        return (self.milliseconds[test] + 1) / (0.05 + about) / (1 + self.served[test, point.file])


class UnitTests(Tests):
    def __init__(self, copy):
        super().__init__(copy, "unit_tests", "tests")
        self.early = set()

    def record(self, jobs):
        server = Server(self.program, self.scratch)
        self.early = set(server.early)
        server.end()
        super().record(jobs)
        # What is reached before the tests is theirs all the same: any of them may show it.
        for point in self.early:
            self.reaching[point] = list(self.milliseconds)

    def recorder(self):
        server = Server(self.program, self.scratch)

        def do(test):
            answer = server.ask(f"record {RECORD_SECONDS} {test}")
            return [int(answer[1]), int(answer[2]), [int(p) for p in answer[3:]]]
        return do, server.end

    def judger(self):
        server = Server(self.program, self.scratch)

        def do(point, tests):
            order = f"run {point} " + " ".join(f"{self.limit(t)} {t}" for t in tests)
            if point in self.early:
                own = Server(self.program, self.scratch, point)
                answer = own.ask(order)
                own.end()
                # The program does not even start.
                if not answer:
                    return ("killed", "start", "died", 0)
            else:
                answer = server.ask(order)
            return (answer[0], answer[1], answer[2], int(answer[3]))
        return do, server.end


class MachineTests(Tests):
    def __init__(self, copy):
        super().__init__(copy, "machine_tests", "tests/machine")

    def run(self, test, seconds, **environment):
        """The status; None if it had to be ended."""
        process = subprocess.Popen(
            [self.program, f"--gtest_filter={test}"], stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, start_new_session=True,
            env=dict(os.environ, TMPDIR=self.scratch, **environment))
        try:
            return process.wait(timeout=seconds)
        except subprocess.TimeoutExpired:
            return None
        finally:
            try:
                os.killpg(process.pid, signal.SIGKILL)
            except ProcessLookupError:
                pass
            process.wait()

    def recorder(self):
        handle, marks = tempfile.mkstemp(dir=self.scratch)
        os.close(handle)

        def do(test):
            with open(marks, "wb") as file:
                file.truncate(MOST_MARKS)
            began = os.times().elapsed
            status = self.run(test, RECORD_SECONDS, MUTANT_MARKS=marks)
            took = int((os.times().elapsed - began) * 1000)
            reached = [i for i, mark in enumerate(open(marks, "rb").read()) if mark]
            return [-1 if status is None else status, took, reached]
        return do, lambda: os.unlink(marks)

    def judger(self):
        def do(point, tests):
            for test in tests:
                status = self.run(test, 8 * self.limit(test), MUTANT=str(point))
                if status != 0:
                    return ("killed", test, "timeout" if status is None else "failed", 0)
            return ("survived", "-", "-", 0)
        return do, lambda: None
