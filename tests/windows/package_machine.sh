# For the tests of the package under Wine: a machine with a client stack, and what it looks like.
# shellcheck shell=bash
# SESSION is the script for prefixes, TEMPLATE the prefix to copy, SOURCE_ROOT the sources, BUILD_ROOT
# the build with the stand-ins, SC_TOOL the service manager's tool, PACKAGE_FOLDER where the package
# is. They are taken by whoever reads this in; $place is a folder of the test's own.

readonly name=TPMEnrollmentService
readonly task='Orvix VTM EK Recertification'
place=$(mktemp -d)
export WINEPREFIX=$place/prefix WINEARCH=win64 WINEDEBUG=-all
export WINEDLLOVERRIDES='mscoree,mshtml=;sc.exe=n'
unset DISPLAY
trap '"$SESSION" end "$WINEPREFIX" && rm -rf -- "$place"' EXIT
readonly drive=$WINEPREFIX/drive_c
readonly stack="$drive/Program Files/Orvix/tALS Client"

give_up() {
  printf 'FAILED: %s\n' "$1"
  if [[ -f $place/out ]]; then cat -- "$place/out"; fi
  exit 1
}

# The first program of a session begins others, which keep what it was given to write to.
begin_session() {
  wineserver -p >/dev/null 2>&1 </dev/null
  timeout 60 wine cmd /c exit >/dev/null 2>&1 </dev/null
}

end_session() { "$SESSION" end "$WINEPREFIX"; }

# A key of the machine's registry, as Wine keeps it, with values that are texts: key PATH NAME VALUE...
key() {
  printf '\n[%s] 1700000000\n' "${1//\\/\\\\}"
  shift
  while (($# > 0)); do
    if [[ -z $1 ]]; then printf '@="%s"\n' "${2//\\/\\\\}"; else printf '"%s"="%s"\n' "$1" "${2//\\/\\\\}"; fi
    shift 2
  done
}

# Sets up the machine: the client stack with its device, and what Wine lacks, in the stack's folder
# beside the program that will be installed there. The library cannot connect, so the service waits.
make_machine() {
  local devices='Software\Wine\TPMEnrollmentService\Devices\0'
  local class='{5c4c3332-344d-483c-8739-259e934c9cc8}'
  local software="System\\CurrentControlSet\\Control\\Class\\$class\\0000"
  "$SESSION" template "$TEMPLATE"
  "$SESSION" clone "$TEMPLATE" "$WINEPREFIX"
  mkdir -p -- "$stack" "$drive/Program Files/Orvix/conf" "$drive/windows/system32/Tasks" \
    "$drive/windows/Installer"
  cp -- "$BUILD_ROOT"/standins/{talsClient.dll,talsProxy.dll,OrvixVTMEkRecertification.exe} \
    "$BUILD_ROOT"/wine/{cfgmgr32.dll,tasks.dll} "$stack/"
  printf 'talsInitHUB = 8\ntalsInitQX1 = 8\n' >"$stack/talsClient.script"
  printf 'LogLevel = "ERROR"\n' >"$drive/Program Files/Orvix/conf/$name.conf"
  rm -f -- "$drive/windows/system32/sc.exe"
  cp -- "$SC_TOOL" "$drive/windows/system32/sc.exe"
  {
    key "$devices" Id 'SWC\PROVIDER_ORVIX_COMPONENT_TALSCLIENT\7&1A2B3C4D&0&0' Class "$class" \
      HardwareId0 'SWC\PROVIDER_ORVIX_COMPONENT_TALSCLIENT' SoftwareKey "$software"
    # Where the platform's installer keeps what it knows.
    key 'Software\Classes\Installer\Features'
    key 'Software\Classes\Installer\Products'
    key 'Software\Classes\Installer\UpgradeCodes'
    key 'Software\Microsoft\Windows\CurrentVersion\Installer\UpgradeCodes'
    key 'Software\Microsoft\Windows\CurrentVersion\Installer\UserData\S-1-5-18\Components'
    key 'Software\Microsoft\Windows\CurrentVersion\Installer\UserData\S-1-5-18\Products'
    key "$software\\tALS Client" InstallDir64 'C:\Program Files\Orvix\tALS Client'
    key 'Software\Classes\CLSID\{0f87369f-a4e5-4cfc-bd3e-73e6154572dd}\InprocServer32' \
      '' 'C:\Program Files\Orvix\tALS Client\tasks.dll'
  } >>"$WINEPREFIX/system.reg"
  key "Software\\Wine\\AppDefaults\\$name.exe\\DllOverrides" cfgmgr32 native >>"$WINEPREFIX/user.reg"
}

# What the machine looks like, with no session at work: each file with its checksum, each folder, and
# the registry without its stamps. A session of its own comes first, because each leaves its marks.
look() {
  begin_session
  end_session
  # Wine's command interpreter leaves what it has passed from one program to another.
  rm -f -- "$drive/users"/*/Temp/CMD*.tmp
  (cd -- "$drive" && find . -type d -printf '%p/\n' && find . -type f -exec sha256sum {} +) |
    LC_ALL=C sort -k 2 >"$1.drive"
  # The display's driver is as old as the session.
  sed -E '/^#time=/d; /^"DriverDate/d; s/^(\[.*\]) [0-9]+$/\1/' \
    "$WINEPREFIX/system.reg" "$WINEPREFIX/user.reg" >"$1.registry"
}

expect_same_look() {
  diff -u -- "$place/$1.drive" "$place/$2.drive" || give_up 'the drive is another'
  diff -u -- "$place/$1.registry" "$place/$2.registry" || give_up 'the registry is another'
}

# Runs a command on the machine; what it prints is in $place/out then, and it must end with the status
# that comes first: on STATUS COMMAND...
on() {
  local wanted=$1 status=0
  shift
  timeout 120 wine "$@" >"$place/out" 2>&1 </dev/null || status=$?
  sed -i 's/\r//g' "$place/out"
  [[ $status == "$wanted" ]] || give_up "status $status and not $wanted: $*"
}

expect_line() { grep -qxF -- "$1" "$place/out" || give_up "no such line: $1"; }

expect_state() {
  on 0 sc query "$name"
  grep -qE "STATE +: [0-9] +$1 " "$place/out" || give_up "the service is not $1"
}

# Waits until the service is in a state, at most half a minute. A query may remain without an answer
# while a start or a control is on its way.
await_state() {
  local tries
  for ((tries = 0; tries < 150; tries++)); do
    timeout 60 wine sc query "$name" >"$place/out" 2>&1 </dev/null || true
    if grep -qE "STATE +: [0-9] +$1 " "$place/out"; then return; fi
    sleep 0.2
  done
  give_up "the service has not come to be $1"
}

# Puts the task there that the service would arrange after its tries for the platform's event.
arrange_task() {
  sed -n '/^\[file C:.*Tasks/,/^<\/Task>/p' "$SOURCE_ROOT/scenarios/task-in-order.scenario" |
    sed 1d | iconv -t UTF-16 >"$drive/windows/system32/Tasks/$task"
}

# A service that has told that it stopped lives on for a moment, and Wine's service manager takes the
# end of its process for that of one that was started meanwhile.
await_end_of_program() {
  local tries
  for ((tries = 0; tries < 150; tries++)); do
    on 0 tasklist
    if ! grep -qF "$name.exe" "$place/out"; then return; fi
    sleep 0.2
  done
  give_up 'the program has not ended'
}

# Waits until the service is registered no more.
await_no_service() {
  local tries
  for ((tries = 0; tries < 150; tries++)); do
    if ! timeout 60 wine reg query "HKLM\\SYSTEM\\CurrentControlSet\\Services\\$name" >"$place/out" 2>&1 \
      </dev/null; then
      return
    fi
    sleep 0.2
  done
  give_up 'the service is still registered'
}
