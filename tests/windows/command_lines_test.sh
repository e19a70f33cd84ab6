#!/usr/bin/env bash
# Starts the program from a console with command lines that ask for the usage text, rightly or
# because nobody can make sense of them, and on a machine on which it cannot be told where its
# configuration is, both ways. PROGRAM_FOLDER is where the program is, SESSION the script for
# prefixes, TEMPLATE the prefix to copy. Nothing is put around the program here: where there is no
# client stack, a variable tells it the configuration's folder.
set -euo pipefail

place=$(mktemp -d)
export WINEPREFIX=$place/prefix WINEARCH=win64 WINEDEBUG=-all WINEDLLOVERRIDES='mscoree,mshtml='
export TALS_CONFDIR_PATH='C:\S'
unset DISPLAY
trap '"$SESSION" end "$WINEPREFIX" && rm -rf -- "$place"' EXIT

"$SESSION" template "$TEMPLATE"
"$SESSION" clone "$TEMPLATE" "$WINEPREFIX"
wineserver -p >/dev/null 2>&1 </dev/null
mkdir -- "$WINEPREFIX/drive_c/S"
cp -- "$PROGRAM_FOLDER"/* "$WINEPREFIX/drive_c/S/"

cat >"$place/usage" <<'END'
Orvix TPM Enrollment Service [Version: 1.79.13.0]

Usage: C:\S\TPMEnrollmentService.exe parameter

The following parameters are allowed:
    -help -- print this message
END

# Each way ends with the same usage text; the log tells which one it was.
readonly to_dispatcher='Starting the service control dispatcher' refused='Error while parsing parameters'
logged() { if grep -qF -- "$1" "$place/err"; then printf yes; else printf no; fi; }

failed=0
expect_usage() {
  local status=0
  WINEDEBUG=-all,warn+seh timeout 60 wine 'C:\S\TPMEnrollmentService.exe' "$@" >"$place/out" \
    2>"$place/err" </dev/null || status=$?
  if [[ $(logged "$refused") != "$says_refused" || $(logged "$to_dispatcher") != no ]]; then
    printf 'FAILED: with <%s> another way was taken\n' "$*"
    cat -- "$place/err"
    failed=1
  fi
  tr -d '\r' <"$place/out" >"$place/printed"
  if [[ $status != 0 ]] || ! diff -u -- "$place/usage" "$place/printed"; then
    printf 'FAILED: with <%s> the exit status is %s\n' "$*" "$status"
    failed=1
  fi
}

says_refused=yes
expect_usage '-?'
expect_usage '-?' -help
expect_usage -help '-?'
expect_usage '-?' '-?'
expect_usage '-?' -unknown
says_refused=no
expect_usage -unknown '-?'
expect_usage -help
expect_usage -HeLP
expect_usage '-??'
expect_usage '/?'
expect_usage /help
expect_usage -help -unknown
expect_usage -unknown -help
expect_usage -help -help
expect_usage help
expect_usage -unknown
expect_usage -HELPS
expect_usage --help
expect_usage -
expect_usage ''
expect_usage ' '
expect_usage -help extra
expect_usage extra -help
expect_usage '-help=1'
expect_usage '-help "quoted'
expect_usage $'-h\xc3\xb6lp'
expect_usage "-$(printf 'x%.0s' {1..2000})"

# With nothing on it the dispatcher is asked, and that would have been seen above. What it answers in
# a session without services is Wine's own affair.
WINEDEBUG=-all,warn+seh timeout 60 wine 'C:\S\TPMEnrollmentService.exe' >"$place/out" 2>"$place/err" \
  </dev/null || true
if [[ $(logged "$to_dispatcher") != yes ]]; then
  printf 'FAILED: without an argument the dispatcher is not asked\n'
  failed=1
fi

# Without the stack and without the variable there is no log, and nobody whom it could tell.
unset TALS_CONFDIR_PATH
status=0
timeout 60 wine 'C:\S\TPMEnrollmentService.exe' -help >"$place/out" 2>&1 </dev/null || status=$?
if [[ $status != 255 || -s $place/out ]]; then
  printf 'FAILED: without a folder for the configuration the exit status is %s\n' "$status"
  failed=1
fi
# As a service it ends just so, ahead of the dispatcher: the start fails, and the manager has seen no
# service. Which process it was, and with what it ended, Wine's manager does not tell.
wine sc create TPMEnrollmentService 'binPath=' 'C:\S\TPMEnrollmentService.exe' 'start=' demand \
  >/dev/null 2>&1 </dev/null
if timeout 60 wine sc start TPMEnrollmentService >"$place/out" 2>&1 </dev/null; then
  printf 'FAILED: the service was started without a folder for the configuration\n'
  failed=1
fi
wine sc query TPMEnrollmentService 2>/dev/null </dev/null | tr -d '\r' >"$place/state"
if ! grep -qE '^ +STATE +: 1 +STOPPED' "$place/state"; then
  printf 'FAILED: after that start its state is\n'
  cat -- "$place/state"
  failed=1
fi
exit "$failed"
