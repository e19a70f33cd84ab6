#!/usr/bin/env bash
# Tests of the script for chores: dev_test.sh [NAME...] runs the named tests, or all of them.
# Each runs a copy of the script in a folder of its own, where a few stub commands stand in for the
# package manager, the build and the test tools. They write down how they were called.
set -euo pipefail

script=$(readlink -f -- "${BASH_SOURCE[0]}")
original=$(dirname -- "$script")/../../dev
place=$(mktemp -d)
trap 'rm -rf -- "$place"' EXIT

# --- the stage ----------------------------------------------------------------------------------

# Makes a command for the script to find; its text comes from the standard input. The name may be
# a link to the machine's own tool, which must not be written through.
stub() {
  rm -f -- "$place/bin/$1"
  {
    printf '#!/bin/bash\n'
    printf 'printf "%%s\\n" "%s $*" >>"%s/calls"\n' "$1" "$place"
    cat
  } >"$place/bin/$1"
  chmod +x "$place/bin/$1"
}

# Sets the stage: a checkout with the script, all packages installed, a build that succeeds, and
# nothing else on the path but ordinary tools.
setup() {
  rm -rf -- "${place:?}"/*
  mkdir "$place/bin" "$place/checkout" "$place/elsewhere"
  cp -- "$original" "$place/checkout/dev"
  : >"$place/calls"
  local tool path
  for tool in awk bash cat chmod cp dirname env find flock grep id mkdir mktemp mv nproc readlink \
    rm sed sleep sort tail touch xargs; do
    if path=$(command -v "$tool"); then ln -s -- "$path" "$place/bin/$tool"; fi
  done
  # Knows all packages, but those in the file `missing`.
  stub dpkg-query <<END
shift 3
for package in "\$@"; do
  grep -qsxF "\$package" "$place/missing" || printf '%s installed\n' "\$package"
done
END
  stub cmake <<END
if [[ \$1 == --build ]]; then
  if grep -qsxF "\$2" "$place/broken"; then
    printf '[1/2] a.cpp\nFAILED: b.cpp\nb.cpp:1: error: oh\n'
    exit 1
  fi
  printf '[1/2] Building a.cpp\n[2/2] Linking a\n'
else
  mkdir -p "build/\$2"
  printf 'CMAKE_HOME_DIRECTORY:INTERNAL=%s\n' "\$PWD" >"build/\$2/CMakeCache.txt"
fi
END
  stub ctest <<'END'
printf '      Start  1: A.one\n1/2 Test  #1: A.one ..........   Passed    0.00 sec\n'
printf '2/2 Test  #2: A.two ..........   Passed    0.00 sec\n'
printf '\n100%% tests passed, 0 tests failed out of 2\n'
END
}

# Runs the script as a caller would, in another folder, with no input; leaves its exit status in
# `status`, and what it printed in the files `out` and `err`.
dev() {
  status=0
  (cd -- "$place/elsewhere" && env -i PATH="$place/bin" TMPDIR="$place" CI=true \
    bash "$place/checkout/dev" "$@" >"$place/out" 2>"$place/err" </dev/null) || status=$?
}

# Makes apt-get a command that does what it is asked.
working_apt() {
  stub apt-get <<END
for word in "\$@"; do [[ \$word == install ]] && : >"$place/missing"; done
exit 0
END
}

give_up() {
  printf 'FAILED: %s\n' "$1"
  printf -- '--- standard output:\n%s\n' "$(cat "$place/out")"
  printf -- '--- standard error:\n%s\n' "$(cat "$place/err")"
  printf -- '--- calls:\n%s\n' "$(cat "$place/calls")"
  exit 1
}

expect_status() { [[ $status == "$1" ]] || give_up "exit status is $status and not $1"; }
expect_in() { grep -qF -- "$2" "$place/$1" || give_up "not in $1: $2"; }
expect_not_in() { if grep -qF -- "$2" "$place/$1"; then give_up "should not be in $1: $2"; fi; }
expect_empty() { [[ ! -s $place/$1 ]] || give_up "$1 is not empty"; }
expect_no_leftovers() {
  [[ -z $(find "$place" -mindepth 1 -maxdepth 1 -name 'tmp.*') ]] ||
    give_up 'a temporary folder was left'
}
expect_last_line() {
  [[ $(tail -n 1 "$place/out") == "$1" ]] || give_up "the last line is not: $1"
}

# --- the stage itself ---------------------------------------------------------------------------

test_stub_replaces_a_link_and_leaves_its_target_alone() {
  printf 'own tool\n' >"$place/tool"
  ln -s -- "$place/tool" "$place/bin/tool"
  stub tool <<<'exit 0'
  [[ $(cat "$place/tool") == 'own tool' ]] || give_up 'the target was written through the link'
}

# --- help and misuse ----------------------------------------------------------------------------

test_help_names_every_verb() {
  dev help
  expect_status 0
  expect_empty err
  local verb
  for verb in run test wine build sweep simulate proof bench package coverage fuzz net allocations \
    threads valgrind mutate lint format clean help; do
    expect_in out "  $verb "
  done
}

test_no_verb_is_misuse() {
  dev
  expect_status 2
  expect_empty out
  expect_in err 'usage: ./dev VERB'
}

test_unknown_verb_is_misuse() {
  dev fly
  expect_status 2
  expect_empty out
  expect_in err 'no such verb: fly'
  expect_in err 'usage: ./dev VERB'
}

test_unknown_arguments_are_misuse() {
  local verb
  for verb in test bench lint format clean help; do
    dev "$verb" --fast
    expect_status 2
    expect_empty out
    expect_in err "$verb takes no argument, but got: --fast"
    expect_in err 'usage: ./dev VERB'
  done
  expect_empty calls
}

test_proof_takes_three_numbers() {
  dev proof many
  expect_status 2
  expect_in err 'proof takes numbers, not: many'
  dev proof 10 1 5 7
  expect_status 2
  expect_in err 'proof takes three numbers at most, but got also: 7'
  expect_empty calls
}

test_unknown_preset_is_misuse() {
  for preset in fast --fast 'debug release'; do
    dev build "$preset"
    expect_status 2
    expect_in err "no such preset: $preset"
    expect_in err 'usage: ./dev VERB'
  done
  dev build debug release
  expect_status 2
  expect_empty calls
}

# --- packages -----------------------------------------------------------------------------------

test_nothing_is_installed_when_nothing_is_missing() {
  working_apt
  dev build
  expect_status 0
  expect_not_in calls apt-get
}

test_only_missing_packages_are_installed() {
  working_apt
  printf 'ninja-build\nlibgtest-dev\n' >"$place/missing"
  # As root or not: the stub stands for whoever may install.
  stub id <<<'echo 0'
  dev build
  expect_status 0
  grep -q '^apt-get .*update$' "$place/calls" || give_up 'the lists were not updated'
  grep -q '^apt-get .*install -y --no-install-recommends ninja-build libgtest-dev$' \
    "$place/calls" || give_up 'other packages than the missing ones were asked for'
  expect_in err 'installing ninja-build libgtest-dev'
}

test_sudo_installs_for_others_than_root() {
  working_apt
  printf 'cmake\n' >"$place/missing"
  stub id <<<'echo 1000'
  # shellcheck disable=SC2016  # for the stub to expand
  stub sudo <<<'shift; exec "$@"'
  dev build
  expect_status 0
  expect_in calls 'sudo -n env DEBIAN_FRONTEND=noninteractive apt-get'
}

test_missing_apt_is_told_with_the_packages() {
  printf 'cmake\ng++\n' >"$place/missing"
  dev build
  expect_status 1
  expect_in err 'these Debian packages are missing: cmake g++ (and there is no apt-get'
  expect_not_in calls 'cmake --preset'
}

test_missing_sudo_is_told_with_the_packages() {
  working_apt
  printf 'cmake\n' >"$place/missing"
  stub id <<<'echo 1000'
  dev build
  expect_status 1
  expect_in err 'these Debian packages are missing: cmake (installing them takes root'
  expect_not_in calls apt-get
}

test_refused_installation_is_told_with_the_packages() {
  stub apt-get <<<'echo "E: no such luck"; exit 100'
  stub id <<<'echo 0'
  printf 'cppcheck\n' >"$place/missing"
  dev lint
  expect_status 1
  expect_in err 'E: no such luck'
  expect_in err 'these Debian packages are missing: cppcheck (installing them failed'
}

test_installation_that_changes_nothing_is_told() {
  stub apt-get <<<'exit 0'
  stub id <<<'echo 0'
  printf 'cmake\n' >"$place/missing"
  dev build
  expect_status 1
  expect_in err 'still missing after the installation: cmake'
}

# --- building -----------------------------------------------------------------------------------

test_build_makes_debug_by_default() {
  dev build
  expect_status 0
  expect_in calls 'cmake --preset debug'
  expect_in calls "cmake --build $place/checkout/build/debug"
  expect_in err 'building debug: 100 % (2 of 2 steps)'
}

test_build_all_makes_every_preset() {
  dev build all
  expect_status 0
  local preset
  for preset in debug release sanitize thread-sanitize coverage windows; do
    expect_in calls "cmake --build $place/checkout/build/$preset "
  done
}

test_failed_build_shows_the_compiler_s_words() {
  printf '%s\n' "$place/checkout/build/debug" >"$place/broken"
  dev build
  expect_status 1
  expect_in err 'b.cpp:1: error: oh'
  expect_not_in err '[1/2] a.cpp'
}

test_build_folder_of_another_place_starts_anew() {
  mkdir -p "$place/checkout/build/debug"
  printf 'CMAKE_HOME_DIRECTORY:INTERNAL=/somewhere\n' >"$place/checkout/build/debug/CMakeCache.txt"
  touch "$place/checkout/build/debug/leftover"
  dev build
  expect_status 0
  [[ ! -e $place/checkout/build/debug/leftover ]] || give_up 'the old folder was kept'
}

test_finished_build_folder_is_kept() {
  dev build
  touch "$place/checkout/build/debug/object"
  dev build
  expect_status 0
  [[ -e $place/checkout/build/debug/object ]] || give_up 'the folder was thrown away'
}

test_chores_in_one_checkout_take_turns() {
  command -v flock >/dev/null || return 0
  exec 8<"$place/checkout"
  flock 8
  (sleep 1 && touch "$place/released") 8>&- &
  local holder=$!
  (while [[ ! -e $place/released ]]; do sleep 0.1; done && flock -u 8) &
  local releaser=$!
  dev build 8>&-
  [[ -e $place/released ]] || give_up 'the chore did not wait'
  wait "$holder" "$releaser"
  exec 8>&-
  expect_status 0
  expect_in err 'another ./dev is at work here'
}

# --- run ----------------------------------------------------------------------------------------

test_sweep_hands_arguments_to_the_tool() {
  mkdir -p "$place/checkout/build/release/tools/sweep"
  printf 'CMAKE_HOME_DIRECTORY:INTERNAL=%s\n' "$place/checkout" \
    >"$place/checkout/build/release/CMakeCache.txt"
  # shellcheck disable=SC2016  # for the stub to expand
  printf '#!/bin/bash\nprintf "with %%s\\n" "$*"\nexit 7\n' \
    >"$place/checkout/build/release/tools/sweep/sweep"
  chmod +x "$place/checkout/build/release/tools/sweep/sweep"
  dev sweep first-boot --every 3
  expect_status 7
  [[ $(cat "$place/out") == 'with first-boot --every 3' ]] ||
    give_up 'the tool is not the only one to print'
  expect_no_leftovers
}

test_threads_hands_arguments_to_the_tool_of_its_build() {
  mkdir -p "$place/checkout/build/thread-sanitize/tools/threads"
  printf 'CMAKE_HOME_DIRECTORY:INTERNAL=%s\n' "$place/checkout" \
    >"$place/checkout/build/thread-sanitize/CMakeCache.txt"
  # shellcheck disable=SC2016  # for the stub to expand
  printf '#!/bin/bash\nprintf "with %%s\\n" "$*"\nexit 1\n' \
    >"$place/checkout/build/thread-sanitize/tools/threads/threads"
  chmod +x "$place/checkout/build/thread-sanitize/tools/threads/threads"
  dev threads first-boot --seeds 3
  expect_status 1
  expect_last_line 'with first-boot --seeds 3'
  grep -q '^cmake --build .*/build/thread-sanitize .*--target threads$' "$place/calls" ||
    give_up 'another build was made, or more of it'
  expect_no_leftovers
}

test_threads_of_a_broken_build_are_not_run() {
  printf '%s\n' "$place/checkout/build/thread-sanitize" >"$place/broken"
  dev threads
  expect_status 1
  expect_empty out
  expect_in err 'b.cpp:1: error: oh'
}

# A run tool that tells how it was called.
telling_run_tool() {
  mkdir -p "$place/checkout/build/release/tools"
  printf 'CMAKE_HOME_DIRECTORY:INTERNAL=%s\n' "$place/checkout" \
    >"$place/checkout/build/release/CMakeCache.txt"
  # shellcheck disable=SC2016  # for the stub to expand
  printf '#!/bin/bash\nprintf "in %%s with %%s\\n" "$PWD" "$*"\nexit 7\n' \
    >"$place/checkout/build/release/tools/run"
  chmod +x "$place/checkout/build/release/tools/run"
}

test_run_under_wine_builds_the_windows_program_first() {
  working_apt
  printf 'wine\nwine64\n' >"$place/missing"
  stub id <<<'echo 0'
  telling_run_tool
  dev run first-boot --wine
  expect_status 7
  expect_in out 'with first-boot --wine'
  expect_in err 'installing wine wine64'
  expect_in calls "cmake --build $place/checkout/build/windows"
  expect_in calls '--target TPMEnrollmentService language_libraries standins/all platform/wine/all'
}

test_run_over_the_model_needs_nothing_of_windows() {
  printf 'wine\nwine64\n' >"$place/missing"
  telling_run_tool
  dev run first-boot
  expect_status 7
  expect_not_in calls build/windows
}

test_run_hands_arguments_and_folder_to_the_tool() {
  telling_run_tool
  dev run first-boot --seed 3 --keep 'a b'
  expect_status 7
  [[ $(cat "$place/out") == "in $place/elsewhere with first-boot --seed 3 --keep a b" ]] ||
    give_up 'the tool is not the only one to print'
  expect_no_leftovers
}

# --- test ---------------------------------------------------------------------------------------

test_test_adds_up_all_builds() {
  dev test
  expect_status 0
  expect_last_line '8 passed, 0 failed'
  expect_in err 'step 1 of 8: build, native'
  expect_in err 'step 8 of 8: tests, Windows'
  local row
  for row in 'build, native' 'tests, native' 'build, sanitizers' 'tests, sanitizers' \
    'build, threads' 'tests, threads' 'build, Windows' 'tests, Windows'; do
    grep -Eq "^$row +ok +[0-9]+ min [0-9]{2} s\$" "$place/out" || give_up "no row: $row"
  done
  grep -q '^cmake --build .*/build/debug .*--target all_but_unit_tests$' "$place/calls" ||
    give_up 'the unit tests were built twice'
  grep -q '^ctest .*/build/debug -LE ^unit$ ' "$place/calls" ||
    give_up 'unit tests were run that were not built'
  grep -q '^cmake --build .*/build/sanitize --parallel [0-9]*$' "$place/calls" ||
    give_up 'the build under the sanitizers lacks something'
  expect_in calls "cmake --build $place/checkout/build/thread-sanitize --parallel"
  grep -q -- '--target thread_tests$' "$place/calls" || give_up 'more was built than is needed'
  grep -q '^ctest .*/build/thread-sanitize -L threads ' "$place/calls" ||
    give_up 'other tests were run than those of the threads'
}

test_test_tells_failed_tests() {
  stub ctest <<'END'
printf '1/3 Test #1: A.one ..........***Failed    0.00 sec\nwhat the test said\n'
printf '50%% tests passed, 9 tests failed out of 18\n'
printf '2/3 Test #2: A.two ..........   Passed    0.00 sec\n'
printf '3/3 Test #3: A.three ..........   Passed    0.00 sec\n'
printf '\n67%% tests passed, 1 tests failed out of 3\n'
exit 8
END
  dev test
  expect_status 1
  expect_last_line '8 passed, 4 failed'
  expect_in err 'what the test said'
  expect_not_in err 'A.two'
  grep -Eq '^tests, native +FAILED' "$place/out" || give_up 'no row for the failed step'
}

test_test_counts_the_tests_of_a_part() {
  stub ctest <<'END'
log="$2/Testing/Temporary"
mkdir -p "$log"
printf 'ran 9 tests in processes of their own: 9 passed, 0 failed\n' >"$log/LastTest.log"
printf 'ran 8 tests in processes of their own: 5 passed, 3 failed\n' >>"$log/LastTest.log"
printf '\n67%% tests passed, 1 tests failed out of 3\n'
exit 8
END
  dev test
  expect_status 1
  expect_last_line '60 passed, 12 failed'
}

test_test_counts_a_failed_build_and_goes_on() {
  printf '%s\n' "$place/checkout/build/debug" "$place/checkout/build/windows" >"$place/broken"
  dev test
  expect_status 1
  expect_last_line '4 passed, 2 failed'
  grep -Eq '^tests, native +skipped' "$place/out" || give_up 'the tests were not skipped'
  grep -Eq '^tests, sanitizers +ok' "$place/out" || give_up 'the other steps did not run'
}

test_test_fails_without_a_count() {
  stub ctest <<<'echo "No tests were found!!!"; exit 8'
  dev test
  expect_status 1
  expect_last_line '0 passed, 4 failed'
}

test_continuous_integration_runs_the_same_tests() {
  mkdir "$place/checkout/.ci"
  cp -- "$(dirname -- "$original")/.ci/run" "$place/checkout/.ci/run"
  status=0
  (cd -- "$place/elsewhere" && env -i PATH="$place/bin" TMPDIR="$place" CI=true \
    bash "$place/checkout/.ci/run" >"$place/out" 2>"$place/err" </dev/null) || status=$?
  expect_status 0
  expect_last_line '8 passed, 0 failed'
}

# --- wine ---------------------------------------------------------------------------------------

test_wine_runs_the_long_runs_too() {
  dev wine
  expect_status 0
  expect_last_line '2 passed, 0 failed'
  expect_in calls "cmake --build $place/checkout/build/windows --parallel"
  expect_in calls '--target TPMEnrollmentService standins/all tools/all'
  grep -q '^ctest .*/build/windows -C long -L whole-run -j' "$place/calls" ||
    give_up 'other tests were run than the whole runs'
}

test_wine_fails_with_a_run_that_differs() {
  stub ctest <<'END'
printf '1/2 Test #1: wine.one ..........***Failed    0.00 sec\nthe two logs differ\n'
printf '\n50%% tests passed, 1 tests failed out of 2\n'
exit 8
END
  dev wine
  expect_status 1
  expect_last_line '1 passed, 1 failed'
  expect_in err 'the two logs differ'
}

# --- the other verbs ----------------------------------------------------------------------------

test_bench_runs_every_benchmark() {
  mkdir -p "$place/checkout/build/release/bench"
  printf 'CMAKE_HOME_DIRECTORY:INTERNAL=%s\n' "$place/checkout" \
    >"$place/checkout/build/release/CMakeCache.txt"
  printf '#!/bin/bash\necho measured\n' >"$place/checkout/build/release/bench/life_bench"
  chmod +x "$place/checkout/build/release/bench/life_bench"
  mkdir -p "$place/checkout/bench/windows"
  printf 'echo measured under Wine: "$@"\n' >"$place/checkout/bench/windows/start.sh"
  dev bench
  expect_status 0
  expect_in out measured
  expect_last_line "measured under Wine: $place/checkout/build/windows"
}

test_bench_without_benchmarks_fails() {
  dev bench
  expect_status 1
  expect_in err 'there is no benchmark to run'
}

test_package_is_made_of_what_is_shipped_alone() {
  mkdir "$place/checkout/packaging"
  # shellcheck disable=SC2016  # for the script to expand
  printf '#!/bin/bash\nprintf "made of %%s in %%s\\n" "$1" "$2"\n' >"$place/checkout/packaging/make.sh"
  chmod +x "$place/checkout/packaging/make.sh"
  dev package
  expect_status 0
  expect_in calls "cmake --build $place/checkout/build/windows"
  expect_in calls '--target TPMEnrollmentService language_libraries config-check'
  expect_last_line "made of $place/checkout/build/windows in $place/checkout/build/package"
}

test_package_is_not_made_of_a_broken_build() {
  printf '%s\n' "$place/checkout/build/windows" >"$place/broken"
  mkdir "$place/checkout/packaging"
  printf '#!/bin/bash\necho made\n' >"$place/checkout/packaging/make.sh"
  chmod +x "$place/checkout/packaging/make.sh"
  dev package
  expect_status 1
  expect_empty out
}

test_package_is_made_once_more_for_a_proof() {
  mkdir "$place/checkout/packaging"
  printf '#!/bin/bash\necho made\n' >"$place/checkout/packaging/make.sh"
  # shellcheck disable=SC2016  # for the script to expand
  printf '#!/bin/bash\nprintf "proved with %%s and %%s\\n" "$1" "$2"\nexit 1\n' \
    >"$place/checkout/packaging/prove.sh"
  chmod +x "$place/checkout/packaging/"*.sh
  dev package --proof
  expect_status 1
  expect_in out made
  expect_last_line "proved with $place/checkout/build/windows and $place/checkout/build/package"
}

test_package_takes_nothing_but_the_wish_for_a_proof() {
  dev package --prove
  expect_status 2
  expect_in err 'package takes --proof alone, but got: --prove'
}

# The compilers for Windows, the second of which exits with the given status.
windows_compilers() {
  stub x86_64-w64-mingw32-g++-posix <<<'echo /headers'
  stub clang++-19 <<<"exit ${1:-0}"
}

test_lint_tells_what_found_something() {
  mkdir -p "$place/checkout/"{VUSL,client,task,service,tools/config-check,platform/mingw,build}
  touch "$place/checkout/service/A.cpp" "$place/checkout/build/B.cpp"
  stub clang-format-14 <<<'exit 1'
  stub clang-tidy-19 <<<'exit 0'
  windows_compilers
  stub cppcheck <<<'echo found; exit 1'
  dev lint
  expect_status 1
  expect_in err 'lint found something: format cppcheck'
  expect_in calls 'clang-format-14 --dry-run -Werror ./service/A.cpp'
  expect_not_in calls 'B.cpp'
}

test_lint_is_silent_about_clean_sources() {
  mkdir -p "$place/checkout/"{VUSL,client,task,service,tools/config-check,platform/mingw}
  touch "$place/checkout/service/A.cpp"
  stub clang-format-14 <<<'exit 0'
  stub clang-tidy-19 <<<'exit 0'
  windows_compilers
  stub cppcheck <<<'exit 0'
  dev lint
  expect_status 0
  expect_empty out
}

test_lint_fails_with_the_checker() {
  mkdir -p "$place/checkout/"{VUSL,client,task,service,tools/config-check,platform/mingw}
  touch "$place/checkout/service/A.cpp"
  stub clang-format-14 <<<'exit 0'
  stub clang-tidy-19 <<<'echo "A.cpp:1:1: warning: oh"; exit 1'
  windows_compilers
  stub cppcheck <<<'exit 0'
  dev lint
  expect_status 1
  expect_in err 'lint found something: clang-tidy'
}

test_lint_compiles_the_product_for_windows_once_more() {
  mkdir -p "$place/checkout/"{VUSL,client,task,service,tools/config-check,platform/mingw}
  touch "$place/checkout/service/A.cpp"
  stub clang-format-14 <<<'exit 0'
  stub clang-tidy-19 <<<'exit 0'
  stub cppcheck <<<'exit 0'
  windows_compilers 1
  dev lint
  expect_status 1
  expect_in err 'lint found something: clang for Windows'
  grep -q '^clang++-19 --target=x86_64-w64-mingw32 .* -isystem /headers .* service/A.cpp$' \
    "$place/calls" || give_up 'the product was not compiled for Windows'
}

test_format_changes_all_sources() {
  mkdir -p "$place/checkout/tests" "$place/checkout/build" "$place/checkout/.git"
  touch "$place/checkout/tests/A.h" "$place/checkout/build/B.cpp" "$place/checkout/.git/B.cpp"
  stub clang-format-14 <<<'exit 0'
  dev format
  expect_status 0
  expect_in calls 'clang-format-14 -i ./tests/A.h'
  expect_not_in calls 'B.cpp'
}

test_clean_removes_only_the_build_folder() {
  mkdir -p "$place/checkout/build/debug" "$place/checkout/service" "$place/elsewhere/build"
  dev clean
  expect_status 0
  [[ ! -e $place/checkout/build ]] || give_up 'build/ is still there'
  [[ -e $place/checkout/service && -e $place/checkout/dev && -e $place/elsewhere/build ]] ||
    give_up 'something else is gone'
}

test_clean_without_a_build_succeeds() {
  dev clean
  expect_status 0
  expect_in err 'there is no build/ to remove'
}

test_nothing_is_left_in_the_temporary_folder() {
  dev build
  dev test
  expect_no_leftovers
}

# --- running them -------------------------------------------------------------------------------

names=("$@")
if ((${#names[@]} == 0)); then
  mapfile -t names < <(sed -nE 's/^test_([a-z_]+)\(\).*/\1/p' "$script")
fi
for name in "${names[@]}"; do
  setup
  "test_$name"
  printf 'ok: %s\n' "$name"
done
