#!/bin/sh
# Times quillbar-export over a project for each of the 20 sample pictures: the crunched PRG,
# the PNG, the ACME tables and a D64 image of every project, in one run.
# usage: bench/export-cli.sh [BUILD_DIR]   (default: build)
set -eu
here=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-"$here/build"}
pictures=$(cd "$here/../shared/data/pictures" 2>/dev/null && pwd) || { echo "no sample pictures" >&2; exit 1; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Three bars a side, border colour 6.
for picture in "$pictures"/*.*; do
  case "$picture" in *.md) continue ;; esac
  name=$(basename "$picture")
  cat >"$work/${name%.*}.ini" <<EOF
[image]
file=file://$picture
[colors]
base=6
[left]
start=60;120;200;
height=20;30;40;
color=1;2;3;
[right]
start=51;100;240;
height=10;50;11;
color=7;8;9;
EOF
done
count=$(ls "$work"/*.ini | wc -l)
start=$(date +%s.%N)
"$build/quillbar-export" --prg "$work/out" --png "$work/out" --tables "$work/out" --format acme \
  --d64 "$work/out" "$work"/*.ini
end=$(date +%s.%N)
echo "$count projects: $(ls "$work/out" | wc -l) files in $(awk "BEGIN { printf \"%.2f\", $end - $start }") s"
