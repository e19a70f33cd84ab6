#!/usr/bin/env bash
# The contract suite over the model: model_test.sh PROGRAM PAGE. Each promise is kept, and the table
# that comes of it is the page's.
set -euo pipefail

place=$(mktemp -d)
trap 'rm -rf -- "$place"' EXIT

"$1" --gtest_brief=1 --table="$place/table" </dev/null
bash "$(dirname -- "${BASH_SOURCE[0]}")/table.sh" compare "$place/table" "$2"
