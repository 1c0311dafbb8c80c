#!/usr/bin/env bash
# demo_test.sh FOLDER
# The demo as `./run demo` runs it, in a copy of its folder, so that nobody else's run is in the way.
set -euo pipefail
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cp -P "$1"/* "$folder"
rm -f "$folder/autoreg.dat"
"$folder/demo" first
"$folder/demo"
