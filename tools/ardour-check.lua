-- Run by tools/ardour-check through ardour7-lua, once for each step named in KVP_ARDOUR_STEP:
-- "create", "first", "reopen". One session a process: Ardour does not always shut down
-- cleanly after a second one. KVP_ARDOUR_WORK names the work folder: it holds in.wav
-- (6 channels, 48 kHz) and receives the session and the lists of bounced files, first.list
-- and reopen.list.
local work = assert (os.getenv ("KVP_ARDOUR_WORK"), "KVP_ARDOUR_WORK is not set")
local step = assert (os.getenv ("KVP_ARDOUR_STEP"), "KVP_ARDOUR_STEP is not set")
-- The session folder and the session share their name: Ardour names its audio folder after the former.
local dir, name = work .. "/check", "check"
local frames = tonumber (assert (os.getenv ("KVP_ARDOUR_FRAMES")))
local PARAM_IN1_X, VALUE = 7, 0.2  -- "in 1 X" at -60

local function readAll (path)
	local f = assert (io.open (path, "rb")); local text = f:read ("a"); f:close (); return text
end
local function writeAll (path, text)
	local f = assert (io.open (path, "wb")); f:write (text); f:close ()
end

-- Bounces the track through its processing up to and with the plugin; lists the files.
local function bounce (track, plugin, list)
	local region = track:bounce_range (0, frames, ARDOUR.InterThreadInfo (), plugin, true, "", false)
	assert (not region:isnil (), "the bounce made no region")
	local audio = region:to_audioregion ()
	local paths = {}
	for c = 0, audio:n_channels () - 1 do
		paths[#paths + 1] = dir .. "/interchange/" .. name .. "/audiofiles/" .. audio:source (c):name ()
	end
	writeAll (work .. "/" .. list, table.concat (paths, "\n") .. "\n")
	print (list, #paths .. " channels")
end

local function pluginOf (track)
	local p = track:nth_plugin (0)
	assert (not p:isnil (), "the track has no plugin")
	return p
end

AudioEngine:set_backend ("None (Dummy)", "", "")

if step == "create" then
	-- A session with one 6-channel track.
	assert (create_session (dir, name, 48000), "no session")
	Session:new_audio_track (6, 6, nil, 1, "panned", ARDOUR.PresentationInfo.max_order, ARDOUR.TrackMode.Normal, true)
	Session:save_state ("", false, false, false, false, false)
	close_session ()

elseif step == "first" then
	-- The input file on the track. The scripting interface cannot import audio, but the session
	-- file can name a file in its audio folder: one source per channel, one region of all six,
	-- without the fades a region has by default.
	local audioFolder = dir .. "/interchange/" .. name .. "/audiofiles"
	assert (os.execute ("mkdir -p '" .. audioFolder .. "'"))
	writeAll (audioFolder .. "/in.wav", readAll (work .. "/in.wav"))
	local sources, channels = "", ""
	for c = 0, 5 do
		sources = sources .. string.format ('    <Source name="in.wav" type="audio" flags="" id="%d" channel="%d" origin="" gain="1"/>\n', 90000 + c, c)
		channels = channels .. string.format (' source-%d="%d" master-source-%d="%d"', c, 90000 + c, c, 90000 + c)
	end
	local region = string.format ('<Region name="in" type="audio" id="91000" start="0" length="%d" position="0" whole-file="1" fade-in-active="0" fade-out-active="0" channels="6"%s/>', frames, channels)
	local file = dir .. "/" .. name .. ".ardour"
	local xml, n1, n2, n3 = readAll (file)
	xml, n1 = xml:gsub ("<Sources/>", "<Sources>\n" .. sources .. "  </Sources>", 1)
	xml, n2 = xml:gsub ("<Regions/>", "<Regions>\n    " .. region .. "\n  </Regions>", 1)
	xml, n3 = xml:gsub ('(<Playlist [^>]-name="panned"[^>]-)/>', "%1>\n      " .. region .. "\n    </Playlist>", 1)
	assert (n1 == 1 and n2 == 1 and n3 == 1, "the session file is not laid out as expected")
	writeAll (file, xml)

	-- The plugin on the track, one parameter set, a render, the session saved with its state.
	assert (load_session (dir, name), "the session with the region does not load")
	local track = Session:route_by_name ("panned"):to_track ()
	assert (track:playlist ():region_list ():size () == 1, "the region did not load")
	local plugin = ARDOUR.LuaAPI.new_plugin (Session, "KelvanePan", ARDOUR.PluginType.LXVST, "")
	assert (not plugin:isnil (), "Ardour does not know kelvanepan-daw (scanner cache)")
	assert (track:add_processor_by_index (plugin, 0, nil, true) == 0, "the plugin does not fit the track")
	assert (ARDOUR.LuaAPI.set_processor_param (plugin, PARAM_IN1_X, VALUE), "the parameter was not set")
	bounce (track, plugin, "first.list")
	Session:save_state ("", false, false, false, false, false)
	close_session ()

elseif step == "reopen" then
	-- The plugin comes back from the saved session. Ardour sets every saved parameter value,
	-- then hands over the state chunk last; the saved value of the parameter is changed here, so
	-- that only the chunk can bring the render back.
	local file = dir .. "/" .. name .. ".ardour"
	local xml, changed = readAll (file)
	assert (xml:find ("<chunk", 1, true), "the session holds no state chunk")
	xml, changed = xml:gsub ('(<Controllable name="in 1 X"[^>]-value=")[^"]*"', '%10.9"', 1)
	assert (changed == 1, "the saved parameter value is not in the session file")
	writeAll (file, xml)
	assert (load_session (dir, name), "the saved session does not load")
	local track = Session:route_by_name ("panned"):to_track ()
	bounce (track, pluginOf (track), "reopen.list")
	close_session ()
end
