// The entry and host binding: what VSTPluginMain does. The exported symbol itself and the
// library attach hook live in the plugin's own export unit; tests call pluginMain directly.
#pragma once

#include "engine/instance.h"
#include "vst/aeffect.h"

// Process-wide: 1 once the host functions were imported.
extern unsigned char hostApiBound;

// [host's instantiating thread] Binds the host on the first successful call, reads the theme
// colours, builds one instance. Returns its AEffect, or null: a null host, a host without
// DB2SLIDER, SLIDER2DB or get_ini_file (nothing bound then), or an allocation failure.
AEffect* pluginMain(audioMasterCallback host);

// [host's instantiating thread] Allocates and constructs an instance from the process-wide
// hostCallback and hostApi, counted in instanceCount. Returns null when the allocation fails.
SurroundPanner* createPanner();
