// kelvane-host render: pans the channels of an audio file through the plugin binary, block by
// block as a DAW would, into a multichannel WAV with one channel per speaker.
#pragma once

// [main thread] Runs the command with the arguments after "render". Returns the exit code:
// 0 done, 2 bad input (one line on standard error; no output file is left behind).
int commandRender(int argc, char** argv, const char* defaultPlugin);
