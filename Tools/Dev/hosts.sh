# ./dev hosts: independent hosts of the distribution load, scan and play the plug-in without a display;
# what they saw and rendered is compared with sorrel-host's. Sourced by ./dev.
#
#   qtractor  its scanner
#   Ardour    its scanner; a session made by script, saved, loaded again and exported

PACKAGES_HOSTS=(ardour qtractor python3)

# The parameters of the rendering, by index for Ardour and by name for sorrel-host.
HOSTS_SETTINGS='3=0.9 10=0.2 15=0.75 17=0.4'
HOSTS_SETTINGS_BY_NAME=(--set 1EQ2=0.9 --set 1EQ9=0.2 --set 1EQ14=0.75 --set 1OGain=0.4)
# Of a session, 4 s in the workstation's unit of time.
HOSTS_RANGE='<Location id="99001" name="session" start="a0" end="a1128960000" flags="IsSessionRange" locked="0" timestamp="0" cue="0"/>'

# Everything that the hosts keep lies below one folder, as do their settings.
hosts_run() { # COMMAND...
  env -u DISPLAY -u WAYLAND_DISPLAY HOME="$HOSTS_FOLDER/home" XDG_CONFIG_HOME="$HOSTS_FOLDER/home/.config" \
    XDG_CACHE_HOME="$HOSTS_FOLDER/home/.cache" QT_QPA_PLATFORM=offscreen LXVST_PATH="$HOSTS_FOLDER/plugins" \
    timeout 300 "$@" || { echo "failed: ${1##*/}, with its log in $HOSTS_FOLDER" >&3; return 1; }
}

hosts_prepare() {
  rm -rf "$HOSTS_FOLDER"
  local scripts=$HOSTS_FOLDER/home/.config/ardour7/scripts
  mkdir -p "$scripts" "$HOSTS_FOLDER/plugins"
  cp build/release/SorrelGEQ.so "$HOSTS_FOLDER/plugins/"
  # What a scanner noted counts only if it is younger than the file, in whole seconds.
  touch -d '1 minute ago' "$HOSTS_FOLDER/plugins/SorrelGEQ.so"
  cp Tools/Hosts/test_signal.lua "$scripts/"
}

hosts_scan() {
  local plugin=$HOSTS_FOLDER/plugins/SorrelGEQ.so scanner
  scanner=$(dpkg -L qtractor | grep '/qtractor_plugin_scan$')
  hosts_run "$scanner" <<<"VST:$plugin" >"$HOSTS_FOLDER/qtractor.txt"
  hosts_run env LD_LIBRARY_PATH=/usr/lib/ardour7 /usr/lib/ardour7/ardour-vst-scanner -f "$plugin" \
    >"$HOSTS_FOLDER/ardour-scan.log" 2>&1
  cp "$HOSTS_FOLDER"/home/.cache/ardour7/vst/*.v2i "$HOSTS_FOLDER/scan.v2i"
  build/release/sorrel-host info --json --plugin "$plugin" >"$HOSTS_FOLDER/info.json"
}

hosts_export() {
  local file=$HOSTS_FOLDER/render/render.ardour
  sed -i "s#<Locations/>#<Locations>$HOSTS_RANGE</Locations>#" "$file"
  hosts_run ardour7-export -b float -o "$HOSTS_FOLDER/render.wav" "$HOSTS_FOLDER/render" render \
    >"$HOSTS_FOLDER/render.log" 2>&1
}

hosts_play() {
  FOLDER=$HOSTS_FOLDER PLUGIN_NAME='Sorrel GEQ' SETTINGS=$HOSTS_SETTINGS \
    hosts_run ardour7-lua Tools/Hosts/sessions.lua >"$HOSTS_FOLDER/sessions.txt" 2>"$HOSTS_FOLDER/sessions.log"
  hosts_export
  python3 Tools/Hosts/compare.py signal "$HOSTS_FOLDER/signal.wav"
  build/release/sorrel-host render "$HOSTS_FOLDER/signal.wav" "$HOSTS_FOLDER/reference.wav" \
    "${HOSTS_SETTINGS_BY_NAME[@]}" >"$HOSTS_FOLDER/reference.log"
}

cmd_hosts() {
  need "${PACKAGES_BUILD[@]}" "${PACKAGES_HOSTS[@]}"
  build_product
  HOSTS_FOLDER=$PWD/build/hosts
  exec 3>&2 # for what must be seen where a log takes the errors
  hosts_prepare
  hosts_scan
  hosts_play
  local status=0
  dpkg-query -W -f '${Package} ${Version}\n' ardour qtractor
  python3 Tools/Hosts/compare.py facts "$HOSTS_FOLDER" || status=1
  python3 Tools/Hosts/compare.py sound "$HOSTS_FOLDER" || status=1
  return $status
}
