-- Makes a session without a display: a track with the test signal and the plug-in, set as SETTINGS
-- says ("index=value .."). Prints what the workstation saw of the plug-in, fields between bars.
local folder = os.getenv ("FOLDER")
local plugin_name = os.getenv ("PLUGIN_NAME")

local function say (...)
  print (table.concat ({ ... }, "|"))
end

local function add_track (session, processors)
  local track = session:new_audio_track (2, 2, nil, 1, "filtered", ARDOUR.PresentationInfo.max_order,
                                         ARDOUR.TrackMode.Normal, true):front ()
  track:set_strict_io (true) -- two channels, however many the plug-in has
  for i, processor in ipairs (processors) do
    if processor:isnil () then say ("error", "a processor is missing") end
    if track:add_processor_by_index (processor, i - 1, nil, true) ~= 0 then
      say ("error", "a processor is not taken by the track")
    end
  end
end

local function describe (processor)
  local insert = processor:to_insert ()
  local plugin = insert:plugin (0)
  say ("latency", insert:signal_latency ())
  say ("parameters", plugin:parameter_count ())
  for i = 0, plugin:parameter_count () - 1 do
    local value = ARDOUR.LuaAPI.get_processor_param (processor, i, true)
    say ("parameter", i, plugin:parameter_label (i), string.format ("%.6f", value))
  end
end

AudioEngine:set_backend ("None (Dummy)", "", "")

local session = create_session (folder .. "/render", "render", 48000)
for info in ARDOUR.LuaAPI.list_plugins ():iter () do
  if info.name == plugin_name then
    say ("info", info.unique_id, info.n_inputs:n_audio (), info.n_outputs:n_audio (), info.creator)
  end
end
local signal = ARDOUR.LuaAPI.new_luaproc (session, "Test Signal")
local plugin = ARDOUR.LuaAPI.new_plugin (session, plugin_name, ARDOUR.PluginType.LXVST, "")
add_track (session, { signal, plugin })
describe (plugin)
for index, value in string.gmatch (os.getenv ("SETTINGS"), "(%d+)=([%d.]+)") do
  ARDOUR.LuaAPI.set_processor_param (plugin, tonumber (index), tonumber (value))
end
session:save_state ("")
close_session ()
quit ()
