#!/usr/bin/env bash
# make-fleet.sh MODEL COUNT: prints a model with COUNT robot arms made of the one in MODEL, each with names of its own.
set -euo pipefail
root_line=$(grep -n '<robot ' "$1" | cut -d: -f1)
head -n "$root_line" "$1"
for ((arm = 1; arm <= $2; ++arm)); do
  sed -e "1,${root_line}d" -e '/<\/robot>/,$d' -e "s/\\b\\(name\\|link\\)=\"/\\1=\"arm${arm}_/g" "$1"
done
sed -n '/<\/robot>/,$p' "$1"
