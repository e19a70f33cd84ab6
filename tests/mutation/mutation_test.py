#!/usr/bin/python3
"""Tests of tools/mutate: a small source whose changes, and what they come to, are known."""

import contextlib
import io
import os
import subprocess
import sys
import tempfile
import unittest
import unittest.mock

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(os.path.dirname(HERE))
TOOL = os.path.join(ROOT, "tools", "mutate")
sys.path.insert(0, TOOL)

import copies  # noqa: E402
import marks  # noqa: E402
import points  # noqa: E402
import rewrite  # noqa: E402
import rooms  # noqa: E402

SAMPLE = os.path.join(HERE, "sample.cpp")
HARNESS = r"""
#include <cstdio>
namespace sample {
void show(const char* text) { std::puts(text); }
void show(int number) { std::printf("%d\n", number); }
void run();
}
int main() { sample::run(); }
"""
PLAIN = ("name", "locked", "one", "two", "7", "first", "second", "3", "2", "1", "0", "0", "1",
         "unlocked")


def read_sample():
    numbers = marks.Numbers()
    reader = copies.Reader(ROOT, numbers)
    reader.relative = lambda path: "sample.cpp" if path == SAMPLE else None
    source = points.SourceFile("sample.cpp", SAMPLE, numbers, reader.relative)
    source.find(reader.parse(os.path.relpath(SAMPLE, ROOT)))
    return numbers, source


class Built:
    """The copy of the sample with all its points, as a program; made once for all tests."""

    def __init__(self):
        self.numbers, source = read_sample()
        self.folder = tempfile.TemporaryDirectory()
        self.program = os.path.join(self.folder.name, "sample")
        self.text = rewrite.rewritten(source, set())
        for name, text in (("copy.cpp", self.text), ("harness.cpp", HARNESS)):
            with open(os.path.join(self.folder.name, name), "w", encoding="utf-8") as file:
                file.write(text)
        subprocess.run(["g++", "-std=c++20", "-O0", "-Wall", "-Wextra", "-Werror", "-I", ROOT,
                        os.path.join(self.folder.name, "copy.cpp"),
                        os.path.join(self.folder.name, "harness.cpp"),
                        os.path.join(TOOL, "Mutant.cpp"), "-o", self.program], check=True)

    def printed(self, point=0):
        done = subprocess.run([self.program], env={"MUTANT": str(point)}, capture_output=True,
                              text=True)
        return ("died",) if done.returncode else tuple(done.stdout.split("\n")[:-1])

    def number(self, operator, detail):
        found = [p.number for p in self.numbers.points
                 if (p.operator, p.detail) == (operator, detail)]
        assert len(found) == 1, (operator, detail, found)
        return found[0]


class PointsTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.built = Built()

    @classmethod
    def tearDownClass(cls):
        cls.built.folder.cleanup()

    def changed(self, operator, detail):
        return self.built.printed(self.built.number(operator, detail))

    def with_line(self, index, *lines):
        return PLAIN[:index] + lines + PLAIN[index + 1:]

    def test_without_a_change_the_copy_does_what_the_source_does(self):
        self.assertEqual(self.built.printed(), PLAIN)

    def test_lines_of_the_copy_are_those_of_the_source(self):
        body = self.built.text.split(f'#line 1 "{SAMPLE}"\n')[1]
        with open(SAMPLE, encoding="utf-8") as source:
            self.assertEqual(body.count("\n"), source.read().count("\n"))

    def test_comparison_is_changed(self):
        # The limit itself is the same by both ways.
        self.assertEqual(self.changed("compare", "<= for <"), PLAIN)
        self.assertEqual(self.changed("compare", ">= for <"), self.with_line(7, "7")[:8] +
                         ("3",) + PLAIN[9:])
        self.assertEqual(self.changed("compare", "!= for =="), self.with_line(12, "0"))

    def test_half_a_condition_is_changed(self):
        self.assertEqual(self.changed("condition", "true for value > 1"), self.with_line(10, "1"))
        self.assertEqual(self.changed("condition", "true for !open"), self.with_line(11, "1"))

    def test_call_is_dropped(self):
        self.assertEqual(self.changed("drop", 'call show("one");'), self.with_line(2))

    def test_assignment_is_dropped(self):
        self.assertEqual(self.changed("drop", "assignment sum += 2;"), self.with_line(4, "5"))

    def test_neighbours_are_exchanged(self):
        self.assertEqual(self.changed("order", 'show("two"); first'),
                         PLAIN[:2] + ("two", "one") + PLAIN[4:])

    def test_text_is_changed(self):
        self.assertEqual(self.changed("text", 'another end for "one"'), self.with_line(2, "on#"))

    def test_text_that_stands_in_a_constant_is_changed_where_it_is_used(self):
        self.assertEqual(self.changed("text", "another end for kName"), self.with_line(0, "nam#"))

    def test_text_in_a_table_is_changed(self):
        self.assertEqual(self.changed("text", 'another end for "second"'),
                         self.with_line(6, "secon#"))

    def test_constant_is_one_change_for_all_its_uses(self):
        self.assertEqual(self.changed("constant", "kLimit - 1"),
                         self.with_line(7, "2"))
        self.assertEqual(self.changed("constant", "kLimit + 1"), self.with_line(7, "4"))

    def test_arithmetic_is_changed(self):
        self.assertEqual(self.changed("arithmetic", "- for +"),
                         self.with_line(4, "-1")[:7] + ("-1",) + PLAIN[8:])

    def test_case_is_never_met(self):
        self.assertEqual(self.changed("case", "never 7"), self.with_line(12, "0"))

    def test_returned_value_is_changed(self):
        self.assertEqual(self.changed("return", "another for value"), self.with_line(8, "0"))

    def test_lock_is_removed(self):
        self.assertEqual(self.changed("lock", "removed"),
                         tuple(t for t in PLAIN if t not in ("locked", "unlocked")))

    def test_all_other_changes_show_but_for_those_that_cannot(self):
        unseen = {(p.operator, p.detail, p.source) for p in self.built.numbers.points
                  if self.built.printed(p.number) == PLAIN}
        self.assertEqual(unseen, {
            # The limit is the same by both ways.
            ("compare", "<= for <", "if (value < kLimit) return value;"),
            # Nothing comes to it.
            ("constant", "another for Answer::kNo", "return Answer::kNo;"),
            # Both print the same.
            ("order", "show(isBetween(2, true)); first", "show(isBetween(2, true));"),
            # 3 is above 1 as 2 is, 0 is not as 1 is not, and what is not above 1 need not be open.
            ("constant", "2 + 1", "show(isBetween(2, false));"),
            ("constant", "1 - 1", "show(isBetween(1, false));"),
            ("constant", "not false", "show(isBetween(1, false));"),
            # What is open is not between, wherever it is.
            ("constant", "2 - 1", "show(isBetween(2, true));"),
            ("constant", "2 + 1", "show(isBetween(2, true));"),
        })


class LeaveOutTest(unittest.TestCase):
    """What the compiler complains of is left out of the next copy."""

    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.copy = copies.Copies(self.folder.name)
        self.numbers, self.source = read_sample()
        self.copy.numbers = self.numbers
        self.copy.sources["service/sample.cpp"] = self.source
        self.copy.dropped["service/sample.cpp"] = set()
        os.makedirs(os.path.join(self.copy.tree, "service"))

    def tearDown(self):
        self.folder.cleanup()

    def complain_of(self, index):
        with contextlib.redirect_stderr(io.StringIO()):
            self.copy.leave_out(f"{self.folder.name}/service/sample.cpp:{index + 1}:1: error: no\n")

    def left_out(self):
        """The lines whose changes the copy no longer has."""
        return {p.source for p in self.copy.built_points()[1]}

    def test_changes_of_the_line_are_left_out(self):
        self.complain_of(self.source.lines.index("  if (value < kLimit) return value;"))
        self.assertEqual(self.left_out(), {"if (value < kLimit) return value;"})

    def test_complaint_about_the_end_of_a_function_is_about_the_last_change_ahead_of_it(self):
        function = self.source.lines.index("int limited(int value) {")
        end = self.source.lines.index("}", function)
        # The constant is used here and ahead of it, and is there until both uses are left out.
        self.complain_of(end)
        self.assertEqual(self.left_out(), set())
        self.complain_of(end)
        self.assertEqual(self.left_out(), {"if (value < kLimit) return value;",
                                           "constexpr int kLimit = 3;"})


class CopiesTest(unittest.TestCase):
    """The copy of a project that has a single source."""

    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        os.mkdir(os.path.join(self.folder.name, "service"))
        self.write("int f(int value) { return value + 1; }\n")

    def tearDown(self):
        self.folder.cleanup()

    def write(self, text):
        with open(os.path.join(self.folder.name, "service", "a.cpp"), "w",
                  encoding="utf-8") as file:
            file.write(text)
        marks.bytes_of.cache_clear()

    def made(self):
        """The numbers of the changes by their details, and whether the source had to be read."""
        copy = copies.Copies(self.folder.name)
        with unittest.mock.patch.object(copy, "read", side_effect=copy.read) as read:
            copy.make()
        return {p.detail: p.number for p in copy.built_points()[0]}, read.called, self.copied()

    def copied(self):
        path = os.path.join(self.folder.name, "build", "mutate", "service", "a.cpp")
        with open(path, encoding="utf-8") as file:
            return file.read()

    def test_source_that_is_as_it_was_is_not_read_again(self):
        first = self.made()
        self.assertEqual(first[:2], ({"- for +": 1, "1 - 1": 2, "1 + 1": 3}, True))
        self.assertEqual(self.made(), (first[0], False, first[2]))

    def test_source_that_was_changed_is_read_and_keeps_the_numbers_that_it_has(self):
        self.made()
        self.write("int f(int value) { return value + 2; }\n")
        self.assertEqual(self.made()[:2], ({"- for +": 4, "2 - 1": 5, "2 + 1": 6}, True))
        self.write("int f(int value) { return value + 1; }\n")
        self.assertEqual(self.made()[:2], ({"- for +": 1, "1 - 1": 2, "1 + 1": 3}, True))


class ListTest(unittest.TestCase):
    def setUp(self):
        self.maxDiff = None

    def listed(self, text):
        with tempfile.NamedTemporaryFile("w", suffix=".txt") as file:
            file.write(text)
            file.flush()
            return rooms.listed(file.name)

    def test_reason_may_take_several_lines(self):
        self.assertEqual(self.listed("# a comment\n\na.cpp | drop: x | y\n  one\n  two\n"),
                         {"a.cpp | drop: x | y": "one two"})

    def test_change_without_a_reason_is_refused(self):
        with self.assertRaises(SystemExit) as refused:
            self.listed("a.cpp | drop: x | y\nb.cpp | drop: x | y\n  why\n")
        self.assertIn("no reason for: a.cpp", str(refused.exception))


if __name__ == "__main__":
    unittest.main()
