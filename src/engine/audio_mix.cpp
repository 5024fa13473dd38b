// The SSE2 copy of the sample loops (the baseline of every build), and the choice between copies.
#define KVP_MIX_NAMESPACE mix_sse2
#include "engine/audio_mix_loops.h"

namespace mix_avx2 {
MixKernels kernels();
}

MixKernels mixKernelsBaseline() { return mix_sse2::kernels(); }

MixKernels mixKernelsAvx2() {
#if defined(__x86_64__) || defined(__i386__)
    if (__builtin_cpu_supports("avx2")) return mix_avx2::kernels();
#endif
    return MixKernels{nullptr, nullptr};
}

MixKernels mixKernelsForCpu() {
    MixKernels k = mixKernelsAvx2();
    return k.mixSpeaker ? k : mixKernelsBaseline();
}
