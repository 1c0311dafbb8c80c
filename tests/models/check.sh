#!/bin/sh
# check.sh MODEL EXPECTED [-DNAME=VALUE...]
#
# Verifies a model exhaustively with spin, under the given definitions. EXPECTED is `holds`: every interleaving
# keeps every assertion and none ends in a deadlock; or the beginning, as a pattern, of the assertion that one of
# them violates, as it must where a protective step is left out. Exits with 77, which skips the test, where spin or
# a C compiler is missing.
set -eu

model=$1 expected=$2
shift 2

cc=$(command -v cc || command -v gcc || command -v clang) || { echo "skipped: no C compiler"; exit 77; }
command -v spin >/dev/null || { echo "skipped: spin is not installed"; exit 77; }

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cp "$model" "$folder/model.pml"
cd "$folder"

spin -a -P"$cc -E -x c" "$@" model.pml
# Not optimised: that would take longer than it saves.
"$cc" -w -DSAFETY -DMEMLIM=2000 -o pan pan.c
./pan -n -w20 -m100000 >report 2>&1 || true
cat report

# A search that was cut short proves nothing.
if grep -q 'max search depth too small\|out of memory\|memory limit' report; then
    echo "the search is not complete"
    exit 1
fi
case $expected in
holds)
    grep -q 'errors: 0$' report && exit 0
    spin -t -p -g -P"$cc -E -x c" "$@" model.pml | tail -n 200
    echo "the model does not hold; above is an interleaving that breaks it"
    ;;
*)
    grep -q "assertion violated *$expected" report && exit 0
    echo "no such assertion is violated although a protective step is left out: $expected"
    ;;
esac
exit 1
