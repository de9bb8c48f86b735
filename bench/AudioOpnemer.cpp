// The capture routine on tap buffers of 2048 frames of 48 kHz stereo: measure, level, convert
// to 16 kHz mono with soxr and write 16-bit WAV, as the audio thread does for every buffer.
#include "Tolmo/AudioOpnemer/AudioOpnemer.h"

#include <benchmark/benchmark.h>

#include "Tolmo/linux/pulse/SoxrOmzetter.h"
#include "Tolmo/linux/pulse/WavSchrijver.h"
#include "tests/nep/NepAudio.h"
#include "tests/nep/NepAudioEngine.h"

namespace {

void BM_VerwerkBuffer(benchmark::State& state) {
    using namespace tolmo;
    nep::NepAudioEngine engine;
    SoxrOmzetter::Maker omzetters;
    WavSchrijver::Maker schrijvers;
    nep::TijdelijkeMap map;
    AudioOpnemer opnemer(engine, omzetters, schrijvers, map.pad());
    opnemer.zetNiveauKanaal(std::make_shared<NiveauKanaal>());
    opnemer.startEngine(false);
    opnemer.start(AudioFormaat::wav);
    // Ten different buffers of speech-like level, so the converter sees a continuous signal.
    std::vector<nep::NepBuffer> buffers;
    for (int i = 0; i < 10; ++i) {
        buffers.emplace_back(InvoerFormaat{48000, 2}, 2048, 0.3, 440.0, 2048ULL * i);
    }
    std::size_t i = 0;
    for (auto _ : state) {
        opnemer.verwerkBuffer(buffers[i].blok());
        i = (i + 1) % buffers.size();
    }
    const Opname opname = opnemer.rondAf();
    if (opname.onvolledig) {
        state.SkipWithError("schrijven mislukt");
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_VerwerkBuffer)->Unit(benchmark::kMicrosecond);

}  // namespace
