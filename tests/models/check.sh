#!/bin/sh
# check.sh MODEL holds|fails [-DNAME=VALUE...]
#
# Verifies a model exhaustively with spin, under the given definitions. `holds`: every interleaving keeps
# every assertion and none ends in a deadlock. `fails`: one of them touches freed memory, as it must where a
# protective step is left out. Exits with 77, which skips the test, where spin or a C compiler is missing.
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
./pan -n -w20 -m10000 >report 2>&1 || true
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
fails)
    grep -q 'assertion violated *!(\(gone\|weak\)' report && exit 0
    echo "no freed memory is touched although a protective step is left out"
    ;;
esac
exit 1
