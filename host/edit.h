// kelvane-host edit: the plugin's editor in a window of the host, with steps played on it, a
// project of sending tracks and scripted prompt answers, optionally captured to a PNG. The editor
// is a Windows dialog; other systems answer with one line and exit code 2.
#pragma once

// edit [PLUGIN] [OPTION | STEP]...: see kelvane-host edit --help
int commandEdit(int argc, char** argv, const char* defaultPlugin);
