// Windows of the user interface: the view's window class. Win32 in Windows builds; on POSIX a
// name list stands in for the system's class table, so that the logic above runs and is tested
// the same. Called by the shell's construction and destruction.
#pragma once

// [window thread] Registration takes a narrow window procedure (its windows get narrow
// messages), or null for one that only defers to the system's default handling; false when a
// class of that name is registered already.
bool windowClassRegister(const char* name, void* windowProc);
// [window thread] False when no class of that name is registered by this module.
bool windowClassUnregister(const char* name);
// [any thread] Whether a class of that name is registered by this module now.
bool windowClassRegistered(const char* name);
