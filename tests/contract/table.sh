#!/usr/bin/env bash
# The table of platform calls that a run of the contract suite made, and the page that keeps it:
#   table.sh compare TABLE PAGE    fails, and shows how they differ, if the page's is another one
#   table.sh write TABLE PAGE      puts it in the place of the page's
set -euo pipefail

readonly verb=$1 table=$2 page=$3
readonly begin='<!-- the table that the contract suite made -->' end='<!-- end of the table -->'

if ! grep -qxF -- "$begin" "$page" || ! grep -qxF -- "$end" "$page"; then
  printf 'table.sh: %s has no place for the table\n' "$page" >&2
  exit 1
fi
case $verb in
  compare)
    sed -n "/^$begin$/,/^$end$/{/^<!--/d;p}" "$page" | diff -u --label "$page" - \
      --label 'what this run made' "$table" || {
      printf '%s tells otherwise; %s write %s %s brings it up to date\n' "$page" "$0" "$table" "$page"
      exit 1
    }
    ;;
  write)
    sed -i -e "/^$begin$/,/^$end$/{/^<!--/!d}" -e "/^$begin$/r $table" "$page"
    ;;
  *)
    printf 'table.sh: no such verb: %s\n' "$verb" >&2
    exit 2
    ;;
esac
