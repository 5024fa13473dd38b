// The key hooks that plugins register with the host (plugin_register with "<accelerator" and
// "-accelerator"), kept for the process, and asked about every message before the host's
// message loops dispatch it. Used by the host's services and its editor window.
#pragma once

// [window thread] The plugin_register service: "<accelerator" keeps a HostAccelerator record,
// "-accelerator" lets it go. Returns 1 when the record was kept or let go; 0 for a null record,
// one kept already, one not kept, or any other name.
int hostPluginRegister(const char* name, void* record);
// [window thread] Asks the kept hooks about a message (a pointer to the system's message
// record), the one kept last first, until one answers other than 0. Returns that answer: 1 the
// message is eaten, -1 it goes to its window past the host's key bindings; 0 when none answered.
int hostTranslateMessage(void* message);
// [window thread] How many hooks are kept now.
int hostKeyHookCount();
