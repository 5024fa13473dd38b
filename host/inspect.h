// kelvane-host's inspection commands: the parameter list of a plugin, and the contents of a
// state chunk file (or the chunk of a fresh instance of the plugin, written to a file).
#pragma once

// [main thread] "params PLUGIN [--channels N] [--state FILE]". Exit code 0, or 2 on bad input.
int commandParams(int argc, char** argv);
// [main thread] "state show FILE" and "state get PLUGIN OUT [--channels N]". Exit code 0 or 2.
int commandState(int argc, char** argv);
