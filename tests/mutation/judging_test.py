#!/usr/bin/python3
"""Tests of how tools/mutate judges: what it asks the test programs, what it keeps, what it tells."""

import contextlib
import io
import os
import subprocess
import sys
import tempfile
import types
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(os.path.dirname(HERE))
sys.path.insert(0, os.path.join(ROOT, "tools", "mutate"))

import marks  # noqa: E402
import mutate  # noqa: E402
import report  # noqa: E402
import running  # noqa: E402


def a_point(file="service/a.cpp", detail="call a();"):
    return marks.Point(1, file, 1, "drop", detail, "a();")


class NumbersTest(unittest.TestCase):
    def numbered(self, given, *details):
        numbers = marks.Numbers(given)
        return [numbers.new("a.cpp", 1, "drop", d, "a();") for d in details], numbers

    def test_change_keeps_its_number_when_others_come_and_go(self):
        first, numbers = self.numbered(None, "one", "two", "three")
        self.assertEqual(first, [1, 2, 3])
        again, _ = self.numbered(numbers.given, "new", "three", "one")
        self.assertEqual(again, [4, 3, 1])

    def test_changes_of_one_text_are_told_apart_by_their_turn(self):
        found, numbers = self.numbered(None, "one", "one")
        self.assertEqual(found, [1, 2])
        self.assertEqual([p.key() for p in numbers.points],
                         ["a.cpp | drop: one | a();", "a.cpp | drop: one #1 | a();"])

    def test_number_for_which_there_is_no_room_is_refused(self):
        with self.assertRaises(SystemExit):
            self.numbered({"x": marks.MOST_POINTS}, "one")


class FakeServer:
    """Answers as if `failing` failed with any change on, and `always` without one too."""

    def __init__(self, failing, always=()):
        self.failing = failing
        self.always = always
        self.orders = []

    def ask(self, order):
        self.orders.append(order)
        _, point, *rest = order.split()
        for test in rest[2::3]:
            if test in self.always or (test in self.failing and point != "0"):
                return ["killed", test, "failed", "5"]
        return ["survived", "-", "-", "5"]


class OutcomeTest(unittest.TestCase):
    def setUp(self):
        self.tree = tempfile.TemporaryDirectory()
        self.point = a_point()
        copy = types.SimpleNamespace(build="", tree=self.tree.name,
                                     numbers=types.SimpleNamespace(points=[self.point]))
        self.tests = running.Tests(copy, "tests", "some tests")
        for test, times in (("A.slow", (300, 2900)), ("A.fast", (3, 4)), ("A.middle", (30, 40))):
            self.tests.times[test] = times
            self.tests.touched[test] = {"service/a.cpp": 1}
            self.tests.reaching[1].append(test)

    def tearDown(self):
        self.tree.cleanup()

    def outcome(self, server):
        return self.tests.outcome(self.point, server)

    def test_fastest_come_first_each_with_its_limits(self):
        server = FakeServer([])
        self.assertEqual(self.outcome(server), ("survived", "-", "-", 5))
        self.assertEqual(server.orders, ["run 1 2 2 A.fast 2 2 A.middle 3 13 A.slow"])

    def test_failure_is_believed_when_the_test_holds_without_the_change(self):
        server = FakeServer(["A.middle"])
        self.assertEqual(self.outcome(server), ("killed", "A.middle", "failed", 5))
        self.assertEqual(server.orders[1:], ["run 0 2 2 A.middle"])

    def test_failure_that_comes_without_the_change_too_says_nothing(self):
        server = FakeServer(["A.slow"], ["A.middle"])
        self.assertEqual(self.outcome(server), ("killed", "A.slow", "failed", 5))
        self.assertEqual(server.orders[2:], ["run 1 3 13 A.slow", "run 0 3 13 A.slow"])
        self.assertEqual(self.tests.shaky, {"A.middle": 1})

    def test_last_test_that_fails_without_the_change_too_leaves_it_unnoticed(self):
        self.assertEqual(self.outcome(FakeServer([], ["A.slow"])), ("survived", "-", "-", 5))

    def test_change_that_no_test_comes_by_is_not_reached(self):
        self.tests.reaching.clear()
        self.assertEqual(self.outcome(FakeServer(["A.fast"])), ("not reached", "", "", 0))


class ResultsTest(unittest.TestCase):
    def setUp(self):
        self.root = tempfile.TemporaryDirectory()
        os.mkdir(os.path.join(self.root.name, "service"))
        self.write("a();")
        self.point = a_point()

    def tearDown(self):
        self.root.cleanup()

    def write(self, text):
        with open(os.path.join(self.root.name, "service", "a.cpp"), "w", encoding="utf-8") as file:
            file.write(text)

    def results(self):
        return mutate.Results(self.root.name, os.path.join(self.root.name, "results.json"))

    def outcome(self, results):
        return results.get(self.point)["outcome"]

    def test_what_was_found_is_there_in_the_next_run(self):
        results = self.results()
        results.put(self.point, "unit tests", "killed", "A.b", "failed", 7)
        results.save()
        self.assertEqual(self.outcome(self.results()), "killed")

    def test_what_was_found_holds_for_one_text_of_the_source(self):
        results = self.results()
        results.put(self.point, "unit tests", "killed", "A.b", "failed", 7)
        results.save()
        self.write("b();")
        self.assertIsNone(self.results().get(self.point))

    def test_survivor_of_some_tests_has_still_to_meet_the_others(self):
        results = self.results()
        results.put(self.point, "unit tests", "survived", "-", "-", 7)
        self.assertTrue(results.has_met(self.point, "unit tests"))
        self.assertFalse(results.has_met(self.point, "whole runs"))
        results.put(self.point, "whole runs", "killed", "S.x", "failed", 7)
        self.assertEqual(self.outcome(results), "killed")

    def test_what_was_noticed_need_not_meet_the_others(self):
        results = self.results()
        results.put(self.point, "unit tests", "killed", "A.b", "failed", 7)
        self.assertTrue(results.has_met(self.point, "whole runs"))

    def test_change_that_some_tests_came_by_is_reached(self):
        results = self.results()
        results.put(self.point, "unit tests", "survived", "-", "-", 7)
        results.put(self.point, "whole runs", "not reached", "", "", 0)
        self.assertEqual(self.outcome(results), "survived")


class ReportTest(unittest.TestCase):
    def setUp(self):
        self.root = tempfile.TemporaryDirectory()
        os.makedirs(os.path.join(self.root.name, "tools", "mutate"))
        os.makedirs(os.path.join(self.root.name, "build", "mutate"))
        self.outcomes = {}
        self.points = []

    def tearDown(self):
        self.root.cleanup()

    def add(self, file, outcome, count=1):
        for _ in range(count):
            point = a_point(file, f"call {len(self.points)}();")
            self.points.append(point)
            if outcome is not None:
                self.outcomes[point.key()] = {"outcome": outcome}

    def told(self, equal=""):
        """The exit status, the lines, and the complaints."""
        with open(os.path.join(self.root.name, "tools/mutate/equal.txt"), "w",
                  encoding="utf-8") as file:
            file.write(equal)
        results = types.SimpleNamespace(get=lambda p: self.outcomes.get(p.key()))
        out, complaints = io.StringIO(), io.StringIO()
        with contextlib.redirect_stdout(out), contextlib.redirect_stderr(complaints):
            status = report.show(self.root.name, self.points, [], results, [])
        return status, out.getvalue().split("\n"), complaints.getvalue()

    def test_table_has_the_heart_ahead_of_the_rooms(self):
        self.add("client/a.cpp", "killed", 19)
        self.add("client/a.cpp", "survived")
        self.add("service/EnrollmentLoop.cpp", "killed", 3)
        self.add("service/EnrollmentLoop.cpp", None)
        status, lines, _ = self.told()
        self.assertEqual(lines[2:5], ["| loop | 4 | 3 | 3 | 0 | 0 | 100.0 % |",
                                      "| client | 20 | 20 | 19 | 0 | 1 | 95.0 % |",
                                      "| all | 24 | 23 | 22 | 0 | 1 | 95.7 % |"])
        self.assertEqual(status, 0)

    def test_heart_has_to_notice_more(self):
        self.add("service/EnrollmentLoop.cpp", "killed", 19)
        self.add("service/EnrollmentLoop.cpp", "not reached")
        self.assertEqual(self.told()[0], 1)

    def test_room_of_which_nothing_was_judged_has_no_score_and_is_not_enough(self):
        self.add("client/a.cpp", "killed")
        self.add("task/a.cpp", None)
        status, lines, _ = self.told()
        self.assertEqual(lines[2:4], ["| client | 1 | 1 | 1 | 0 | 0 | 100.0 % |",
                                      "| task | 1 | 0 | 0 | 0 | 0 | |"])
        self.assertEqual(status, 1)

    def test_what_is_listed_as_equal_does_not_count(self):
        self.add("client/a.cpp", "killed")
        self.add("client/a.cpp", "survived")
        status, lines, complaints = self.told(f"{self.points[1].key()}\n  why\n")
        self.assertEqual(lines[2], "| client | 2 | 2 | 1 | 1 | 0 | 100.0 % |")
        self.assertEqual((status, complaints), (0, ""))

    def test_reason_that_is_none_is_told_and_fails(self):
        self.add("client/a.cpp", "killed")
        status, _, complaints = self.told(f"{self.points[0].key()}\n  why\n"
                                     "client/a.cpp | drop: gone | x\n  why\n"
                                     "task/not_asked_for.cpp | drop: x | x\n  why\n")
        self.assertEqual(complaints.split("\n"),
                         [f"listed as equal, and yet noticed: {self.points[0].key()}",
                          "listed as equal, and there is no such change: "
                          "client/a.cpp | drop: gone | x", ""])
        self.assertEqual(status, 1)


class RunnerTest(unittest.TestCase):
    """The entry of the test programs, with a few tests that behave in ways of their own."""

    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.program = os.path.join(cls.folder.name, "tests")
        sources = [os.path.join(ROOT, "tools", "mutate", name) for name in (
            "Runner.cpp", "TestProcess.cpp", "ProcessTree.cpp", "Mutant.cpp")]
        subprocess.run(["g++", "-std=c++20", "-O0", "-I", ROOT, "-o", cls.program,
                        os.path.join(HERE, "runner_sample.cpp"), *sources,
                        "-lgmock", "-lgtest", "-lpthread"], check=True)

    @classmethod
    def tearDownClass(cls):
        cls.folder.cleanup()

    def setUp(self):
        self.server = running.Server(self.program, self.folder.name)

    def tearDown(self):
        self.server.end()

    def run_order(self, test, point=0, processor=5, idle=5):
        return self.server.ask(f"run {point} {processor} {idle} Sample.{test}")[:3]

    def test_test_that_holds_survives(self):
        self.assertEqual(self.run_order("comesByPointSeven"), ["survived", "-", "-"])

    def test_test_that_fails_with_the_change_on_kills(self):
        self.assertEqual(self.run_order("comesByPointSeven", 7),
                         ["killed", "Sample.comesByPointSeven", "failed"])

    def test_points_that_a_test_comes_by_are_told(self):
        answer = self.server.ask("record 5 5 Sample.comesByPointSeven")
        self.assertEqual((answer[0], answer[1], answer[4:]), ("reached", "0", ["7"]))

    def test_points_reached_ahead_of_all_tests_are_early(self):
        self.assertEqual(self.server.early, [3])

    def test_test_that_dies_tells_of_what(self):
        self.assertEqual(self.run_order("dies"), ["killed", "Sample.dies", "signal-6"])

    def test_test_that_spins_is_ended_by_its_processor_time(self):
        self.assertEqual(self.run_order("spins", processor=1),
                         ["killed", "Sample.spins", "timeout"])

    def test_test_that_waits_for_ever_is_ended_when_nothing_happens(self):
        self.assertEqual(self.run_order("waitsForEver", idle=0),
                         ["killed", "Sample.waitsForEver", "timeout"])

    def test_test_whose_child_works_is_waited_for(self):
        self.assertEqual(self.run_order("hasAChildThatWorks", idle=0), ["survived", "-", "-"])

    def test_process_that_a_test_leaves_behind_is_ended(self):
        left = os.path.join(self.folder.name, "left")
        os.environ["LEFT"] = left
        server = running.Server(self.program, self.folder.name)
        self.assertEqual(server.ask("run 0 5 5 Sample.leavesAChild")[0], "survived")
        with open(left, encoding="utf-8") as file:
            process = int(file.read())
        self.assertFalse(os.path.exists(f"/proc/{process}"))
        server.end()

    def test_program_that_does_not_start_with_the_change_answers_nothing(self):
        server = running.Server(self.program, self.folder.name, 3)
        self.assertEqual(server.ask("run 3 5 5 Sample.comesByPointSeven"), [])
        server.end()


if __name__ == "__main__":
    unittest.main()
