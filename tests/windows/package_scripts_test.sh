#!/usr/bin/env bash
# Lets the scripts of the package install, upgrade and remove under Wine: what was there before must be
# there after. See package_machine.sh for what is to be set.
set -euo pipefail

# shellcheck source=tests/windows/package_machine.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/package_machine.sh"

readonly version=1.79.13.0
readonly install='C:\package\install.cmd' uninstall='C:\package\uninstall.cmd'

# The package, and an older one: another program, and a file that the new one has no longer.
unpack() {
  unzip -q "$PACKAGE_FOLDER/$name-$version-x64.zip" -d "$drive"
  mv -- "$drive/$name-$version-x64" "$drive/package"
  cp -r -- "$drive/package" "$drive/older"
  printf 'older' >>"$drive/older/files/$name.exe"
  printf 'gone since\n' >"$drive/older/files/gone-since.txt"
  printf 'gone-since.txt\r\n' >>"$drive/older/files/$name-files.txt"
}

make_machine
unpack
look "$place/before"

begin_session

# --- whoever has not the rights is told, and nothing happens ------------------------------------

touch "$drive/sc-refuses.txt"
on 5 cmd /c "$install"
expect_line 'install.cmd: access is denied. This takes a command prompt of an administrator. Nothing was changed.'
[[ ! -e "$drive/Program Files/Orvix/$name" ]] || give_up 'files were copied without rights'
rm -- "$drive/sc-refuses.txt"

on 1 cmd /c "$install" /elsewhere
expect_line 'usage: install.cmd [/dir FOLDER] [/nostart]'
on 1 cmd /c "$install" /dir 'relative\folder'
on 1 cmd /c "$install" /dir 'C:\this & that'
expect_line 'install.cmd: not a folder for the program: "C:\this & that"'
on 0 cmd /c "$uninstall"
expect_line "$name is not installed."

# The script that is installed lies in the package too, among files that look like an installation.
on 0 cmd /c "C:\package\files\\$name-uninstall.cmd"
expect_line "$name is not installed."
on 1 cmd /c "$install" /dir 'C:\package\files'
expect_line 'install.cmd: not a folder for the program: "C:\package\files"'
expect_line 'It belongs to a package. Nothing was changed.'
on 1 reg query "HKLM\\SYSTEM\\CurrentControlSet\\Services\\$name"
(cd -- "$drive/package" && sha256sum --quiet -c SHA256SUMS) || give_up 'the package was taken apart'

# --- the service manager's other refusals -------------------------------------------------------

refuse() { printf '%s\n' "$1" >"$drive/sc-refuses.txt"; }
refuse 'create 1072'
on 7 cmd /c "$install"
expect_line 'install.cmd: the service manager refused: error 1072'
rm -- "$drive/sc-refuses.txt"

# --- what is incomplete, or cannot be copied, leaves nothing ------------------------------------

mv -- "$drive/package/files/pl-PL.dll" "$place/"
on 2 cmd /c "$install"
expect_line 'install.cmd: the package is not complete: "C:\package\files\pl-PL.dll" is missing'
mv -- "$place/pl-PL.dll" "$drive/package/files/"
mv -- "$drive/package/files/$name-files.txt" "$place/"
on 2 cmd /c "$install"
expect_line "install.cmd: the package is not complete: \"C:\package\files\\$name-files.txt\" is missing"
mv -- "$place/$name-files.txt" "$drive/package/files/"

on 2 cmd /c "$install" /dir 'C:\windows\win.ini\inside'
expect_line 'install.cmd: the files could not be copied to "C:\windows\win.ini\inside".'
expect_line 'What had been done was undone.'
on 1 reg query "HKLM\\SYSTEM\\CurrentControlSet\\Services\\$name"

# --- an older version, in the usual folder, without a start -------------------------------------

on 0 cmd /c 'C:\older\install.cmd' /nostart
expect_line 'Installing TPMEnrollmentService into "C:\Program Files\Orvix\TPMEnrollmentService"'
grep -qF 'note: OrvixVTMEkRecertification.exe is not in this folder' "$place/out" ||
  give_up 'nobody tells where the recertification program is missing'
[[ -f "$drive/Program Files/Orvix/$name/gone-since.txt" ]] || give_up 'a file was not copied'
expect_state STOPPED
on 0 reg query "HKLM\\SYSTEM\\CurrentControlSet\\Services\\$name"
expect_line '    ImagePath    REG_SZ    "C:\Program Files\Orvix\TPMEnrollmentService\TPMEnrollmentService.exe"'
expect_line '    DisplayName    REG_SZ    Orvix TPM Enrollment Service'
expect_line '    Description    REG_SZ    Sees the firmware TPM of this platform through its enrollment, and ends by itself when that is done.'
expect_line '    ObjectName    REG_SZ    LocalSystem'
expect_line '    DependOnService    REG_MULTI_SZ    Schedule'
expect_line '    Start    REG_DWORD    0x2'
expect_line '    Type    REG_DWORD    0x10'
# What Wine does not keep, as it was asked for.
sed 's/\r//' "$drive/sc-calls.txt" >"$place/out"
expect_line "failure|$name|reset=|86400|actions=|restart/60000/restart/300000/restart/3600000"
expect_line "failureflag|$name|1"

touch "$drive/sc-refuses.txt"
on 5 cmd /c "$install" /nostart
on 5 cmd /c "$uninstall"
expect_line 'uninstall.cmd: access is denied. This takes a command prompt of an administrator. Nothing was changed.'
[[ -f "$drive/Program Files/Orvix/$name/gone-since.txt" ]] || give_up 'files went without rights'
rm -- "$drive/sc-refuses.txt"

# --- an upgrade that breaks off when the old files have gone can be done again ------------------

on 2 cmd /c "$install" /dir 'C:\windows\win.ini\inside'
expect_line 'The service is registered and stopped; run this script again.'
[[ ! -e "$drive/Program Files/Orvix/$name/$name.exe" ]] || give_up 'it broke off too early to tell'

# --- upgraded, and moved into the stack's folder, where it can run ------------------------------

on 0 cmd /c "$install" /dir 'C:\Program Files\Orvix\tALS Client'
if grep -F note: "$place/out"; then give_up 'there is a note about nothing'; fi
[[ ! -e "$drive/Program Files/Orvix/$name" ]] || give_up 'the old folder was left'
cmp -- "$stack/$name.exe" "$BUILD_ROOT/program/$name.exe" || give_up 'another program was installed'
[[ ! -e $stack/gone-since.txt ]] || give_up 'a file of the older version was taken along'
await_state RUNNING

# A service that does not stop is left as it is.
refuse 'stop 1051'
on 6 cmd /c "$install"
expect_line 'install.cmd: the service did not stop: error 1051. Nothing was changed.'
on 6 cmd /c "$uninstall"
expect_line 'uninstall.cmd: the service did not stop: error 1051. Nothing was changed; try again.'
rm -- "$drive/sc-refuses.txt"
expect_state RUNNING

# Once more, in its place, with the service at work.
on 0 cmd /c "$install"
expect_line 'Bringing TPMEnrollmentService up to this version in "C:\Program Files\Orvix\tALS Client"'
await_state RUNNING

on 0 sc stop "$name"
await_state STOPPED

# One that does not start breaks nothing off.
refuse 'start 1053'
on 3 cmd /c "$install"
expect_line 'install.cmd: installed, but the service did not start: error 1053'
rm -- "$drive/sc-refuses.txt"
cmp -- "$stack/$name.exe" "$BUILD_ROOT/program/$name.exe" || give_up 'it was not installed'
# Nor does one that somebody has started meanwhile.
refuse 'start 1056'
on 0 cmd /c "$install"
expect_line 'Done.'
rm -- "$drive/sc-refuses.txt"

# The sample has nothing that the checker complains about, and changes nothing.
on 0 'C:\Program Files\Orvix\tALS Client\config-check.exe' \
  'C:\Program Files\Orvix\tALS Client\TPMEnrollmentService.conf.sample'
expect_line 'No warnings.'
expect_line '  TCBRepeaterTime   3600 s      line 12'
expect_line '  LogLevel          INFO        line 15'

# --- removed, by the script that was installed --------------------------------------------------

arrange_task
await_end_of_program
on 0 sc start "$name"
await_state RUNNING
on 0 cmd /c 'C:\Program Files\Orvix\tALS Client\TPMEnrollmentService-uninstall.cmd'
expect_line 'Removing TPMEnrollmentService from "C:\Program Files\Orvix\tALS Client"'
# Wine's command interpreter keeps the script open that it reads, so this one could not go.
rm -- "$stack/$name-uninstall.cmd"

# --- a removal that breaks off can be done again, by the script that it leaves ------------------

readonly own="$drive/Program Files/Orvix/$name"
on 0 cmd /c "$install" /nostart
refuse 'delete 1072'
on 7 cmd /c "$uninstall"
expect_line 'uninstall.cmd: the service manager refused: error 1072'
[[ -f $own/$name.exe ]] || give_up 'files of a service went that is still registered'
rm -- "$drive/sc-refuses.txt"
# A task that stays, whoever asks.
mkdir -- "$drive/windows/system32/Tasks/$task"
on 2 cmd /c "$uninstall"
expect_line "uninstall.cmd: could not be removed: \"the scheduled task $task\""
on 1 reg query "HKLM\\SYSTEM\\CurrentControlSet\\Services\\$name"
[[ ! -e $own/$name.exe ]] || give_up 'the program was left'
rmdir -- "$drive/windows/system32/Tasks/$task"
on 0 cmd /c "C:\\Program Files\\Orvix\\$name\\$name-uninstall.cmd"
[[ $(ls -A -- "$own") == "$name-uninstall.cmd" ]] || give_up 'something was left'
rm -- "$own/$name-uninstall.cmd"

# --- and from a folder of its own by that of the package, which leaves no folder ----------------

on 0 cmd /c "$install" /nostart
on 0 cmd /c "$uninstall"
expect_line 'Removing TPMEnrollmentService from "C:\Program Files\Orvix\TPMEnrollmentService"'
on 0 cmd /c "$uninstall"
expect_line "$name is not installed."

end_session
rm -- "$drive/sc-calls.txt"
look "$place/after"
expect_same_look before after
