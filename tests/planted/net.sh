#!/usr/bin/env bash
# Builds planted faults and has the ordinary tests catch them: net.sh BUILD [NAME...], where BUILD
# is a configured folder. Prints a row for each; fails if one is not caught, or not within a minute,
# or if what caught it finds something in the program without a fault too.
#
# What is to catch a fault is told in two words:
#   scenario NAME    the scenario's own expectations
#   simulate SEEDS   the simulation, within so many seeds
#   unit FILTER      the unit tests that the filter chooses, each in a process of its own
#   fuzz TARGET      the inputs of that target, and changed copies of them
#   threads FILTER   the tests of threads that the filter chooses, the same way, under the thread
#                    sanitizer
#   lives NAME       lives of the scenario under the thread sanitizer, in several orders of turns
set -euo pipefail

build=$1
shift
here=$(dirname -- "$(readlink -f -- "${BASH_SOURCE[0]}")")
readonly here build most_seconds=60
log=$(mktemp)
trap 'rm -f -- "$log"' EXIT

# The tests of a program that a filter chooses, one a line.
tests_of() {
  "$1" --gtest_list_tests --gtest_filter="$2" </dev/null |
    sed -n '/^[^ ]*\.\( .*\)\?$/{s/ .*//;h};/^  /{s/^ *\([^ ]*\).*/\1/;G;s/\(.*\)\n\(.*\)/\2\1/p}'
}

# The program without a fault.
sound_program() {
  case $1 in
    unit) printf '%s' "$build/tests/unit_tests" ;;
    threads) printf '%s' "$build/tests/threads/thread_tests" ;;
    fuzz) printf '%s' "$build/tests/fuzz/fuzz_replay" ;;
    *) printf '%s' "$build/TPMEnrollmentService" ;;
  esac
}

# Runs what is to catch the fault, and prints what was found in a few words. Fails if it was not.
catch() {
  local program=$1 way=$2 what=$3 status=0
  case $way in
    scenario | simulate)
      timeout -k 5 "$most_seconds" "$build/tests/planted/catch" "$program" "$way" "$what" \
        >"$log" 2>&1 </dev/null || status=$?
      ((status == 0)) && head -n 1 "$log"
      ;;
    unit | threads)
      # The product keeps state for the whole process: the second test of one may fail in any case.
      local began=$SECONDS test
      for test in $(tests_of "$program" "$what"); do
        status=0
        TSAN_OPTIONS=halt_on_error=1 timeout -k 5 "$most_seconds" "$program" \
          --gtest_filter="$test" >"$log" 2>&1 </dev/null || status=$?
        if ((SECONDS - began >= most_seconds)); then return 1; fi
        if ((status != 0)) && grep -qF "[ RUN      ] $test" "$log"; then
          printf '%s\n' "$test"
          return 0
        fi
      done
      return 1
      ;;
    lives)
      timeout -k 5 "$most_seconds" "$build/tools/threads/threads" "$what" --turns \
        --service "$program" >"$log" 2>&1 </dev/null || status=$?
      ((status == 1)) && grep -m 1 '^data race ' "$log"
      ;;
    fuzz)
      timeout -k 5 "$most_seconds" "$program" "$what" "$here/../fuzz/corpus/$what" 2000 \
        >"$log" 2>&1 </dev/null || status=$?
      ((status != 0 && status != 124)) && grep -m 1 '^fuzz: it does not hold' "$log"
      ;;
    *)
      printf 'no such way: %s\n' "$way"
      return 1
      ;;
  esac
}

# Whether the program without a fault holds: what was found then says nothing of a fault. The answer
# is kept, since one test may catch several faults.
declare -A sound=()
holds_without() {
  local way=$1 what=$2
  if [[ -z ${sound[$way $what]:-} ]]; then
    local program
    program=$(sound_program "$way")
    if [[ ! -x $program ]]; then
      printf 'net: %s is not built\n' "$program" >&2
      exit 1
    fi
    sound[$way $what]=yes
    if catch "$program" "$way" "$what" >/dev/null; then sound[$way $what]=no; fi
  fi
  [[ ${sound[$way $what]} == yes ]]
}

lost=0
while IFS=$'\t' read -r name program kind caught_by; do
  if (($# > 0)) && [[ " $* " != *" $name "* ]]; then continue; fi
  printf -- '-- %s\n' "$name" >&2
  if ! cmake --build "$build" --target "$name" >"$log" 2>&1 </dev/null; then
    cat -- "$log" >&2
    exit 1
  fi
  began=$(date +%s%N)
  way=${caught_by%% *}
  what=${caught_by#* }
  if found=$(catch "$program" "$way" "$what"); then
    seconds=$((($(date +%s%N) - began) / 100000000))
    if [[ $way == unit || $way == threads ]]; then what=$found; fi
    if holds_without "$way" "$what"; then
      printf '| %s | %s | %s | %d.%d | %s |\n' "$name" "$kind" "$caught_by" $((seconds / 10)) \
        $((seconds % 10)) "$found"
    else
      printf '| %s | %s | %s | without the fault too | |\n' "$name" "$kind" "$caught_by"
      cat -- "$log" >&2
      lost=$((lost + 1))
    fi
  else
    printf '| %s | %s | %s | not caught | |\n' "$name" "$kind" "$caught_by"
    cat -- "$log" >&2
    lost=$((lost + 1))
  fi
done <"$build/tests/planted/faults.txt"
((lost == 0))
