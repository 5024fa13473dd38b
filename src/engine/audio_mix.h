// The audio block's sample loops: several inputs mixed into one speaker per pass, and peaks for
// the meters. Built twice, for SSE2 and for AVX2; both give the same bits, since they use the
// same operations in the same order and never fuse a multiply with an add. Called by the audio
// block through the pair `mixKernelsForCpu` picks.
#pragma once

// One input's share of a speaker: its samples and its gain at the block's start, the ramp step
// per sample and the gain of the block's last sample (equal to `gain` when there is no ramp).
// When samplePeak is not null, the pass also stores there the largest absolute input sample.
struct MixSource {
    const double* samples;
    double gain, step, target;
    double* samplePeak;
};

// [audio thread] Writes the sum of the sources into out, in the order given: the first source's
// product overwrites, each later one adds. A source with a step has the gain
// gain + (k + 1) * step at sample k and its target at the last sample. Returns the largest
// absolute output value when wantPeak is set, otherwise 0. count 0 leaves out untouched; out
// must not overlap any source.
using MixSpeakerFn = double (*)(double* out, const MixSource* sources, int count, int n, bool wantPeak);
// [audio thread] The largest absolute value of x[0..n); NaN samples are passed over.
using AbsPeakFn = double (*)(const double* x, int n);

struct MixKernels {
    MixSpeakerFn mixSpeaker;
    AbsPeakFn absPeak;
};

// [any thread] The AVX2 kernels where the processor and system run them, the SSE2 ones otherwise.
MixKernels mixKernelsForCpu();
// [any thread] The SSE2 kernels, and the AVX2 ones or null where the processor lacks them.
MixKernels mixKernelsBaseline();
MixKernels mixKernelsAvx2();
