-- A generator for the workstation's tracks: noise that depends on the song's position alone, so that
-- every run and every host has the same. compare.py makes it as well.
ardour {
  ["type"] = "dsp", name = "Test Signal", category = "Generator", license = "None",
  author = "Lumeron", description = [[Noise by song position]]
}

function dsp_ioconfig () return { { audio_in = 2, audio_out = 2 } } end

function dsp_run (ins, outs, n_samples)
  local at = Session:transport_sample ()
  for c = 1, 2 do
    local out = outs[c]:array ()
    for i = 1, n_samples do
      local x = (at + i - 1) * 2654435761 + c * 40503
      x = ((x ~ (x >> 15)) * 2246822519) & 0xffffffff
      x = ((x ~ (x >> 13)) * 3266489917) & 0xffffffff
      out[i] = 0.25 * (((x >> 8) & 0xffffff) / 8388608.0 - 1.0)
    end
  end
end
