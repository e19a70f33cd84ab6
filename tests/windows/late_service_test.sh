#!/usr/bin/env bash
# In a prefix of a run, a program that becomes a service later than Wine's service manager waits by
# itself is started all the same: late_service_test.sh LIFE. SESSION is the script for prefixes, TEMPLATE
# the prefix to copy.
set -euo pipefail

place=$(mktemp -d)
export WINEPREFIX=$place/prefix WINEARCH=win64 WINEDEBUG=-all WINEDLLOVERRIDES='mscoree,mshtml='
unset DISPLAY
trap '"$SESSION" end "$WINEPREFIX" && rm -rf -- "$place"' EXIT

give_up() {
  printf 'FAILED: %s\n' "$1"
  exit 1
}

# The last end of the service: 1077 as long as it has not been started, 0 when it has stopped well.
exit_code() { wine sc query Late 2>/dev/null </dev/null | tr -d '\r' | sed -n 's/^ *WIN32_EXIT_CODE *: \([0-9]*\) .*/\1/p'; }

"$SESSION" template "$TEMPLATE"
"$SESSION" clone "$TEMPLATE" "$WINEPREFIX"
wineserver -p >/dev/null 2>&1 </dev/null
cp -- "$1" "$WINEPREFIX/drive_c/life.exe"
wine sc create Late 'binPath=' 'C:\life.exe --idle 11000' >/dev/null 2>&1 </dev/null
[[ $(exit_code) == 1077 ]] || give_up 'the service was not registered'
timeout 100 wine sc start Late >/dev/null 2>&1 </dev/null || true
[[ $(exit_code) == 0 ]] || give_up 'the service manager did not wait for it'
