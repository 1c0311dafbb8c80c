#!/usr/bin/env bash
# demo_test.sh FOLDER
# The demo as `./run demo` runs it, in a copy of its folder, so that nobody else's run is in the way.
set -euo pipefail
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
find "$1" -maxdepth 1 ! -type d ! -name autoreg.dat -exec cp -P -t "$folder" {} + # not what an earlier run has left
"$folder/demo" first
"$folder/demo"
"$folder/demo" --watch-session >"$folder/watched" &
until grep -qs console "$folder/watched"; do
    kill -0 $! # it has not ended by itself
    sleep 0.1
done
kill -INT $!
wait $!
