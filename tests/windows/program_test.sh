#!/usr/bin/env bash
# Tests of the program's file as it is shipped: program_test.sh NAME... runs the named tests.
# SOURCE_ROOT, BUILD_ROOT and PROGRAM_FOLDER say where the sources, the build and the program are.
set -euo pipefail

readonly tools=x86_64-w64-mingw32
readonly program=$PROGRAM_FOLDER/TPMEnrollmentService.exe
place=$(mktemp -d)
trap 'rm -rf -- "$place"' EXIT

give_up() {
  printf 'FAILED: %s\n' "$1"
  exit 1
}

# The headers and tables of the file in words.
headers() { "$tools-objdump" -p -- "$program"; }

# Succeeds if the file has these bytes, given in hexadecimal, anywhere.
has_bytes() { od -An -v -tx1 -- "$1" | tr -d ' \n' | grep -F -- "${2// /}" >/dev/null; }

# The bytes of a text as the platform keeps it in resources, in hexadecimal.
wide() { printf '%s' "$1" | iconv -t UTF-16LE | od -An -v -tx1 | tr -d ' \n'; }

test_imports_the_systems_own_libraries_only() {
  headers | sed -n 's/^\tDLL Name: //p' | tr '[:upper:]' '[:lower:]' | sort >"$place/imported"
  printf '%s\n' advapi32.dll cfgmgr32.dll kernel32.dll msvcrt.dll ole32.dll oleaut32.dll \
    shell32.dll shlwapi.dll user32.dll >"$place/known"
  [[ -s $place/imported ]] || give_up 'no import was found'
  local other
  other=$(comm -23 "$place/imported" "$place/known")
  [[ -z $other ]] || give_up "imported, and not known as the system's own: $other"
}

# Asked of the objects of both programs: in the linked ones the toolchain's runtime calls some by their
# narrow names.
test_calls_the_platform_by_its_wide_names() {
  find "$BUILD_ROOT/CMakeFiles" "$BUILD_ROOT/tools" -name '*.obj' -print0 |
    xargs -0 "$tools-nm" -u -- | sed -n 's/^ *U __imp_//p' | sort -u >"$place/called"
  [[ $(grep -c 'W$' "$place/called") -ge 25 ]] || give_up 'too few calls were found'
  local narrow
  narrow=$(grep -E '[a-z]A$' "$place/called") || return 0
  give_up "called by a narrow name: $narrow"
}

# The loader places it anywhere in 64 bits, and data cannot be run.
test_is_protected_by_the_loader() {
  headers >"$place/headers"
  local wanted
  for wanted in HIGH_ENTROPY_VA DYNAMIC_BASE NX_COMPAT; do
    grep -qwF "$wanted" "$place/headers" || give_up "not among the characteristics: $wanted"
  done
  # Without its relocations nothing can be placed elsewhere, whatever the characteristics say.
  "$tools-objdump" -h -- "$program" | grep -wF .reloc >/dev/null || give_up 'there are no relocations'
}

test_watches_its_stack() {
  grep -qaF 'stack smashing detected' "$program" ||
    give_up 'nothing in it ends the process when the stack was overwritten'
  # The text comes along with other guards too, so our own objects must ask for it.
  "$tools-nm" -u -- "$BUILD_ROOT"/CMakeFiles/product.dir/service/*.obj >"$place/wanted" 2>&1
  grep -qwF __stack_chk_fail "$place/wanted" || give_up 'the product does not watch its stack'
}

test_is_a_console_program_of_64_bits() {
  headers >"$place/headers"
  grep -qE '^Subsystem\s+00000003\s+\(Windows CUI\)$' "$place/headers" ||
    give_up 'it is no console program'
  grep -qE '^Magic\s+020b\s+\(PE32\+\)$' "$place/headers" || give_up 'it has not 64 bits'
}

# Type 24, name 1: where the loader looks for it.
test_carries_its_manifest() {
  headers | sed -n '/^The .rsrc Resource Directory/,$p' >"$place/resources"
  grep -qE 'ID: 0x0*18' "$place/resources" || give_up 'there is no manifest'
  grep -qaF 'supportedOS Id="{8e0f7a12-bfb3-4fe8-b9a5-48fd50a15a9a}"' "$program" ||
    give_up 'Windows 10 is not among the supported systems'
  grep -qaF 'supportedOS Id="{1f676c76-80e1-4239-95bb-83d0f6d0da78}"' "$program" ||
    give_up 'Windows 8.1 is not among the supported systems'
}

# 1.79.13.0 in the fixed part, twice, behind its signature and the part's own version, and in words.
test_carries_its_version() {
  has_bytes "$program" 'bd04effe 00000100 4f000100 00000d00 4f000100 00000d00' ||
    give_up 'the number of the version is not 1.79.13.0'
  local key
  for key in FileVersion ProductVersion; do
    # The key with its terminator, filled up to a multiple of four bytes, then the text.
    has_bytes "$program" "$(wide "$key")$(padding "$key")$(wide 1.79.13.0)0000" ||
      give_up "$key is not 1.79.13.0"
  done
}

# A key stands behind a head of six bytes.
padding() { if (((6 + 2 * (${#1} + 1)) % 4 == 0)); then printf 0000; else printf 00000000; fi; }

# The version that the program itself prints is that of its file.
test_prints_the_version_of_its_file() {
  has_bytes "$program" "$(wide 'TPM Enrollment Service [Version: ')" ||
    give_up 'the banner was not found'
  grep -qF 'kServiceVersion[] = L"1.79.13.0"' "$SOURCE_ROOT/service/ServiceHost.h" ||
    give_up 'the version that is printed is not 1.79.13.0'
}

test_does_not_tell_where_it_was_made() {
  { strings -n 4 -- "$program"; strings -n 4 -e l -- "$program"; } >"$place/texts"
  [[ -s $place/texts ]] || give_up 'no text was found'
  local telling
  for telling in "$SOURCE_ROOT" "$BUILD_ROOT" /usr/ /home/ /tmp/ /root/ /build/; do
    if grep -F -- "$telling" "$place/texts"; then give_up "a text tells of $telling"; fi
  done
}

test_has_no_time_stamp() {
  headers | grep -E '^Time/Date\s+Thu Jan +1 00:00:00 1970$' >/dev/null || give_up 'there is a time stamp'
}

test_has_no_symbols() {
  "$tools-nm" -- "$program" >"$place/symbols" 2>&1 || true
  grep -qF 'no symbols' "$place/symbols" || give_up 'the symbols were left in it'
}

test_is_at_most_1_5_mib_large() {
  local size
  size=$(stat -c %s -- "$program")
  printf 'size: %s bytes\n' "$size"
  ((size <= 1572864)) || give_up "it has $size bytes"
}

test_has_its_language_libraries_beside_it() {
  local language
  for language in en-US es-ES pt-BR es-MX de-DE pl-PL; do
    cmp -- "$BUILD_ROOT/languages/$language.dll" "$PROGRAM_FOLDER/$language.dll"
    cmp -- "$BUILD_ROOT/languages/VUSL_$language.dll" "$PROGRAM_FOLDER/VUSL_$language.dll"
  done
}

# The objects of a program, of which every so many-th is named, from one on that goes by the program's
# checksum: another version has another sample. drawn_from FOLDER NUMBER.
drawn_from() {
  local objects sum
  mapfile -t objects < <(cd -- "$BUILD_ROOT" && find "$1" -name '*.obj' | LC_ALL=C sort)
  ((${#objects[@]} >= $2)) || give_up "there are no objects in $1"
  sum=$(sha256sum <"$program")
  local first=$((16#${sum:0:8} % ${#objects[@]})) i
  for ((i = 0; i < $2; i++)); do
    printf '%s\n' "${objects[(first + i * (${#objects[@]} / $2)) % ${#objects[@]}]}"
  done
}

# Some sources, and one that asks where it stands, are compiled from a copy of the tree in folders of
# another length, and both programs are linked once more in such a folder. Whatever tells of a place
# or a time would show in either. `./dev package --proof` compiles all of them.
test_is_the_same_bytes_when_made_elsewhere() {
  local copy=$place/another/folder/altogether name object
  mkdir -p -- "$copy/standins" "$copy/platform/wine" "$copy/linked" "$copy/tools"
  for name in CMakeLists.txt CMakePresets.json cmake VUSL client task service resources \
    platform/CMakeLists.txt platform/win32.h platform/mingw tools/config-check tools/EditDistance.cpp \
    tools/EditDistance.h; do
    cp -r -- "$SOURCE_ROOT/$name" "$copy/$name"
  done
  : >"$copy/standins/CMakeLists.txt"
  : >"$copy/platform/wine/CMakeLists.txt"
  local objects=(CMakeFiles/product.dir/client/FileUtils.cpp.obj
    CMakeFiles/TPMEnrollmentService.dir/resources/TPMEnrollmentService.rc.res)
  mapfile -t -O 2 objects < <(drawn_from CMakeFiles/product.dir 2 && drawn_from tools/config-check 1)
  printf 'compiled: %s\n' "${objects[@]}"
  # A cache of compilations would give the same bytes whatever the compiler does.
  (cd -- "$copy" && export CCACHE_DISABLE=1 &&
    cmake --preset windows -B made -D BUILD_TESTING=OFF &&
    cmake --build made --target "${objects[@]}") >"$place/log" 2>&1 || {
    tail -n 30 -- "$place/log"
    give_up 'it could not be compiled a second time'
  }
  for object in "${objects[@]}"; do
    cmp -- "$BUILD_ROOT/$object" "$copy/made/$object" || give_up 'another object came of it'
  done

  (cd -- "$BUILD_ROOT" && find CMakeFiles platform tools \( -name '*.obj' -o -name '*.res' \) -print0 |
    xargs -0 cp --parents -t "$copy/linked")
  mkdir -- "$copy/linked/program"
  for name in program/TPMEnrollmentService.exe tools/config-check/config-check.exe; do
    ninja -C "$BUILD_ROOT" -t commands "$name" | tail -n 1 >"$place/link"
    (cd -- "$copy/linked" && bash "$place/link") || give_up "$name could not be linked a second time"
    cmp -- "$BUILD_ROOT/$name" "$copy/linked/$name" || give_up "$name is not the same bytes"
  done
}

# --- docs/attack-surface.md ----------------------------------------------------------------------

# What stands in backticks on the page's lines of one kind, one a line.
on_the_page() {
  # shellcheck disable=SC2016  # the backticks are the page's own
  sed -n "s/^- $1: //p" "$SOURCE_ROOT/docs/attack-surface.md" | grep -o '`[^`]*`' | tr -d '`' | sort
}

# Gives up if two sorted lists are not the same, or are suspiciously short.
expect_same() {
  (($(wc -l <"$place/has") >= $1)) || give_up 'hardly anything was found in the program'
  [[ -z $(uniq -d "$place/page") ]] || give_up "twice on the page: $(uniq -d "$place/page")"
  diff -- "$place/has" "$place/page" ||
    give_up 'what the program has (<) is not what docs/attack-surface.md knows (>)'
}

test_imports_what_the_page_of_doors_knows() {
  headers | sed -nE 's/^\t[0-9a-f]+\t? +[0-9]+ +([A-Za-z_]\w*)$/\1/p' | sort -u >"$place/has"
  on_the_page Calls >"$place/page"
  expect_same 150
}

# Every text in the program that looks like the name of a privilege, a variable, an account, a file,
# an object, a provider, or an entry of the client library, must be on the page. Names on the page
# that look otherwise must be in the program all the same.
test_has_the_names_that_the_page_of_doors_knows() {
  { strings -n 4 -- "$program"; strings -n 4 -e l -- "$program"; } >"$place/texts"
  local looks=(
    'Se[A-Z][A-Za-z]+Privilege'
    'TALS_[A-Z0-9_]+'
    '\{[0-9A-Fa-f]{8}(-[0-9A-Fa-f]{4}){3}-[0-9A-Fa-f]{12}\}'
    'S-1-[0-9-]+'
    '\\?[A-Za-z0-9_-]*\.(exe|dll|sys|conf|cfg|ini|log|bak|new|xml|txt)\b'
    '[A-Za-z]{3,}\\[A-Za-z_]{3,}( [A-Za-z]+)*'
    '(\\\\|//)[A-Za-z0-9_.?-]{3,}'
    'HKEY_[A-Z_]+'
    'Microsoft-Windows-[A-Za-z-]+'
    'SystemFunction[0-9]+'
    'tals[A-Z][A-Za-z0-9_]*'
  )
  local look
  for look in "${looks[@]}"; do grep -oE -- "$look" "$place/texts" || true; done | sort -u >"$place/found"
  # Parts of the system's own sources and classes, which exceptions show, and of a line of the log.
  printf '%s\n' 'VUSL\Support' 'VUSL\SupportCore' talsClientCaller talsStatus talsUtils \
    OrvixVTMEKRecertification.exe | sort >"$place/no-names"
  comm -23 -- "$place/found" "$place/no-names" >"$place/names"
  on_the_page Names >"$place/page"
  # What the page knows besides counts as found if it stands in the program.
  local name
  while IFS= read -r name; do
    if grep -qF -- "$name" "$place/texts"; then printf '%s\n' "$name"; fi
  done < <(comm -13 -- "$place/names" "$place/page") | sort -u - "$place/names" >"$place/has"
  expect_same 80
}

# The bytes of an id of 128 bits, in hexadecimal: the first three numbers stand backwards.
id_bytes() {
  local id=${1//[\{\}-]/}
  printf '%s' "${id:6:2}${id:4:2}${id:2:2}${id:0:2}${id:10:2}${id:8:2}${id:14:2}${id:12:2}${id:16}"
}

test_has_the_ids_that_the_page_of_doors_knows() {
  on_the_page Ids >"$place/page"
  [[ -s $place/page ]] || give_up 'the page knows no ids'
  local id
  while IFS= read -r id; do
    has_bytes "$program" "$(id_bytes "$id")" || give_up "not in the program: $id"
  done <"$place/page"
}

for name in "$@"; do "test_$name"; done
