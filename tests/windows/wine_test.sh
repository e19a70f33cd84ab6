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

# What the service manager was told, with the controls that were accepted, in order, but for
# STOP_PENDING: how often that is told goes by the time that passes.
statuses() {
  sed -nE 's/\r$//; s/^-- (service manager: (START_PENDING|RUNNING|STOPPED), .*, controls accepted [0-9]+)$/\1/p' "$1"
}

# What the service manager was asked for, and what it refused.
requests() { sed -nE 's/\r$//; s/^-- (service manager: .* (requested|refused, .*))$/\1/p' "$1"; }

# What the token kept of its privileges. Wine's holds fewer at the start than that of Windows' local
# system, all of which are among those of the model's, so fewer are removed there.
tokens() { sed -nE 's/\r$//; s/^-- token: [1-9][0-9]* privileges removed, (kept .*)$/\1/p' "$1"; }

# What the program printed.
console() { sed -nE 's/\r$//; s/^-- (console: .*|console:)$/\1/p' "$1"; }

# The folders of the programs that the service started, on drive C, one for each start.
folders_of_started() {
  sed -nE 's/\r$//; s/^-- program started: C:\\(.*)\\[^\\]*$/\1/p' "$1" | sed 's,\\,/,g'
}

# The same by what the programs leave: each start is a line of a file beside the program.
folders_of_traces() {
  local trace
  while IFS= read -r trace; do
    sed "s,.*,$(dirname -- "$trace")," "$1/$trace"
  done < <(cd -- "$1" && find . -name recertification.log -printf '%P\n')
}

[[ -x $RUN_TOOL ]] || { printf 'the native run tool has not been built: %s\n' "$RUN_TOOL"; exit 1; }
sha256sum <"$PROGRAM_FOLDER/TPMEnrollmentService.exe"
"$RUN_TOOL" "$name" --virtual --verbose >"$place/model.all" 2>&1 || give_up 'over the model it went otherwise'
"$RUN_TOOL" "$name" --wine --verbose --keep "$place/kept" >"$place/wine.all" 2>&1 ||
  give_up 'under Wine it went otherwise'
texts "$place/model.all" >"$place/model"
texts "$place/wine.all" >"$place/wine"
diff -u -- "$place/model" "$place/wine" || give_up 'the two logs differ'
# Two logs of which nothing was read would be the same.
if grep -q '^\[[A-Z]*\] \[TPM\]' "${SCENARIOS:?}/$name.scenario"; then
  [[ -s $place/model ]] || give_up 'no line of the logs was read'
fi

requests "$place/model.all" >"$place/model"
# Wine does not tell a service that starts, 1061, from one that does not take the control.
requests "$place/wine.all" | sed 's/: stop refused, error 1052$/: stop refused, error 1061/' \
  >"$place/wine"
diff -u -- "$place/model" "$place/wine" || give_up 'other requests were refused'

# Under Wine nobody looks at the token but when the log tells of its change.
tokens "$place/model.all" >"$place/model"
tokens "$place/wine.all" >"$place/wine"
if grep -qF '[TPM] AdjustTokenPrivileges ' "$place/wine.all"; then
  [[ -s $place/wine ]] || give_up 'nobody looked at the token'
  diff -u -- "$place/model" "$place/wine" || give_up 'the token kept other privileges'
fi

# What a service prints goes nowhere under Wine.
if grep -q '^started by = console$' "$SCENARIOS/$name.scenario"; then
  console "$place/model.all" >"$place/model"
  console "$place/wine.all" >"$place/wine"
  [[ -s $place/model ]] || give_up 'no line of the console was read'
  diff -u -- "$place/model" "$place/wine" || give_up 'something else was printed'
fi

# The log tells of a start; that there was one shows here.
folders_of_started "$place/model.all" | sort >"$place/model"
folders_of_traces "$place/kept/C" | sort >"$place/wine"
diff -u -- "$place/model" "$place/wine" || give_up 'other programs were started'

# Under Wine a status may pass unseen, and none is seen there that the model has not.
statuses "$place/model.all" >"$place/model"
statuses "$place/wine.all" >"$place/wine"
if grep -q '^status = STOPPED' "$SCENARIOS/$name.scenario"; then
  [[ -s $place/wine ]] || give_up 'no status was read'
fi
awk 'NR == FNR { told[++count] = $0; next }
  { while (++next_one <= count && told[next_one] != $0); if (next_one > count) exit 1 }' \
  "$place/model" "$place/wine" || {
  diff -u -- "$place/model" "$place/wine" || true
  give_up 'the service manager was told otherwise'
}
