#!/usr/bin/env bash
# Proves that what is shipped does not depend on where it was made: prove.sh BUILD FOLDER. Everything is
# made once more out of the sources alone, in a folder of another length, by no cache, and is held
# against the build and the package that is in FOLDER: each object first, because it tells what is
# another one, then the programs and libraries, then both forms of the package.
set -euo pipefail

readonly name=TPMEnrollmentService
root=$(dirname -- "$(dirname -- "$(readlink -f -- "${BASH_SOURCE[0]}")")")
readonly root build=$1 folder=$2
place=$(mktemp -d)
trap 'rm -rf -- "$place"' EXIT
readonly copy=$place/made/once/more/where/nobody/has/made/it/before
readonly again=$copy/again

fail() {
  printf 'prove.sh: %s\n' "$1" >&2
  exit 1
}

# Runs a command whose output matters only when it fails.
quietly() {
  "$@" >"$place/log" 2>&1 </dev/null && return 0
  cat -- "$place/log" >&2
  fail "failed: $*"
}

# What of a build is compared, by name: made_in BUILD.
made_in() {
  (cd -- "$1" && find CMakeFiles/product.dir "CMakeFiles/$name.dir" platform/mingw \
    tools/config-check program languages \
    -type f \( -name '*.obj' -o -name '*.res' -o -name '*.a' -o -name '*.exe' -o -name '*.dll' \) |
    LC_ALL=C sort)
}

mkdir -p -- "$copy"
find "$root" -mindepth 1 -maxdepth 1 ! -name build ! -name .git -exec cp -r -t "$copy" {} +
cd -- "$copy"
CCACHE_DISABLE=1 quietly cmake --preset windows -B "$again" -D BUILD_TESTING=OFF
CCACHE_DISABLE=1 quietly cmake --build "$again" --parallel "$(nproc)" \
  --target "$name" language_libraries config-check

made_in "$build" >"$place/first"
made_in "$again" >"$place/second"
diff -- "$place/first" "$place/second" || fail 'the two builds have not the same files'
differing=0
while IFS= read -r made; do
  cmp -- "$build/$made" "$again/$made" || differing=$((differing + 1))
done <"$place/first"
((differing == 0)) || fail "$differing files are other bytes when made elsewhere"

quietly packaging/make.sh "$again" "$place/package"
for made in "$place/package/$name"-*; do
  cmp -- "$made" "$folder/${made##*/}" || fail 'the package is other bytes when made elsewhere'
done
printf '%s objects and programs, and the package in both forms, are the same bytes when made elsewhere\n' \
  "$(wc -l <"$place/first")"
