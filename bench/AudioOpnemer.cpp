// The capture routine on tap buffers of 2048 frames of 48 kHz stereo: measure, level, convert
// to 16 kHz mono with soxr and write, as the audio thread does for every buffer, and noise
// suppression when it is on; for m4a also what the encoder's own thread costs.
#include "Tolmo/AudioOpnemer/AudioOpnemer.h"

#include <benchmark/benchmark.h>

#include "Tolmo/linux/pulse/BestandSchrijvers.h"
#include "Tolmo/linux/pulse/M4aSchrijver.h"
#include "Tolmo/linux/pulse/SoxrOmzetter.h"
#include "Tolmo/linux/pulse/SpeexRuisonderdrukker.h"
#include "tests/nep/NepAudio.h"
#include "tests/nep/NepAudioEngine.h"

namespace {

using namespace tolmo;

// Ten different buffers of speech-like level, so the converter sees a continuous signal.
std::vector<nep::NepBuffer> spraakBuffers(InvoerFormaat formaat, std::uint32_t frames) {
    std::vector<nep::NepBuffer> buffers;
    for (int i = 0; i < 10; ++i) {
        buffers.emplace_back(formaat, frames, 0.3, 440.0, std::uint64_t{frames} * i);
    }
    return buffers;
}

// Per buffer on the audio thread. A recording is finished and a new one begun (untimed) every
// 100 buffers, about four seconds: the m4a writer's ring is never full, so every buffer is
// timed on the path a real recording takes, with the encoder busy beside it.
void BM_VerwerkBuffer(benchmark::State& state, AudioFormaat formaat) {
    nep::NepAudioEngine engine;
    SoxrOmzetter::Maker omzetters;
    BestandSchrijvers schrijvers;
    nep::TijdelijkeMap map;
    AudioOpnemer opnemer(engine, omzetters, schrijvers, map.pad());
    opnemer.zetNiveauKanaal(std::make_shared<NiveauKanaal>());
    opnemer.startEngine(false);
    opnemer.start(formaat);
    const auto buffers = spraakBuffers(InvoerFormaat{48000, 2}, 2048);
    std::size_t i = 0;
    for (auto _ : state) {
        opnemer.verwerkBuffer(buffers[i % buffers.size()].blok());
        if (++i % 100 == 0) {
            state.PauseTiming();
            if (opnemer.rondAf().onvolledig) {
                state.SkipWithError("schrijven mislukt");
                break;
            }
            opnemer.start(formaat);
            state.ResumeTiming();
        }
    }
    if (opnemer.rondAf().onvolledig) {
        state.SkipWithError("schrijven mislukt");
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK_CAPTURE(BM_VerwerkBuffer, wav, AudioFormaat::wav)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_VerwerkBuffer, m4a, AudioFormaat::m4a)->Unit(benchmark::kMicrosecond);

// Noise suppression, which PulseAudio's thread runs on every buffer before the tap when it is
// on: its cost adds to BM_VerwerkBuffer's. Each of the ten buffers is copied first (also timed,
// a memcpy of 16 KiB), since the suppression works in place.
void BM_Ruisonderdrukking(benchmark::State& state) {
    SpeexRuisonderdrukker ruis(48000, 2);
    auto buffers = spraakBuffers(InvoerFormaat{48000, 2}, 2048);
    std::vector<float> werk(buffers[0].data().size());
    std::size_t i = 0;
    for (auto _ : state) {
        const auto& bron = buffers[i++ % buffers.size()].data();
        std::copy(bron.begin(), bron.end(), werk.begin());
        ruis.verwerk(werk.data(), 2048);
        benchmark::DoNotOptimize(werk.data());
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_Ruisonderdrukking)->Unit(benchmark::kMicrosecond);

// The encoder thread's work: ten seconds of 16 kHz mono, handed over as fast as a file is read,
// into a finished m4a file. Items are seconds of audio, so items per second is the speed
// against real time.
void BM_M4aCodering(benchmark::State& state) {
    nep::TijdelijkeMap map;
    auto buffers = spraakBuffers(InvoerFormaat{16000, 1}, 683);
    M4aSchrijver::Maker maker(M4aSchrijver::Tempo::bestand);
    for (auto _ : state) {
        auto schrijver = maker.open(map.pad() / "bench.m4a", AudioFormaat::m4a);
        std::error_code fout;
        for (int i = 0; i < 234 && !fout; ++i) {  // 234 × 683 samples: 10 s
            schrijver->schrijf(buffers[i % buffers.size()].data(), fout);
        }
        if (fout || !schrijver->sluit()) {
            state.SkipWithError("schrijven mislukt");
            break;
        }
    }
    state.SetItemsProcessed(state.iterations() * 10);
}
BENCHMARK(BM_M4aCodering)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
