#!/usr/bin/env bash
# Makes the pictures of docs/plots/: runs the examples of the "Plots"
# section of docs/language.md through the console in that folder.
#   tests/plot/make_doc_images.sh [BUILD_DIR]     (default build/release)
set -euo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
console=$(cd "${1:-$root/build/release}" && pwd)/session/ostravine
mkdir -p "$root/docs/plots"
cd "$root/docs/plots"
scratch=$(mktemp -d)
awk '/^## Plots/ {on=1; next} /^## / {on=0} on && /^```script/ {code=1; next} on && /^```/ {code=0} code' \
  "$root/docs/language.md" | sed 's/  ->  .*//' | grep -v '^\.\./' > "$scratch/lines"
rm -f language_*.png
# The console keeps its state file in the working directory: run it in the
# scratch folder's copy of nothing, then move the pictures here.
(cd "$scratch" && "$console" < lines > log)
mv "$scratch"/language_*.png .
rm -rf "$scratch"
ls -1 language_*.png
