#!/usr/bin/env bash
# one.sh TARGET SECONDS
# Runs one fuzz target from its seeds, fuzz/seeds/<target>/. New inputs go beside the target, not into the tree.
set -euo pipefail
target=$1
seconds=$2
name=$(basename "$target")
seeds=$(dirname "$0")/seeds/${name#fuzz_}

corpus=$target.corpus
mkdir -p "$corpus"
arguments=("$corpus")
[[ ! -d $seeds ]] || arguments+=("$seeds")
"$target" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 \
    -artifact_prefix="$target." "${arguments[@]}" >"$target.log" 2>&1 || {
    tail -n 60 "$target.log" >&2
    echo "$name has failed" >&2
    exit 1
}
grep -E 'stat::number_of_executed_units' "$target.log" | sed "s/^/$name: /"
