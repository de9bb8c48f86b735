// Time from startEngine to the first 2048-frame buffer, against a private PulseAudio daemon
// whose default source is a 48 kHz stereo null-sink monitor.
#include <benchmark/benchmark.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "Tolmo/linux/pulse/PulseAudioEngine.h"
#include "tests/nep/PulseDaemon.h"

namespace {

void BM_StartTotEersteBuffer(benchmark::State& state) {
    using namespace tolmo;
    using Klok = std::chrono::steady_clock;
    nep::PulseDaemon daemon;
    if (!daemon.fout().empty()) {
        state.SkipWithError(daemon.fout().c_str());
        return;
    }
    PulseAudioEngine engine;
    // A null sink that nobody listened to yet sleeps in blocks of up to two seconds and notices
    // a new listener only when it wakes; a microphone has no such first-use delay. One untimed
    // start wakes it, so what is measured is our own start path.
    bool warm = false;
    // The engine side of startEngine: what the recorder asks before it installs the tap.
    auto eenStart = [&] {
        std::atomic<bool> binnen{false};
        Klok::time_point eerste;
        const auto begin = Klok::now();
        const InvoerFormaat f = engine.uitvoerFormaat();
        (void)engine.invoerFormaat();
        engine.verwijderTap();
        engine.installeerTap(2048, f, [&](const AudioBlok&) {
            // Only PulseAudio's thread writes; the flag publishes the time stamp.
            if (!binnen.load(std::memory_order_relaxed)) {
                eerste = Klok::now();
                binnen.store(true, std::memory_order_release);
            }
        });
        engine.start();
        while (!binnen.load(std::memory_order_acquire)) {
            std::this_thread::sleep_for(std::chrono::microseconds(100));
        }
        engine.stop();
        engine.verwijderTap();
        engine.reset();
        return std::chrono::duration<double>(eerste - begin).count();
    };
    if (!warm) {
        state.counters["koud_ms"] = eenStart() * 1000;
        warm = true;
    }
    for (auto _ : state) {
        state.SetIterationTime(eenStart());
    }
}
BENCHMARK(BM_StartTotEersteBuffer)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(30);

}  // namespace
