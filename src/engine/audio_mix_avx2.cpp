// The AVX2 copy of the sample loops; the build compiles this file alone with -mavx2 (never FMA).
#define KVP_MIX_NAMESPACE mix_avx2
#include "engine/audio_mix_loops.h"
