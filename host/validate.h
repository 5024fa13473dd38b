// kelvane-host validate: a battery of host-side tests run against a plugin binary, each from a
// strictness level on, printing one line per test and a closing "N passed, N failed".
#pragma once

// [main thread] Runs "validate PLUGIN [--strictness 1..10] [--seed N] [--only NAME]". Returns 0
// when no test failed, 1 when one did, 2 on bad arguments.
int commandValidate(int argc, char** argv);
