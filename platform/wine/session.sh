#!/usr/bin/env bash
# Runs under Wine, each in a prefix of its own:
#   session.sh template FOLDER            makes the prefix that others are copied from, if it is not there
#   session.sh clone TEMPLATE PREFIX      makes a prefix as the template is
#   session.sh live PREFIX LIFE PLAN      lets a run happen; its report goes to descriptor 3
#   session.sh end PREFIX                 ends whatever is still at work in a prefix
# Ends with the status of what it ran.
set -euo pipefail

export WINEARCH=win64 WINEDEBUG=-all WINEDLLOVERRIDES='mscoree,mshtml='
unset DISPLAY

# Without it the session, services included, ends a second after the last ordinary program. It must
# not keep what a caller reads to its end.
keep_session() { wineserver -p >/dev/null 2>&1 </dev/null 3>&-; }

# By an interrupt alone: without a number -k kills a server that is slow to end, on a busy machine
# one that is still writing its registry.
end_session() {
  wineserver -k2 >/dev/null 2>&1 </dev/null || true
  timeout 120 wineserver -w >/dev/null 2>&1 </dev/null && return
  wineserver -k9 >/dev/null 2>&1 </dev/null || true
  wineserver -w >/dev/null 2>&1 </dev/null || true
}

# In a folder beside it that gets its name when it is complete: a template that broke off is none.
make_template() {
  local folder=$1
  mkdir -p -- "$(dirname -- "$folder")"
  exec 9>"$folder.lock"
  flock 9
  if [[ -d $folder ]]; then return 0; fi
  export WINEPREFIX=$folder.new
  rm -rf -- "$WINEPREFIX"
  mkdir -- "$WINEPREFIX"
  keep_session 9>&-
  wineboot -i >/dev/null 2>&1 </dev/null 9>&-
  # A new prefix takes itself for Windows 7.
  wine winecfg /v win10 >/dev/null 2>&1 </dev/null 9>&-
  wine reg add 'HKCU\Software\Wine\WineDbg' /v ShowCrashDialog /t REG_DWORD /d 0 /f \
    >/dev/null 2>&1 </dev/null 9>&-
  end_session
  if [[ ! -f $WINEPREFIX/system.reg ]]; then
    printf 'session.sh: Wine left no registry in its new prefix %s\n' "$WINEPREFIX" >&2
    return 1
  fi
  mv -- "$WINEPREFIX" "$folder"
}

# Wine's service manager gives a program ten seconds from its start until it is a service, and answers
# 1053 then. Where many sessions begin at once on a busy machine its loading alone may take longer.
readonly start_limit_ms=60000

# Links, but for what the server writes through them.
clone() {
  local name
  cp -al -- "$1" "$2"
  for name in system.reg user.reg userdef.reg; do
    rm -f -- "$2/$name"
    cp -- "$1/$name" "$2/$name"
  done
  printf '\n[System\\\\CurrentControlSet\\\\Control] 1700000000\n"ServicesPipeTimeout"="%s"\n' \
    "$start_limit_ms" >>"$2/system.reg"
}

live() {
  local status=0
  export WINEPREFIX=$1
  trap end_session EXIT
  keep_session
  wine "$2" "$3" >&3 3>&- </dev/null || status=$?
  return "$status"
}

verb=$1
shift
case $verb in
  template) make_template "$@" ;;
  clone) clone "$@" ;;
  live) live "$@" ;;
  end)
    export WINEPREFIX=$1
    end_session
    ;;
  *)
    printf 'session.sh: no such verb: %s\n' "$verb" >&2
    exit 2
    ;;
esac
