#!/usr/bin/env bash
# Tests of the two lists' readers, TestFiles.cmake and TestScripts.cmake: files_test.sh TEST...
# CMAKE is the program that runs them. Each is shown what it must find, in a folder made up for it.
set -euo pipefail

here=$(dirname -- "$(readlink -f -- "${BASH_SOURCE[0]}")")
place=$(mktemp -d)
readonly here place cmake=${CMAKE:-cmake}
trap 'rm -rf -- "$place"' EXIT

fail() {
  printf '%s\n' "$1" "$said" >&2
  exit 1
}

# Writes a file of the place from the standard input.
write() {
  mkdir -p -- "$(dirname -- "$place/$1")"
  cat >"$place/$1"
}

# A program whose list of tests is the standard input; it is registered unless it is told otherwise.
write_program() {
  write list
  # shellcheck disable=SC2016  # its own argument
  printf '#!/bin/sh\ncp %q "${2#*json:}"\n' "$place/list" | write some_tests
  chmod +x -- "$place/some_tests"
  printf 'add_test(a "%s" "--part=1/1")\n' "$place/some_tests" | write CTestTestfile.cmake
}

# One entry of a list: entry NAME FILE LINE [RESULT].
entry() {
  printf '{\n  "name": "%s",\n  "file": "..\\/tests\\/unit\\/%s",\n  "line": %d,\n' "$1" "$2" "$3"
  if (($# > 3)); then printf '  "result": "%s",\n' "$4"; fi
  printf '},\n'
}

# Reads the program's list: read_files FILES [OPTION...].
read_files() {
  local files=$1
  shift
  status=0
  said=$("$cmake" -D PROGRAM="$place/some_tests" -D FILES="$files" \
    -D REGISTRY="$place/CTestTestfile.cmake" "$@" -P "$here/TestFiles.cmake" 2>&1) || status=$?
}

read_scripts() {
  status=0
  said=$("$cmake" -D FILES="$1" -D BUILD="$place" -P "$here/TestScripts.cmake" 2>&1) || status=$?
}

expect_nothing_found() { ((status == 0)) || fail "something was found"; }
expect_found() {
  ((status != 0)) || fail "nothing was found"
  [[ $said == *"$1"* ]] || fail "not found: $1"
}

readonly one_test=$'\nTEST(A, b) {\n  f();\n}\n'

test_tests_that_all_run_are_well() {
  { entry b ATest.cpp 2 && entry c/0 ATest.cpp 5 && entry c/1 ATest.cpp 5; } | write_program
  printf '%s\nTEST_P(A, c) { f(); }\n' "$one_test" | write tests/unit/ATest.cpp
  read_files "$place/tests/unit/ATest.cpp"
  expect_nothing_found
}

test_a_file_that_an_if_leaves_out_is_found() {
  entry b ATest.cpp 2 | write_program
  printf '%s' "$one_test" | write tests/unit/ATest.cpp
  printf '#if 0\n%s#endif\n' "$one_test" | write tests/unit/BTest.cpp
  read_files "$place/tests/unit/ATest.cpp|$place/tests/unit/BTest.cpp"
  expect_found "BTest.cpp: none of its tests runs"
}

test_parameters_that_are_not_given_are_found() {
  entry b ATest.cpp 2 | write_program
  printf '%s\nTEST_P(A, c) {\n}\n' "$one_test" | write tests/unit/ATest.cpp
  read_files "$place/tests/unit/ATest.cpp"
  expect_found "ATest.cpp: holds 2 tests, of which 1 run"
}

test_a_disabled_test_is_found() {
  entry DISABLED_b ATest.cpp 2 | write_program
  printf '%s' "$one_test" | write tests/unit/ATest.cpp
  read_files "$place/tests/unit/ATest.cpp"
  expect_found "DISABLED_b is disabled"
}

test_a_disabled_suite_is_found() {
  entry Table/DISABLED_A ATest.cpp 2 | write_program
  printf '%s' "$one_test" | write tests/unit/ATest.cpp
  read_files "$place/tests/unit/ATest.cpp"
  expect_found "DISABLED_A is disabled"
}

test_a_program_that_nobody_starts_is_found() {
  entry b ATest.cpp 2 | write_program
  printf 'add_test(a "%s_too")\n' "$place/some_tests" | write CTestTestfile.cmake
  printf '%s' "$one_test" | write tests/unit/ATest.cpp
  read_files "$place/tests/unit/ATest.cpp"
  expect_found "some_tests is no test of this build"
}

test_a_program_whose_tests_are_discovered_is_well() {
  entry b ATest.cpp 2 | write_program
  printf 'include("%s/some_tests[1]_include.cmake")\n' "$place" | write CTestTestfile.cmake
  printf '%s' "$one_test" | write tests/unit/ATest.cpp
  read_files "$place/tests/unit/ATest.cpp"
  expect_nothing_found
}

test_a_program_that_fails_is_found() {
  entry b ATest.cpp 2 | write_program
  printf '#!/bin/sh\nexit 3\n' >"$place/some_tests"
  printf '%s' "$one_test" | write tests/unit/ATest.cpp
  read_files "$place/tests/unit/ATest.cpp"
  expect_found "3"
}

test_of_a_run_one_test_of_each_file_is_enough() {
  { entry b ATest.cpp 2 COMPLETED && entry c ATest.cpp 5 SUPPRESSED; } | write_program
  printf '%s%s' "$one_test" "$one_test" | write tests/unit/ATest.cpp
  read_files "$place/tests/unit/ATest.cpp" -D RESULTS="$place/list"
  expect_nothing_found
}

test_of_a_run_skipped_tests_do_not_count() {
  { entry b ATest.cpp 2 SKIPPED && entry b BTest.cpp 2 COMPLETED; } | write_program
  printf '%s' "$one_test" | write tests/unit/ATest.cpp
  read_files "$place/tests/unit/ATest.cpp" -D RESULTS="$place/list"
  expect_found "ATest.cpp: none of its tests runs"
}

test_a_script_that_no_test_starts_is_found() {
  printf 'add_test(a "bash" "%s/b_test.sh")\n' "$place" | write CTestTestfile.cmake
  printf 'true\n' | write a_test.sh
  printf 'true\n' | write b_test.sh
  read_scripts "$place/a_test.sh|$place/b_test.sh"
  expect_found "a_test.sh: no test starts it"
  [[ $said != *b_test* ]] || fail "b_test.sh is a test"
}

test_a_function_that_is_no_test_is_found() {
  printf 'add_test(a "bash" "%s/a_test.sh" "one")\n' "$place" | write sub/CTestTestfile.cmake
  # shellcheck disable=SC2016  # the script's own argument
  printf 'test_one() {\n}\ntest_of_2() {\n}\n"test_$1"\n' | sed '1i # functions' | write a_test.sh
  read_scripts "$place/a_test.sh"
  expect_found "a_test.sh: test_of_2 is no test of this build"
  [[ $said != *test_one* ]] || fail "test_one is a test"
}

test_a_script_without_a_test_is_found() {
  printf 'add_test(a "%s/a_test.py")\n' "$place" | write CTestTestfile.cmake
  printf 'print(1)\n' | write a_test.py
  read_scripts "$place/a_test.py"
  expect_found "a_test.py: holds no test"
}

for name in "$@"; do "test_$name"; done
