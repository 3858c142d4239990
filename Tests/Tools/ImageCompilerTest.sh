#!/usr/bin/env bash
# Wrong image sets fail with file and line. Arguments: sorrel-isc.
set -uo pipefail

compiler=$1
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"
failures=0

svg() { echo "<svg xmlns='http://www.w3.org/2000/svg' width='8' height='8'>$1</svg>"; }
svg '<rect width="4" height="8" fill="#808080"/>' > grey.svg
svg '<rect width="4" height="8" fill="#80c080"/>' > green.svg
echo 'no drawing' > broken.svg

# check MESSAGE MANIFEST: the compiler must say MESSAGE; with an empty one it must succeed.
check() {
  printf '%b' "$2" > a.images
  local said status=0
  said=$("$compiler" a.images a.is 2>&1) || status=$?
  if [[ -z $1 ]]; then [[ $status -eq 0 ]] && return
  elif [[ $status -ne 0 && $said == *"$1"* ]]; then return; fi
  echo "manifest: $2"; echo "expected: $1"; echo "got: $said"
  failures=$((failures + 1))
}

check '' 'drawing grey.svg\nrange - 1 8\nnine 1  0 0 8 8  2 2 2 2  tone 9\nimage 9 0 0 4 4 slot 1 align far near\n'
check '' 'drawing green.svg\nimage 1  0 0 8 8  kind color\n'
check 'a.images:2: x is missing' 'drawing grey.svg\nimage 1\n'
check 'a.images:1: no drawing is named' 'image 1 0 0 8 8\n'
check 'a.images:2: unknown word "slott"' 'drawing grey.svg\nimage 1 0 0 8 8 slott 1\n'
check 'a.images:2: the rectangle leaves the drawing' 'drawing grey.svg\nimage 1 4 0 8 8\n'
check 'a.images:2: the rectangle does not lie on whole pixels' 'drawing grey.svg\nimage 1 0.3 0 4 4\n'
check 'a.images:3: colour where grey is due' '\ndrawing green.svg\nimage 1 0 0 8 8\n'
check 'a.images:2: broken.svg' 'drawing broken.svg\nimage 1 0 0 8 8\n'
check 'range "Active" lacks image 3' 'drawing grey.svg\nimage 2 0 0 8 8\nrange Active 2 3\n'
check 'right border cannot be "9"' 'drawing grey.svg\nnine 1 0 0 8 8 2 2 9 2\n'

exit $((failures > 0))
