#!/usr/bin/env bash
# Builds planted faults and has the ordinary tests catch them: net.sh BUILD [NAME...], where BUILD is
# a configured folder. Prints a row for each; fails if one is not caught, or not within a minute.
#
# What is to catch a fault is told in two words:
#   scenario NAME    the scenario's own expectations
#   simulate SEEDS   the simulation, within so many seeds
#   unit FILTER      the unit tests that the filter chooses
#   fuzz TARGET      the inputs of that target, and changed copies of them
#   threads FILTER   the tests of threads that the filter chooses, under the thread sanitizer
#   lives NAME       lives of the scenario under the thread sanitizer, in several orders of turns
set -euo pipefail

build=$1
shift
here=$(dirname -- "$(readlink -f -- "${BASH_SOURCE[0]}")")
readonly here build most_seconds=60
log=$(mktemp)
trap 'rm -f -- "$log"' EXIT

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
      TSAN_OPTIONS=halt_on_error=1 timeout -k 5 "$most_seconds" "$program" --gtest_filter="$what" \
        >"$log" 2>&1 </dev/null || status=$?
      # A test that failed, or died and says so itself; a program that does not start has no test.
      grep -q '^\[ RUN ' "$log" && ((status != 0 && status != 124)) &&
        grep -m 1 -oE '^\[  FAILED  \] [^ (]+|WARNING: ThreadSanitizer: [a-z ]+' "$log"
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

lost=0
while IFS=$'\t' read -r name program kind caught_by; do
  if (($# > 0)) && [[ " $* " != *" $name "* ]]; then continue; fi
  printf -- '-- %s\n' "$name" >&2
  if ! cmake --build "$build" --target "$name" >"$log" 2>&1 </dev/null; then
    cat -- "$log" >&2
    exit 1
  fi
  began=$(date +%s%N)
  if found=$(catch "$program" "${caught_by%% *}" "${caught_by#* }"); then
    seconds=$((($(date +%s%N) - began) / 100000000))
    printf '| %s | %s | %s | %d.%d | %s |\n' "$name" "$kind" "$caught_by" $((seconds / 10)) \
      $((seconds % 10)) "$found"
  else
    printf '| %s | %s | %s | not caught | |\n' "$name" "$kind" "$caught_by"
    cat -- "$log" >&2
    lost=$((lost + 1))
  fi
done <"$build/tests/planted/faults.txt"
((lost == 0))
