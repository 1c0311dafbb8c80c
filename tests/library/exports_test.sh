#!/usr/bin/env bash
# exports_test.sh LIBRARY LIST
# The library exports exactly the names of the list. They are what client modules are bound to: one that is lost
# breaks every module built before, one that is added has to be kept.
set -euo pipefail
library=$1
list=$2

# What the standard library makes of our types ("Error::Layer* std::copy<...") is in no build that users get: clang
# shows it where it does not optimise.
exported=$(nm --dynamic --demangle --defined-only "$library" | cut -c20- | grep -vE '^[^(]* std::' | LC_ALL=C sort -u)
if ! diff --unified=0 --label "the list" --label "the library" "$list" <(printf '%s\n' "$exported"); then
    echo "The exports have changed. If that is meant, the list is $list" >&2
    exit 1
fi
