// Runs audio blocks through any effect, for the unit tests, the host tests and the fuzz
// targets: buffers sized by the effect's present counts, inputs filled by a function of
// (input, absolute sample), outputs kept for inspection.
#pragma once

#include <functional>
#include <vector>

#include "vst/aeffect.h"

struct AudioRun {
    AEffect* effect;
    long long clock = 0;
    std::vector<std::vector<double>> in, out;
    std::vector<double*> inPtrs, outPtrs;

    explicit AudioRun(AEffect* e) : effect(e) {}

    // One block of n samples through processDoubleReplacing; returns the outputs.
    const std::vector<std::vector<double>>& block(int n, const std::function<double(int, long long)>& signal) {
        shape(n);
        for (size_t i = 0; i < in.size(); i++)
            for (int k = 0; k < n; k++) in[i][size_t(k)] = signal(int(i), clock + k);
        effect->processDoubleReplacing(effect, inPtrs.data(), outPtrs.data(), n);
        clock += n;
        return out;
    }
    // Buffers only ever grow, so that running blocks allocates nothing here either.
    void shape(int n) {
        size_t ni = size_t(effect->numInputs), no = size_t(effect->numOutputs);
        size_t length = in.empty() && out.empty() ? 0 : (in.empty() ? out[0].size() : in[0].size());
        if (in.size() != ni || out.size() != no || length < size_t(n)) {
            size_t grown = length < size_t(n) ? size_t(n) : length;
            in.assign(ni, std::vector<double>(grown, 0.0));
            out.assign(no, std::vector<double>(grown, 0.0));
            inPtrs.clear();
            outPtrs.clear();
            for (auto& b : in) inPtrs.push_back(b.data());
            for (auto& b : out) outPtrs.push_back(b.data());
        }
    }
};

inline double constantOne(int, long long) { return 1.0; }
inline double silence(int, long long) { return 0.0; }
