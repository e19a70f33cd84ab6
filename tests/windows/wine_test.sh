#!/usr/bin/env bash
# Lets a scenario happen twice, to the native program over the model and to the genuine one under
# Wine, and holds the two logs against each other: wine_test.sh NAME. Both must also be what the
# scenario says. RUN_TOOL is the native run tool, PROGRAM_FOLDER where the genuine program is.
set -euo pipefail

readonly name=$1
place=$(mktemp -d)
trap 'rm -rf -- "$place"' EXIT

give_up() {
  printf 'FAILED: %s\n' "$1"
  cat -- "$place"/*.all
  exit 1
}

# The log lines that a run prints, without stamp and thread and without addresses.
texts() {
  sed -nE 's/\r$//; s/^[0-9]{4}-[0-9 :-]+ [0-9a-f]{16} TPMEnrollmentService: //p' "$1" |
    sed -E 's/\[0x[0-9a-f]+\]/[0x]/g'
}

# What the service manager was told, in order, but for STOP_PENDING: how often that is told goes by
# the time that passes.
statuses() {
  sed -nE 's/\r$//; s/^-- (service manager: (START_PENDING|RUNNING|STOPPED), .*)$/\1/p' "$1"
}

[[ -x $RUN_TOOL ]] || { printf 'the native run tool has not been built: %s\n' "$RUN_TOOL"; exit 1; }
sha256sum <"$PROGRAM_FOLDER/TPMEnrollmentService.exe"
"$RUN_TOOL" "$name" --virtual >"$place/model.all" 2>&1 || give_up 'over the model it went otherwise'
"$RUN_TOOL" "$name" --wine >"$place/wine.all" 2>&1 || give_up 'under Wine it went otherwise'
texts "$place/model.all" >"$place/model"
texts "$place/wine.all" >"$place/wine"
diff -u -- "$place/model" "$place/wine" || give_up 'the two logs differ'
# Two logs of which nothing was read would be the same.
if grep -q '^\[[A-Z]*\] \[TPM\]' "${SCENARIOS:?}/$name.scenario"; then
  [[ -s $place/model ]] || give_up 'no line of the logs was read'
fi

# Under Wine a status may pass unseen, and none is seen there that the model has not.
statuses "$place/model.all" >"$place/model"
statuses "$place/wine.all" >"$place/wine"
awk 'NR == FNR { told[++count] = $0; next }
  { while (++next_one <= count && told[next_one] != $0); if (next_one > count) exit 1 }' \
  "$place/model" "$place/wine" || {
  diff -u -- "$place/model" "$place/wine" || true
  give_up 'the service manager was told otherwise'
}
