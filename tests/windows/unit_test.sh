#!/usr/bin/env bash
# Unit tests as a Windows program under Wine: unit_test.sh PROGRAM [OPTIONS]. SESSION is the script for
# prefixes, TEMPLATE the prefix to copy; what came of each test goes to the file RESULTS.
set -euo pipefail

readonly program=$1
shift
if [[ -n ${RESULTS:-} ]]; then rm -f -- "$RESULTS"; fi
place=$(mktemp -d)
export WINEPREFIX=$place/prefix WINEARCH=win64 WINEDEBUG=-all WINEDLLOVERRIDES='mscoree,mshtml='
unset DISPLAY
trap '"$SESSION" end "$WINEPREFIX" && rm -rf -- "$place"' EXIT

"$SESSION" template "$TEMPLATE"
"$SESSION" clone "$TEMPLATE" "$WINEPREFIX"
wineserver -p >/dev/null 2>&1 </dev/null
# Where the service's program is: there the tests put the libraries that it looks for beside itself.
folder='Program Files/Orvix/TPMEnrollmentService'
mkdir -p -- "$WINEPREFIX/drive_c/$folder"
cp -- "$program" "$WINEPREFIX/drive_c/$folder/"

# A program that broke down may give any status, so its own last word counts too.
status=0
timeout 200 wine "C:\\${folder//\//\\}\\$(basename -- "$program")" --gtest_brief=1 \
  '--gtest_output=json:C:\results.json' "$@" >"$place/out" 2>&1 </dev/null || status=$?
tr -d '\r' <"$place/out" | tee "$place/printed"
if [[ $status == 0 ]] && ! grep -qE '^\[  PASSED  \] [1-9][0-9]* tests?\.$' "$place/printed"; then
  printf 'FAILED: no test passed\n'
  exit 1
fi
readonly results=$WINEPREFIX/drive_c/results.json
if [[ -n ${RESULTS:-} && -f $results ]]; then mv -- "$results" "$RESULTS"; fi
exit "$status"
