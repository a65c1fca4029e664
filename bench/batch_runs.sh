#!/bin/bash
# Whole-process timings of batch runs (farm-bench), since a batch run's cost is the process's:
#  1. eight image-cycling jobs in one run against eight single `velquino render` runs of the same
#     picture and filters (the ratio should stay at or below 1.1);
#  2. the same eight jobs as two shards side by side under GNU parallel against one shard (at or
#     below 0.65 on two cores).
# Usage: bench/batch_runs.sh [BUILD_DIR]   (default: build)
set -euo pipefail
build=$(realpath "${1:-build}")
tool="$build/velquino"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
convert "$(dirname "$0")/../data/demo.jpg" -resize 300x200 "$work/small.png"
filters=(half-shuffle triple-shuffle matrix inverse-contrast contrast-up prism broken-glass k-mean)
singles=""
for f in "${filters[@]}"; do singles+="$tool render $work/small.png -o $work/single.png --filter $f --seed 3 --quiet; "; done
cd "$work"
echo "== eight image-cycling jobs in one run (A) vs eight single renders (B)"
farm-bench -n 5 --timeout 1800 --vs "sh -c '$singles'" -- "$tool" cycle small.png -o one --filters all --seed 3 --quiet
echo "== two shards side by side under GNU parallel (A) vs one shard (B)"
farm-bench -n 5 --timeout 1800 --vs "$tool cycle small.png -o one --filters all --seed 3 --quiet" -- \
    parallel -j2 "$tool" cycle small.png -o two --filters all --seed 3 --quiet --shard {}/2 ::: 0 1
