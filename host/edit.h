// kelvane-host edit: the plugin's editor in a window of the host, optionally captured to a PNG.
// The editor is a Windows dialog; other systems answer with one line and exit code 2.
#pragma once

// edit PLUGIN [--channels N] [--layout NAME] [--capture OUT.png [--after MS]]
int commandEdit(int argc, char** argv, const char* defaultPlugin);
