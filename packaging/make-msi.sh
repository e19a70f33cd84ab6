#!/usr/bin/env bash
# Makes the installer package of what make.sh has laid out: make-msi.sh PACKAGE VERSION RESULT, where
# PACKAGE is the folder that is in the zip. The same files give the same bytes.
set -euo pipefail

readonly name=TPMEnrollmentService
room=$(dirname -- "$(readlink -f -- "${BASH_SOURCE[0]}")")
readonly room package=$1 version=$2 result=$3
readonly files=$package/files

export LC_ALL=C TZ=UTC
# A setting that the tool does not know is an error, not a warning.
export G_DEBUG=fatal-warnings
place=$(mktemp -d)
trap 'rm -rf -- "$place"' EXIT

# The package tells when it was made: at the stamp of its files.
at_stamp() { faketime -f '1980-01-01 00:00:00' "$@"; }

# An id that is always the same for the same text, in the form of those that are made of names.
guid_of() {
  local sum
  sum=$(printf '%s %s' "$name" "$1" | sha1sum)
  sum=${sum^^}
  printf '%s-%s-5%s-A%s-%s' "${sum:0:8}" "${sum:8:4}" "${sum:13:3}" "${sum:17:3}" "${sum:20:12}"
}

# Ids of the installer's tables take letters, digits, periods and underscores.
id_of() { printf '%s' "$1" | tr -c 'A-Za-z0-9.' _; }

# The components of the files that are directly in a folder: components FOLDER.
components() {
  local file path
  for file in "$1"/*; do
    [[ -f $file ]] || continue
    path=${file#"$files"/}
    case $path in
      "$name.exe" | "$name-uninstall.cmd" | "$name-files.txt") continue ;;
    esac
    printf '<Component Id="c.%s" Guid="%s" Win64="yes"><File Id="f.%s" Name="%s" KeyPath="yes" Source="%s"/></Component>\n' \
      "$(id_of "$path")" "$(guid_of "component $path")" "$(id_of "$path")" "${path##*/}" "files/$path"
    printf '<ComponentRef Id="c.%s"/>\n' "$(id_of "$path")" >>"$place/references"
  done
}

{
  components "$files"
  printf '<Directory Id="DOCSDIR" Name="%s-docs">\n' "$name"
  components "$files/$name-docs"
  printf '<Directory Id="LICENCESDIR" Name="licences">\n'
  components "$files/$name-docs/licences"
  printf '</Directory></Directory>\n'
} >"$place/components"

# What tells packages apart that differ in anything but their version.
content=$(cat -- "$package/SHA256SUMS" "$room/$name.wxs" "$place/components" |
  sha256sum)
sed -e "/@COMPONENTS@/{r $place/components
d}" -e "/@REFERENCES@/{r $place/references
d}" -e "s/@VERSION@/$version/; s/@PRODUCT@/$(guid_of "product $version")/" \
  -e "s/@GUID:Service@/$(guid_of 'component service')/" \
  -e "s/@GUID:KnownDir@/$(guid_of 'component known folder')/" \
  "$room/$name.wxs" >"$place/$name.wxs"

# It takes files from below its source alone.
ln -s -- "$(readlink -f -- "$files")" "$place/files"
(cd -- "$place" && at_stamp wixl -a x64 -o "$name.msi" "$name.wxs")

# --- what the tool knows no words for -----------------------------------------------------------

# Gathered, and asked all at once.
queries=()
ask() { queries+=("$1"); }

# Runs the program of a text ahead of the end of the installation, as the local system, and does not
# look at what comes of it: action NAME SEQUENCE CONDITION COMMAND.
action() {
  ask "INSERT INTO CustomAction (Action, Type, Source, Target) VALUES ('$1', 3170, 'System64Folder', '$4')"
  ask "INSERT INTO InstallExecuteSequence (Action, Condition, Sequence) VALUES ('$1', '$3', $2)"
}

readonly tool='"[System64Folder]sc.exe"'
action SetFailure 5850 'NOT REMOVE' \
  "$tool failure $name reset= 86400 actions= restart/60000/restart/300000/restart/3600000"
action SetFailureFlag 5860 'NOT REMOVE' "$tool failureflag $name 1"
# Not by the table of services: that would undo the installation when the service does not start,
# as it does not before the client stack is there.
action StartService 5910 'NOT REMOVE AND STARTSERVICE="1"' "$tool start $name"
action DeleteTask 2050 'REMOVE="ALL" AND NOT UPGRADINGPRODUCTCODE' \
  '"[System64Folder]schtasks.exe" /delete /tn "Orvix VTM EK Recertification" /f'

# The folder is the one that is told, or else the one that is known, or else the usual one.
ask "UPDATE RegLocator SET Type = 18 WHERE Signature_ = 'KnownDir'"
ask "INSERT INTO CustomAction (Action, Type, Source, Target) VALUES ('TakeKnownDir', 51, 'INSTALLDIR', '[KNOWNDIR]')"
ask "INSERT INTO InstallExecuteSequence (Action, Condition, Sequence) VALUES ('TakeKnownDir', 'KNOWNDIR AND NOT INSTALLDIR', 110)"

# Task Scheduler must run before the service looks for its task.
ask "UPDATE ServiceInstall SET Dependencies = 'Schedule[~][~]' WHERE ServiceInstall = 'Service'"
# A file without a version never replaces one that has one; and a file has a version or a hash.
ask "UPDATE File SET Version = '$version', Language = '1033' WHERE File = 'Program'"
ask "DELETE FROM MsiFileHash WHERE File_ = 'Program'"
ask "UPDATE Property SET Value = 'INSTALLDIR;STARTSERVICE;WIX_DOWNGRADE_DETECTED;WIX_UPGRADE_DETECTED' WHERE Property = 'SecureCustomProperties'"
at_stamp msibuild "$place/$name.msi" -q "${queries[@]}"

# What tells this package apart from others, which the tool draws by lot.
at_stamp msibuild "$place/$name.msi" -s 'Orvix TPM Enrollment Service' 'Orvix Corporation' \
  'x64;1033' "{$(guid_of "package $content")}"
mv -- "$place/$name.msi" "$result"
