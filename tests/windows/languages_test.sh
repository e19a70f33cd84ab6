#!/usr/bin/env bash
# The language libraries, loaded by Windows' own calls under Wine: each must give the strings that
# stand in its source. PROGRAM_FOLDER is where they are, PRINTER the program that prints them,
# SOURCES the folder of the sources, SESSION the script for prefixes, TEMPLATE the prefix to copy.
set -euo pipefail

place=$(mktemp -d)
export WINEPREFIX=$place/prefix WINEARCH=win64 WINEDEBUG=-all WINEDLLOVERRIDES='mscoree,mshtml='
unset DISPLAY
trap '"$SESSION" end "$WINEPREFIX" && rm -rf -- "$place"' EXIT

"$SESSION" template "$TEMPLATE"
"$SESSION" clone "$TEMPLATE" "$WINEPREFIX"
wineserver -p >/dev/null 2>&1 </dev/null
mkdir -- "$WINEPREFIX/drive_c/S"
cp -- "$PROGRAM_FOLDER"/*.dll "$PRINTER" "$WINEPREFIX/drive_c/S/"

# A string's line is `  <id> "<text>"`, where a quotation mark of the text is written twice.
strings_of() { sed -n 's/^  \([0-9]\{1,\} \)"\(.*\)"\r\{0,1\}$/\1\2/p' "$1" | sed 's/""/"/g'; }

failed=0
count=0
for source in "$SOURCES"/*.rc; do
  language=$(basename -- "$source" .rc)
  strings_of "$source" >"$place/expected"
  if [[ $(wc -l <"$place/expected") -lt 9 ]]; then
    printf 'FAILED: %s has fewer strings than the system knows\n' "$source"
    failed=1
  fi
  for library in "$language.dll" "VUSL_$language.dll"; do
    status=0
    timeout 60 wine "C:\\S\\$(basename -- "$PRINTER")" "C:\\S\\$library" >"$place/out" \
      2>"$place/err" </dev/null || status=$?
    tr -d '\r' <"$place/out" >"$place/printed"
    if [[ $status != 0 ]] || ! diff -u -- "$place/expected" "$place/printed"; then
      printf 'FAILED: %s, status %s: %s\n' "$library" "$status" "$(cat -- "$place/err")"
      failed=1
    fi
    count=$((count + 1))
  done
done
printf '%s libraries were read\n' "$count"
[[ $count == 12 ]] || failed=1
exit "$failed"
