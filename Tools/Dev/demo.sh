# ./dev demo: a recording through the plug-in's own binary, with a setting that everybody hears.

# A tabla, recorded: low skins, ringing rims and much between.
DEMO_RECORDING=/usr/share/sonic-pi/samples/loop_tabla.flac

# Full lows, hollow mids, airy highs; bands 0 to 15 stand from 20 Hz to 20 kHz. The output gain keeps
# a loud FILE from clipping.
DEMO_SETTINGS=(--set 1EQ2=+9dB --set 1EQ3=+9dB --set 1EQ4=+6dB
  --set 1EQ7=-9dB --set 1EQ8=-12dB --set 1EQ9=-12dB --set 1EQ10=-9dB
  --set 1EQ13=+6dB --set 1EQ14=+6dB --set 1OGain=-6dB)

cmd_demo() { # [FILE]
  local input=${1:-$DEMO_RECORDING}
  need "${PACKAGES_BUILD[@]}"
  if [[ $# -eq 0 ]]; then need "${PACKAGES_DEMO[0]}"; fi
  [[ -f $input ]] || { echo "there is no file \"$input\"" >&2; return 1; }
  build_product
  mkdir -p out
  local host=build/release/sorrel-host
  echo
  $host render "$input" out/demo.wav --tail 0.1 "${DEMO_SETTINGS[@]}"
  echo
  echo "RMS level before and after, by region:"
  $host levels "$input" out/demo.wav
  echo
  $host response "${DEMO_SETTINGS[@]}" --svg out/demo-response.svg >/dev/null
  draw_png
  echo "sound     out/demo.wav"
  echo "response  out/demo-response.svg"
}

# The plot as PNG as well, where a rasteriser can be had; the demo does without one.
draw_png() {
  (need "${PACKAGES_DEMO[1]}") >/dev/null 2>&1 || true
  if command -v rsvg-convert >/dev/null; then
    rsvg-convert -z 2 out/demo-response.svg -o out/demo-response.png
    echo "picture   out/demo-response.png"
  fi
}
