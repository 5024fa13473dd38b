// Benchmarks of the effect's hot paths. Each reports its own figures; run with
// build/linux/bin/kvp_bench.
#include <benchmark/benchmark.h>

#include "foundation/grow_buffer.h"

// The state chunk writer appends many small fields: appending must stay amortised constant.
static void growBufferAppendFields(benchmark::State& state) {
    GrowBuffer buffer;
    growBufferInit(&buffer);
    double field = 1.0;
    for (auto _ : state) {
        growBufferResize(&buffer, 0);
        for (int64_t i = 0; i < state.range(0); i++) growBufferAppend(&buffer, &field, sizeof field);
        benchmark::DoNotOptimize(buffer.data);
    }
    state.SetBytesProcessed(state.iterations() * state.range(0) * int64_t(sizeof field));
    growBufferFree(&buffer);
}
BENCHMARK(growBufferAppendFields)->Arg(64)->Arg(4096);

BENCHMARK_MAIN();
