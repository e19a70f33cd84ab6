#!/usr/bin/env bash
# Tests of the package as a file: package_test.sh NAME... runs the named tests. SOURCE_ROOT and
# BUILD_ROOT say where the sources and the build are, PROGRAM_FOLDER where the program is that the
# other tests run, PACKAGE_FOLDER where the package was made for them, CMAKE the program of this name.
set -euo pipefail

readonly name=TPMEnrollmentService
readonly version=1.79.13.0
readonly archive=$PACKAGE_FOLDER/$name-$version-x64.zip
readonly installer=$PACKAGE_FOLDER/$name-$version-x64.msi
place=$(mktemp -d)
trap 'rm -rf -- "$place"' EXIT

give_up() {
  printf 'FAILED: %s\n' "$1"
  exit 1
}

# Takes the package apart; what it holds is then in $inside.
readonly inside=$place/$name-$version-x64
unpack() { [[ -d $inside ]] || unzip -q "$archive" -d "$place"; }

# What is made for the tests that follow.
test_can_be_made() {
  rm -rf -- "$PACKAGE_FOLDER"
  "$SOURCE_ROOT/packaging/make.sh" "$BUILD_ROOT" "$PACKAGE_FOLDER" >"$place/out"
  printf '%s\n' "$archive" "$installer" | diff -u -- - "$place/out" || give_up 'something else was made'
}

test_holds_what_it_should() {
  unpack
  (cd -- "$inside" && find . -type f -printf '%P\n' | LC_ALL=C sort) >"$place/found"
  cat >"$place/expected" <<'END_OF_LIST'
README.txt
SHA256SUMS
bill-of-materials.cdx.json
files/TPMEnrollmentService-docs/attack-surface.md
files/TPMEnrollmentService-docs/configuration.md
files/TPMEnrollmentService-docs/exit-codes.md
files/TPMEnrollmentService-docs/install.md
files/TPMEnrollmentService-docs/licences/gcc-runtime.txt
files/TPMEnrollmentService-docs/licences/licences.txt
files/TPMEnrollmentService-docs/licences/mingw-w64.txt
files/TPMEnrollmentService-docs/log.md
files/TPMEnrollmentService-docs/oddities.md
files/TPMEnrollmentService-docs/task.md
files/TPMEnrollmentService-files.txt
files/TPMEnrollmentService-uninstall.cmd
files/TPMEnrollmentService.conf.sample
files/TPMEnrollmentService.exe
files/TPMEnrollmentService.wprp
files/VUSL_de-DE.dll
files/VUSL_en-US.dll
files/VUSL_es-ES.dll
files/VUSL_es-MX.dll
files/VUSL_pl-PL.dll
files/VUSL_pt-BR.dll
files/config-check.exe
files/de-DE.dll
files/en-US.dll
files/es-ES.dll
files/es-MX.dll
files/pl-PL.dll
files/pt-BR.dll
install.cmd
uninstall.cmd
END_OF_LIST
  diff -u -- "$place/expected" "$place/found" || give_up 'it holds something else'
}

# Whoever makes it, where and when: with other rights for new files, in another zone and language,
# in a folder of another length.
test_is_the_same_bytes_when_made_again() {
  (umask 077 && TZ=Asia/Tokyo LANG=de_DE.UTF-8 "$SOURCE_ROOT/packaging/make.sh" "$BUILD_ROOT" \
    "$place/another/folder/altogether") >/dev/null
  cmp -- "$archive" "$place/another/folder/altogether/$name-$version-x64.zip" ||
    give_up 'it is not the same bytes'
  cmp -- "$installer" "$place/another/folder/altogether/$name-$version-x64.msi" ||
    give_up 'the installer package is not the same bytes'
}

# Every entry: of the stamp that the format begins with, in order, with nothing of who made it.
test_tells_nothing_of_who_made_it_and_when() {
  unzip -Z1 "$archive" >"$place/names"
  LC_ALL=C sort -c "$place/names" || give_up 'the entries are in no order'
  unzip -ZT "$archive" | sed -n 's/.* \([0-9]\{8\}\.[0-9]\{6\}\) .*/\1/p' | sort -u >"$place/stamps"
  [[ $(cat "$place/stamps") == 19800101.000000 ]] || give_up 'there are other stamps'
  unzip -Zv "$archive" >"$place/details"
  if grep -F 'extra field' "$place/details" | grep -vE ':? +0 (bytes|characters)' | grep -q bytes; then
    give_up 'there are fields of the system that made it'
  fi
  if grep -aF -e "$SOURCE_ROOT" -e "$BUILD_ROOT" "$archive"; then give_up 'it names a folder'; fi
}

test_has_the_program_that_the_tests_ran() {
  unpack
  [[ $(sha256sum <"$inside/files/$name.exe") == $(sha256sum <"$PROGRAM_FOLDER/$name.exe") ]] ||
    give_up 'it is another program'
  local library
  for library in "$PROGRAM_FOLDER"/*.dll; do
    cmp -- "$library" "$inside/files/$(basename -- "$library")" || give_up 'it is another library'
  done
}

# The scripts and the record by which they go are of no use to the installer. A package for it that
# differs in anything has an id of its own.
test_has_an_installer_package_with_the_same_files() {
  unpack
  msiextract -C "$place/extracted" "$installer" >/dev/null
  local folder="$place/extracted/Program Files/Orvix/$name"
  [[ -d $folder ]] || folder=$(dirname -- "$(find "$place/extracted" -name "$name.exe")")
  rm -- "$inside/files/$name-uninstall.cmd" "$inside/files/$name-files.txt"
  diff -r -- "$inside/files" "$folder" || give_up 'it has other files'

  mkdir -p "$place/changed/files"
  cp -r -- "$inside/." "$place/changed/"
  printf 'changed' >>"$place/changed/SHA256SUMS"
  "$SOURCE_ROOT/packaging/make-msi.sh" "$place/changed" "$version" "$place/changed.msi"
  [[ $(msiinfo suminfo "$installer" | grep UUID) != $(msiinfo suminfo "$place/changed.msi" | grep UUID) ]] ||
    give_up 'a package that is another has the same id'
}

# What Wine's installer does not look at, or does not act by: whether a removal makes place for another
# version, whether it waits for a stop, what a file's version is.
test_tells_the_installer_what_wine_does_not_show() {
  row() {
    msiinfo export "$installer" "$1" | sed 's/\r$//' | grep -qxF -- "$2" || give_up "not in $1: $2"
  }
  row InstallExecuteSequence $'DeleteTask\tREMOVE="ALL" AND NOT UPGRADINGPRODUCTCODE\t2050'
  row InstallExecuteSequence $'StartService\tNOT REMOVE AND STARTSERVICE="1"\t5910'
  # Stopped ahead of an installation and of a removal, deleted by a removal, and waited for.
  row ServiceControl $'Service\tTPMEnrollmentService\t162\t\t1\tService'
  row File $'Program\tService\tTPMEnrollmentService.exe\t'"$(stat -c %s "$PROGRAM_FOLDER/$name.exe")"$'\t1.79.13.0\t1033\t512\t1'
  row LaunchCondition $'NOT WIX_DOWNGRADE_DETECTED\tA newer version is installed.'
  # A newer version is this installer's own, whoever of the two conditions is asked first.
  row LaunchCondition $'Installed OR NOT SERVICEIMAGE OR WIX_UPGRADE_DETECTED OR WIX_DOWNGRADE_DETECTED\tThe service TPMEnrollmentService is there, and this installer did not install it. Remove it in the way in which it was installed.'
  # In the registry's half for programs of 64 bits.
  row RegLocator $'KnownDir\t2\tSOFTWARE\\Orvix\\TPMEnrollmentService\tInstallDir\t18'
  [[ $(msiinfo suminfo "$installer" | sed -n 's/^Template: //p') == 'x64;1033' ]] ||
    give_up 'it is not for 64 bits'
}

# The checker is a program of ours as the other is, and its bytes are to be the same everywhere too.
test_has_a_checker_that_does_not_tell_where_it_was_made() {
  unpack
  local checker=$inside/files/config-check.exe telling
  { strings -n 4 -- "$checker"; strings -n 4 -e l -- "$checker"; } >"$place/texts"
  grep -qF TCBRepeaterTime "$place/texts" || give_up 'its texts were not found'
  for telling in "$SOURCE_ROOT" "$BUILD_ROOT" /usr/ /home/ /tmp/ /root/ /build/; do
    if grep -F -- "$telling" "$place/texts"; then give_up "a text tells of $telling"; fi
  done
  x86_64-w64-mingw32-objdump -p -- "$checker" |
    grep -E '^Time/Date\s+Thu Jan +1 00:00:00 1970$' >/dev/null || give_up 'there is a time stamp'
}

test_has_right_checksums() {
  unpack
  (cd -- "$inside" && sha256sum --quiet -c SHA256SUMS) || give_up 'a checksum is wrong'
  [[ $(wc -l <"$inside/SHA256SUMS") == 32 ]] || give_up 'files are missing in the list'
  (cd -- "$PACKAGE_FOLDER" && sha256sum --quiet -c "$name-$version-x64".{zip,msi}.sha256) ||
    give_up "a package's own checksum is wrong"
}

# The record is what the scripts go by; it does not name itself, because it goes last.
test_records_what_is_installed() {
  unpack
  sed 's/\r$//; s,\\,/,g' "$inside/files/$name-files.txt" >"$place/recorded"
  (cd -- "$inside/files" && find . -type f ! -name "$name-files.txt" -printf '%P\n' | LC_ALL=C sort) |
    diff -u -- - "$place/recorded" || give_up 'the record is another list'
}

test_has_texts_in_the_form_of_the_platform() {
  unpack
  local text
  find "$inside" -type f \( -name '*.txt' -o -name '*.md' -o -name '*.cmd' -o -name '*.sample' \
    -o -name '*.wprp' \) >"$place/texts"
  [[ $(wc -l <"$place/texts") == 17 ]] || give_up 'there are fewer or more texts'
  while IFS= read -r text; do
    [[ $(grep -c '' "$text") == $(grep -c $'[^\r]\r$\|^\r$' "$text") ]] ||
      give_up "a line without its end, or with two, in $text"
  done <"$place/texts"
}

# A link that leads to no page of the package would be one that leads nowhere.
test_has_pages_whose_links_lead_somewhere() {
  unpack
  local docs=$inside/files/$name-docs link count=0
  while IFS= read -r link; do
    [[ -f $docs/$link ]] || give_up "a link leads to $link"
    count=$((count + 1))
  done < <(grep -ohE '\]\([^)#:]+' "$docs"/*.md | sed 's/^](//')
  ((count >= 8)) || give_up "there are only $count links"
}

# What the bill of materials calls a library of the linker's; nothing for one that nobody knows. The
# import libraries stand for what Windows itself brings, and come with the C runtime.
name_in_bill() {
  case $1 in
    libstdc++ | libgcc | libgcc_eh | libssp) printf '%s\n' "$1" ;;
    libpthread | libwinpthread) printf 'winpthreads\n' ;;
    libmingw32 | libmingwex | libmsvcrt) printf 'mingw-w64-runtime\n' ;;
    libadvapi32 | libcfgmgr32 | libkernel32 | libshell32 | libshlwapi | libole32 | liboleaut32 | \
      libtaskschd | libuuid | libuser32) printf 'mingw-w64-runtime\n' ;;
  esac
}

# Two programs: the libraries whose objects the linker takes are those that the bill has for each, and
# no others; and the notes have a word of every one.
test_tells_of_every_library_that_is_linked_in() {
  unpack
  local target library found
  for target in tools/config-check/config-check.exe program/$name.exe; do
    ninja -C "$BUILD_ROOT" -t commands "$target" | tail -n 1 >"$place/command"
    sed -i "s,-o $target,-o $place/linked.exe -Wl\\,-Map=$place/map," "$place/command"
    (cd -- "$BUILD_ROOT" && bash "$place/command")
    # Only those of which something was taken.
    sed -n '1,/^Discarded input sections/s,^.*/\(lib[^/(]*\)\.a(.*,\1,p' "$place/map" |
      sed 's/\.dll$//' | sort -u >"$place/libraries"
    grep -qxF libstdc++ "$place/libraries" || give_up "the linker's map was not understood"
    while IFS= read -r library; do
      found=$(name_in_bill "$library")
      [[ -n $found ]] || give_up "$library is linked into $target"
      printf '%s %s\n' "${target##*/}" "$found" >>"$place/linked.unsorted"
    done <"$place/libraries"
  done
  LC_ALL=C sort -u -- "$place/linked.unsorted" >"$place/linked"
  read_bill
  diff -u -- "$place/linked" "$place/dependencies" || give_up 'the bill has other libraries'
  while read -r _ library; do
    grep -qF "${library%-runtime}" "$inside/files/$name-docs/licences/licences.txt" ||
      give_up "no word of $library"
  done <"$place/linked"
}

# Holds the bill against the files, and leaves which of them depends on what in $place/dependencies.
read_bill() {
  "$CMAKE" -D BILL="$inside/bill-of-materials.cdx.json" -D FOLDER="$inside/files" \
    -D VERSION="$version" -D DEPENDENCIES="$place/dependencies.unsorted" \
    -P "$SOURCE_ROOT/tests/windows/package_bill.cmake"
  LC_ALL=C sort -- "$place/dependencies.unsorted" >"$place/dependencies"
}

test_has_the_texts_of_the_licences() {
  unpack
  local licences=$inside/files/$name-docs/licences
  grep -qF 'GCC RUNTIME LIBRARY EXCEPTION' "$licences/gcc-runtime.txt" || give_up 'no exception'
  grep -qF 'You have permission to propagate a work of Target Code' "$licences/gcc-runtime.txt" ||
    give_up 'the exception is not whole'
  grep -qF 'License: ZPL-2.1' "$licences/mingw-w64.txt" || give_up 'nothing of the C runtime'
  grep -qF 'mingw-w64-libraries/winpthreads' "$licences/mingw-w64.txt" || give_up 'nothing of threads'
  if grep -F '@' "$licences/licences.txt"; then give_up 'a version was not filled in'; fi
}

test_has_a_bill_of_materials() {
  unpack
  read_bill
}

test_captures_the_providers_events() {
  unpack
  local profile=$inside/files/$name.wprp names id
  xmllint --noout "$profile"
  names=$(xmllint --xpath '//EventProvider/@Name' "$profile" | sed 's/.*"\(.*\)"/\1/' | sort -u)
  [[ $names == 590DE0FF-DC7D-4731-AC4F-A961AF00E9DA ]] || give_up "another provider: $names"
  # The same, in the program: as its bytes lie in memory.
  od -An -v -tx1 "$inside/files/$name.exe" | tr -d ' \n' |
    grep -F ffe00d597ddc3147ac4fa961af00e9da >/dev/null || give_up 'the program has another provider'
  for id in $(xmllint --xpath '//EventProviderId/@Value | //EventCollectorId/@Value' "$profile" |
    sed 's/.*"\(.*\)"/\1/'); do
    [[ $(xmllint --xpath "count(//*[@Id='$id'])" "$profile") == 1 ]] || give_up "there is no $id"
  done
  # A profile is found under its name, how much it tells, and where it writes.
  xmllint --xpath '//Profile/@Id' "$profile" | sed 's/.*"\(.*\)"/\1/' >"$place/ids"
  printf 'TPMEnrollmentService.%s\n' Light.File Light.Memory Verbose.File Verbose.Memory |
    diff -u -- - "$place/ids" || give_up 'there are other profiles'
}

for test in "$@"; do "test_$test"; done
