#!/usr/bin/env bash
# Makes the package out of a finished build for Windows: make.sh BUILD FOLDER. It is written to FOLDER
# twice, as an archive and for the platform's installer: TPMEnrollmentService-<version>-x64.zip and .msi,
# each with its checksum beside it. The same build and the same compiler give the same bytes, whoever
# makes them, where and when.
set -euo pipefail

readonly name=TPMEnrollmentService
room=$(dirname -- "$(readlink -f -- "${BASH_SOURCE[0]}")")
root=$(dirname -- "$room")
readonly room root build=$1 folder=$2
readonly languages=(de-DE en-US es-ES es-MX pl-PL pt-BR)
# What an operator reads; the other pages are for who works on the sources.
readonly pages=(install configuration exit-codes log task attack-surface oddities)
readonly compiler_package=gcc-mingw-w64-x86-64-posix
readonly runtime_package=mingw-w64-x86-64-dev

# The order of names, the stamps in the archive and the rights of files are everybody's.
export LC_ALL=C TZ=UTC
umask 022
# The earliest stamp that the archive can hold: it says nothing.
readonly stamp='1980-01-01 00:00:00'

fail() {
  printf 'make.sh: %s\n' "$1" >&2
  exit 1
}

version=$(sed -n 's/^project(.* VERSION \([0-9.]*\) .*/\1/p' "$root/CMakeLists.txt")
[[ -n $version ]] || fail 'CMakeLists.txt names no version'
version_of() { dpkg-query -W -f '${Version}' "$1" 2>/dev/null || fail "not installed: $1"; }
compiler_version=$(version_of "$compiler_package")
runtime_version=$(version_of "$runtime_package")

mkdir -p -- "$folder"
place=$(mktemp -d -- "$folder/.making.XXXXXX")
trap 'rm -rf -- "$place"' EXIT
chmod 755 "$place"
readonly package=$place/$name-$version-x64
readonly files=$package/files
readonly docs=$files/$name-docs
mkdir -p -- "$docs/licences"

# Texts get the line ends of the platform: its command interpreter reads scripts wrongly without.
put_text() { sed 's/\r*$/\r/' "$1" >"$2"; }

# A page, in which a link to one that is not in the package is mere text.
put_page() {
  local page inside=()
  for page in "${pages[@]}"; do inside+=(-e "s/\](${page}\.md/](\x01&/g"); done
  sed "${inside[@]}" -e 's/\x01\](/\x01/g' "$1" |
    sed -E 's/\[([^]]*)\]\([^)\x01:]*\.md[^)]*\)/\1/g; s/\x01//g; s/\r*$/\r/' >"$2"
}

# --- what is installed --------------------------------------------------------------------------

cp -- "$build/program/$name.exe" "$files/$name.exe"
cp -- "$build/tools/config-check/config-check.exe" "$files/config-check.exe"
for language in "${languages[@]}"; do
  cp -- "$build/program/$language.dll" "$build/program/VUSL_$language.dll" "$files/"
done
put_text "$room/$name.conf" "$files/$name.conf.sample"
put_text "$room/$name.wprp" "$files/$name.wprp"
put_text "$room/uninstall.cmd" "$files/$name-uninstall.cmd"
for page in "${pages[@]}"; do put_page "$root/docs/$page.md" "$docs/$page.md"; done

sed -e "s/@GCC_VERSION@/$compiler_version/" -e "s/@MINGW_VERSION@/$runtime_version/" \
  "$room/licences.txt" >"$place/licences.txt"
put_text "$place/licences.txt" "$docs/licences/licences.txt"
put_text "/usr/share/doc/$compiler_package-runtime/copyright" "$docs/licences/gcc-runtime.txt"
put_text "/usr/share/doc/$runtime_package/copyright" "$docs/licences/mingw-w64.txt"

# The record of what belongs to the installation, by which it is replaced and removed.
(cd -- "$files" && find . -type f -printf '%P\n' | sort | sed 's,/,\\,g') >"$place/record"
put_text "$place/record" "$files/$name-files.txt"

# --- what is beside it --------------------------------------------------------------------------

put_text "$room/README.txt" "$package/README.txt"
put_text "$room/install.cmd" "$package/install.cmd"
put_text "$room/uninstall.cmd" "$package/uninstall.cmd"

# One library as the bill of materials has it: library NAME VERSION LICENCE PACKAGE.
library() {
  printf '    {\n      "type": "library",\n      "bom-ref": "%s",\n      "name": "%s",\n' "$1" "$1"
  printf '      "version": "%s",\n      "licenses": [{ "expression": "%s" }],\n' "$2" "$3"
  printf '      "purl": "pkg:deb/debian/%s@%s?arch=amd64"\n    }' "$4" "${2//+/%2B}"
}

# One of our files: program FILE.
program() {
  local sum
  sum=$(sha256sum <"$files/$1")
  printf '    {\n      "type": "file",\n      "bom-ref": "%s",\n      "name": "%s",\n' "$1" "$1"
  printf '      "version": "%s",\n      "hashes": [{ "alg": "SHA-256", "content": "%s" }]\n    }' \
    "$version" "${sum%% *}"
}

bill_of_materials() {
  local gcc='GPL-3.0-or-later WITH GCC-exception-3.1' part separator=''
  cat <<BILL
{
  "bomFormat": "CycloneDX",
  "specVersion": "1.5",
  "version": 1,
  "metadata": {
    "component": {
      "type": "application",
      "bom-ref": "$name",
      "supplier": { "name": "Orvix Corporation" },
      "name": "$name",
      "version": "$version"
    }
  },
  "components": [
BILL
  while IFS= read -r part; do
    printf '%s' "$separator"
    program "$part"
    separator=$',\n'
  done < <(cd -- "$files" && find . -maxdepth 1 \( -name '*.exe' -o -name '*.dll' \) \
    -printf '%P\n' | sort)
  printf ',\n'
  library libstdc++ "$compiler_version" "$gcc" "${compiler_package/gcc/g++}"
  for part in libgcc libgcc_eh libssp; do
    printf ',\n'
    library "$part" "$compiler_version" "$gcc" "$compiler_package"
  done
  printf ',\n'
  library mingw-w64-runtime "$runtime_version" ZPL-2.1 "$runtime_package"
  printf ',\n'
  library winpthreads "$runtime_version" 'MIT AND BSD-3-Clause' "$runtime_package"
  cat <<'BILL'

  ],
  "dependencies": [
BILL
  separator=''
  for part in "$name.exe" config-check.exe; do
    printf '%s    {\n      "ref": "%s",\n      "dependsOn": [' "$separator" "$part"
    printf '"%s", ' libstdc++ libgcc libgcc_eh libssp mingw-w64-runtime
    printf '"winpthreads"]\n    }'
    separator=$',\n'
  done
  printf '\n  ]\n}\n'
}
bill_of_materials >"$package/bill-of-materials.cdx.json"

(cd -- "$package" && find . -type f -printf '%P\n' | sort | xargs -d '\n' sha256sum) \
  >"$place/SHA256SUMS"
mv -- "$place/SHA256SUMS" "$package/SHA256SUMS"

# --- archive and installer ----------------------------------------------------------------------

find "$package" -type f -exec chmod 644 {} +
find "$package" -exec touch -d "$stamp" {} +
readonly whole=$name-$version-x64
(cd -- "$place" && find "$whole" -type f | sort | zip -X -9 -q -@ "$whole.zip")
"$room/make-msi.sh" "$package" "$version" "$place/$whole.msi"
for made in "$whole.zip" "$whole.msi"; do
  (cd -- "$place" && sha256sum "$made" >"$made.sha256")
  mv -- "$place/$made" "$place/$made.sha256" "$folder/"
  printf '%s\n' "$folder/$made"
done
