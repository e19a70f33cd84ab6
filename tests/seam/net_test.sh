#!/usr/bin/env bash
# Tests of how planted faults are caught, tests/planted/net.sh: net_test.sh TEST...
# Each plants its own in a folder made up for it, where small scripts stand for the programs.
set -euo pipefail

here=$(dirname -- "$(readlink -f -- "${BASH_SOURCE[0]}")")
place=$(mktemp -d)
readonly here place
trap 'rm -rf -- "$place"' EXIT

fail() {
  printf '%s\n' "$1" "$said" >&2
  exit 1
}

# A program of the place, from the standard input.
write_program() {
  mkdir -p -- "$(dirname -- "$place/$1")"
  { printf '#!/usr/bin/env bash\n' && cat; } >"$place/$1"
  chmod +x -- "$place/$1"
}

# A program with two tests of which those named fail. As the genuine one keeps state for its whole
# process, the second test of a process fails in any case.
write_unit_tests() {
  write_program "$1" <<END
if [[ \$1 == --gtest_list_tests ]]; then
  printf 'Note: no test\nA.\n  one\nB/0.  # TypeParam = int\n  two  # GetParam() = 2\n'
  exit
fi
name=\${1#*=}
printf '[ RUN      ] %s\n' "\$name"
if [[ \$name == *'*'* || " $2 " == *" \$name "* ]]; then
  printf '[  FAILED  ] %s (0 ms)\n' "\$name"
  exit 1
fi
END
}

# Has the net catch the faults of a list: lines of name, program, kind and what is to catch it.
cast_net() {
  mkdir -p -- "$place/tests/planted"
  write_program bin/cmake <<<'exit 0'
  printf '%s\t%s\t%s\t%s\n' "$@" >"$place/tests/planted/faults.txt"
  status=0
  said=$(PATH="$place/bin:$PATH" bash "$here/../planted/net.sh" "$place" 2>&1 </dev/null) ||
    status=$?
}

expect() {
  [[ $status == "$1" ]] || fail "exit status is $status and not $1"
  [[ $said == *"$2"* ]] || fail "not told: $2"
}

test_unit_test_that_fails_by_itself_catches() {
  write_unit_tests tests/unit_tests ''
  write_unit_tests faulty B/0.two
  cast_net a "$place/faulty" 'wrong text' 'unit *'
  expect 0 '| a | wrong text | unit * | '
  expect 0 ' | B/0.two |'
}

test_thread_tests_run_one_by_one_too() {
  write_unit_tests tests/threads/thread_tests ''
  write_unit_tests faulty B/0.two
  cast_net a "$place/faulty" 'removed lock' 'threads *'
  expect 0 ' | B/0.two |'
}

test_unit_test_that_fails_beside_others_alone_catches_nothing() {
  write_unit_tests tests/unit_tests ''
  write_unit_tests faulty ''
  cast_net a "$place/faulty" 'wrong text' 'unit *'
  expect 1 '| a | wrong text | unit * | not caught | |'
}

test_unit_test_that_fails_without_the_fault_catches_nothing() {
  write_unit_tests tests/unit_tests 'A.one'
  write_unit_tests faulty 'A.one B/0.two'
  cast_net a "$place/faulty" 'wrong text' 'unit *'
  expect 1 '| a | wrong text | unit * | without the fault too | |'
}

test_scenario_that_fails_without_the_fault_catches_nothing() {
  write_program TPMEnrollmentService <<<''
  write_program tests/planted/catch <<'END'
[[ $1 == */faulty || $3 == broken ]] || exit 1
printf 'another line\n'
END
  cast_net a "$place/faulty" 'lost stop' 'scenario whole' b "$place/faulty" 'lost stop' \
    'scenario broken' c "$place/sound" 'lost stop' 'scenario whole'
  expect 1 ' | another line |'
  expect 1 '| b | lost stop | scenario broken | without the fault too | |'
  expect 1 '| c | lost stop | scenario whole | not caught | |'
}

test_program_without_a_fault_that_is_not_built_is_told() {
  write_unit_tests faulty A.one
  cast_net a "$place/faulty" 'wrong text' 'unit *'
  expect 1 "net: $place/tests/unit_tests is not built"
}

for name in "$@"; do "test_$name"; done
