#!/usr/bin/env bash
# Makes the gallery. Arguments: the build folder, the folder for the pictures.
set -euo pipefail

build=$1
gallery=$2
trees=$build/Gallery
python3 "$(dirname "$0")/gallery.py" "$trees"
mkdir -p "$gallery"

for scale in 1 1.25 1.5 2; do
  "$build/sorrel-view" "$trees/panel.xml" --size 642x400 --scale $scale --out "$gallery/panel-$scale.png"
done
for palette in White Black Navy; do
  "$build/sorrel-view" "$trees/panel.xml" --size 642x400 --palette $palette \
    --out "$gallery/panel-${palette,,}.png"
done
"$build/sorrel-view" "$trees/palette.xml" --size 250x200 --palette all --out "$gallery/palettes.png"
# At 1.25 sizes are rounded: the slack has to lie where the images' align flags put it.
for scale in 1 1.25 2; do
  "$build/sorrel-view" "$trees/images.xml" --size 720x560 --scale $scale --out "$gallery/images-$scale.png"
done
fonts=("$build"/Graphics/{base,base_b,title,small,compact,compact-small,micro,micro-sm}.fnt)
"$build/sorrel-gfx" specimen "$gallery/type.png" "${fonts[@]}" --scales 1 1.25 1.5 2 --width 150 \
  --text "Sorrel GEQ 0123456789 Größe"
du -sh "$gallery"
