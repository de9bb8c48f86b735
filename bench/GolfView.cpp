// The CPU waveform renderer on the indicator strip at twice its logical size (280 × 56 points,
// 560 × 112 pixels): one frame per iteration, listening at a lively level.
#include <benchmark/benchmark.h>

#include "Tolmo/GolfView/GolfAnimatie.h"
#include "Tolmo/GolfView/GolfBeeld.h"

namespace {

void tekenGolf(benchmark::State& state, bool licht) {
    tolmo::GolfAnimatie a(licht ? tolmo::GolfAnimatie::Thema::lichtThema()
                                : tolmo::GolfAnimatie::Thema::donkerThema());
    a.zetStand(tolmo::GolfAnimatie::Stand::luistert);
    a.zetNiveauBron([] { return 0.7F; });
    tolmo::GolfBeeld beeld(560, 112);
    double t = 0;
    for (auto _ : state) {
        t += 1.0 / 60;
        beeld.teken(a.beeld(560, 112, t));
        benchmark::DoNotOptimize(beeld.pixels().data());
    }
}

void BM_GolfLicht(benchmark::State& state) {
    tekenGolf(state, true);
}
void BM_GolfDonker(benchmark::State& state) {
    tekenGolf(state, false);
}

}  // namespace

BENCHMARK(BM_GolfLicht)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GolfDonker)->Unit(benchmark::kMillisecond);
