#!/usr/bin/env bash
# The contract suite as a Windows program under Wine: wine_test.sh PROGRAM PAGE [OPTIONS]. Each promise
# is kept as the suite says, and the table that comes of it is the page's. SESSION is the script for
# prefixes, TEMPLATE the prefix to copy, BUILD the folder of the Windows build. The options go to the
# program; with any, the table is not looked at. What came of each test goes to the file RESULTS.
set -euo pipefail

readonly program=$1 page=$2
shift 2
if [[ -n ${RESULTS:-} ]]; then rm -f -- "$RESULTS"; fi
place=$(mktemp -d)
export WINEPREFIX=$place/prefix WINEARCH=win64 WINEDEBUG=-all
# The stand-in for the configuration manager comes before Wine's own, where there is one.
export WINEDLLOVERRIDES='mscoree,mshtml=;cfgmgr32=n,b'
unset DISPLAY
trap '"$SESSION" end "$WINEPREFIX" && rm -rf -- "$place"' EXIT

"$SESSION" template "$TEMPLATE"
"$SESSION" clone "$TEMPLATE" "$WINEPREFIX"
wineserver -p >/dev/null 2>&1 </dev/null
readonly folder=$WINEPREFIX/drive_c/S
mkdir -- "$folder"
cp -- "$program" "$BUILD"/wine/cfgmgr32.dll "$BUILD"/wine/tasks.dll "$folder/"
cp -- "$BUILD"/standins/talsClient.dll "$folder/client.dll"
cp -- "$BUILD"/standins/OrvixVTMEkRecertification.exe "$folder/small.exe"

status=0
timeout 200 wine "C:\\S\\$(basename -- "$program")" --gtest_brief=1 '--table=C:\S\table' \
  '--gtest_output=json:C:\S\results' "$@" >"$place/out" 2>&1 </dev/null || status=$?
tr -d '\r' <"$place/out"
if (($# == 0 && status == 0)); then
  bash "$(dirname -- "${BASH_SOURCE[0]}")/table.sh" compare "$folder/table" "$page"
fi
if [[ -n ${RESULTS:-} && -f $folder/results ]]; then mv -- "$folder/results" "$RESULTS"; fi
exit "$status"
