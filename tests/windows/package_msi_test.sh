#!/usr/bin/env bash
# Lets the installer package install, upgrade and remove under Wine: what was there before must be
# there after. See package_machine.sh for what is to be set.
set -euo pipefail

# shellcheck source=tests/windows/package_machine.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/package_machine.sh"

readonly version=1.79.13.0

# The package, and an older one: a program whose version is the older, and a file that the new one has
# no longer.
make_packages() {
  unzip -q "$PACKAGE_FOLDER/$name-$version-x64.zip" -d "$place"
  local older=$place/$name-$version-x64
  cp -- "$PACKAGE_FOLDER/$name-$version-x64.msi" "$drive/new.msi"
  cp -r -- "$older" "$drive/scripts"
  LC_ALL=C sed -i 's/\x4f\x00\x01\x00\x00\x00\x0d\x00/\x4e\x00\x01\x00\x00\x00\x00\x00/g' \
    "$older/files/$name.exe"
  printf 'gone since\n' >"$older/files/gone-since.txt"
  "$SOURCE_ROOT/packaging/make-msi.sh" "$older" 1.78.0.0 "$drive/old.msi"
}

make_machine
make_packages
look "$place/before"

begin_session

# --- an older version, in the usual folder, without a start -------------------------------------

on 0 msiexec /i 'C:\old.msi' /qn STARTSERVICE=0
[[ -f "$drive/Program Files/Orvix/$name/gone-since.txt" ]] || give_up 'a file was not installed'
expect_state STOPPED
on 0 reg query "HKLM\\SYSTEM\\CurrentControlSet\\Services\\$name"
# The platform's installer writes the path in quotes.
expect_line '    ImagePath    REG_SZ    C:\Program Files\Orvix\TPMEnrollmentService\TPMEnrollmentService.exe'
expect_line '    DisplayName    REG_SZ    Orvix TPM Enrollment Service'
expect_line '    Description    REG_SZ    Sees the firmware TPM of this platform through its enrollment, and ends by itself when that is done.'
expect_line '    ObjectName    REG_SZ    LocalSystem'
expect_line '    DependOnService    REG_MULTI_SZ    Schedule'
expect_line '    Start    REG_DWORD    0x2'
expect_line '    Type    REG_DWORD    0x10'
sed 's/\r//' "$drive/sc-calls.txt" >"$place/out"
expect_line "failure|$name|reset=|86400|actions=|restart/60000/restart/300000/restart/3600000"
expect_line "failureflag|$name|1"

# The scripts leave alone what they have not installed.
on 4 cmd /c 'C:\scripts\install.cmd'
on 4 cmd /c 'C:\scripts\uninstall.cmd'
expect_line 'Remove it in the way in which it was installed. Nothing was changed.'

# --- upgraded, and moved into the stack's folder, where it can run ------------------------------

on 0 msiexec /i 'C:\new.msi' /qn 'INSTALLDIR=C:\Program Files\Orvix\tALS Client'
[[ ! -e "$drive/Program Files/Orvix/$name/$name.exe" ]] || give_up 'the older program was left'
[[ ! -e "$drive/Program Files/Orvix/$name/gone-since.txt" ]] || give_up 'an older file was left'
cmp -- "$stack/$name.exe" "$BUILD_ROOT/program/$name.exe" || give_up 'another program was installed'
await_state RUNNING

# An older one does not go over a newer one.
on 67 msiexec /i 'C:\old.msi' /qn
expect_state RUNNING

# --- stopped and started by whoever may ---------------------------------------------------------

on 0 sc stop "$name"
await_state STOPPED
await_end_of_program
on 0 sc start "$name"
await_state RUNNING

# --- removed while it runs, with its task, from the folder that is known ------------------------

# Not before the upgrade: Wine does not tell the older package that it is removed for a newer one, so
# it takes the task along there, which it does not on the platform.
arrange_task
on 0 msiexec /x 'C:\new.msi' /qn
[[ ! -e $drive/windows/system32/Tasks/$task ]] || give_up 'the task was left'
# Wine's installer does not wait for a stop, as the platform's does: the service goes when its process
# has ended, and the program, in use until then, stays.
await_end_of_program
await_no_service
rm -f -- "$stack/$name.exe"

# --- not over an installation by the scripts ----------------------------------------------------

on 0 cmd /c 'C:\scripts\install.cmd' /nostart
on 67 msiexec /i 'C:\new.msi' /qn
on 0 cmd /c 'C:\scripts\uninstall.cmd'

end_session
rm -f -- "$drive/sc-calls.txt"
look "$place/after"
expect_same_look before after
