// Posting a ten-minute recording (16 kHz mono 16-bit WAV, about 19 MB) to a loopback server:
// through OpenAITranscriptie and the libcurl transport, and with the curl command (-F) for
// comparison. Reported per run: the time from the call to the last request byte at the server
// (manual time), and for our transport the peak memory growth of the process over the file size.
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <spawn.h>
#include <sys/wait.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

#include "TolmoKern/Transcriptie/CurlTransport.h"
#include "TolmoKern/Transcriptie/MultipartFormulier.h"
#include "TolmoKern/Transcriptie/OpenAITranscriptie.h"
#include "tests/nep/LoopbackServer.h"
#include "tests/nep/TijdelijkeOpname.h"

extern char** environ;

namespace tolmo {
namespace {

using Klok = std::chrono::steady_clock;
constexpr int sampleRate = 16000;
constexpr std::int64_t samples = 600LL * sampleRate;

struct Omgeving {
    nep::TijdelijkeMap map;
    std::filesystem::path wav;
    std::uintmax_t grootte = 0;
    nep::LoopbackServer server{nep::LoopbackServer::Opties{.bewaarBody = false}};

    Omgeving() {
        // Large buffers are mapped and unmapped, never kept in the heap between runs, so that
        // each run's peak starts from the same floor.
        mallopt(M_MMAP_THRESHOLD, 1 << 20);
        std::string data(static_cast<std::size_t>(samples) * 2, '\0');
        for (std::int64_t i = 0; i < samples; ++i) {
            const auto s = static_cast<std::int16_t>(8000 * std::sin(i * 0.07));
            data[static_cast<std::size_t>(2 * i)] = static_cast<char>(s & 0xFF);
            data[static_cast<std::size_t>(2 * i + 1)] = static_cast<char>((s >> 8) & 0xFF);
        }
        const auto le = [](std::uint32_t v, int n) {
            std::string b;
            for (int i = 0; i < n; ++i) {
                b += static_cast<char>((v >> (8 * i)) & 0xFF);
            }
            return b;
        };
        const auto n = static_cast<std::uint32_t>(data.size());
        const std::string kop = "RIFF" + le(36 + n, 4) + "WAVEfmt " + le(16, 4) + le(1, 2) +
                                le(1, 2) + le(sampleRate, 4) + le(sampleRate * 2, 4) + le(2, 2) +
                                le(16, 2) + "data" + le(n, 4);
        wav = map.schrijf("tien-minuten.wav", kop + data);
        grootte = std::filesystem::file_size(wav);
    }

    static Omgeving& een() {
        static Omgeving o;
        return o;
    }

    [[nodiscard]] Klok::time_point laatsteByte() const {
        return server.verzoeken().back().laatsteByte;
    }
};

// Kilobytes from /proc/self/status ("VmRSS", "VmHWM").
long statusKB(const std::string& veld) {
    std::ifstream in("/proc/self/status");
    std::string regel;
    while (std::getline(in, regel)) {
        if (regel.starts_with(veld + ":")) {
            return std::stol(regel.substr(veld.size() + 1));
        }
    }
    return 0;
}

double tijdTolmo = 0;

void BM_OpenAITranscriptie(benchmark::State& state) {
    Omgeving& o = Omgeving::een();
    const Opname opname = nep::opnameVan(o.wav, 600.0);
    std::vector<double> groei;
    std::vector<double> tijden;
    for (auto _ : state) {
        // Resets the peak (VmHWM) to the current resident size.
        std::ofstream("/proc/self/clear_refs") << "5";
        const long voor = statusKB("VmRSS");
        const auto begin = Klok::now();
        OpenAITranscriptie motor("sk-bench", CurlTransport::gedeeld(),
                                 o.server.url() + "v1/audio/transcriptions");
        benchmark::DoNotOptimize(motor.transcribeer(opname, {"Tolmo"}, {}));
        const double t = std::chrono::duration<double>(o.laatsteByte() - begin).count();
        state.SetIterationTime(t);
        tijden.push_back(t);
        groei.push_back(static_cast<double>(statusKB("VmHWM") - voor) * 1024.0 /
                        static_cast<double>(o.grootte));
    }
    std::sort(tijden.begin(), tijden.end());
    tijdTolmo = tijden[tijden.size() / 2];
    state.counters["piekgroei_per_bestand"] = *std::max_element(groei.begin(), groei.end());
    state.counters["bestand_MB"] = static_cast<double>(o.grootte) / 1e6;
    state.counters["mediaan_ms"] = tijdTolmo * 1000;
}
BENCHMARK(BM_OpenAITranscriptie)->UseManualTime()->Iterations(15)->Unit(benchmark::kMillisecond);

// The transport alone, with the body already in memory: separates sending from reading the file.
void BM_CurlTransportAlleen(benchmark::State& state) {
    Omgeving& o = Omgeving::een();
    MultipartFormulier f;
    f.voegTekstToe("model", "gpt-transcribe");
    if (!f.leesBestandIn("file", "dictaat.wav", "audio/wav", o.wav)) {
        state.SkipWithError("bestand onleesbaar");
        return;
    }
    const std::string body = std::move(f).body();
    for (auto _ : state) {
        HTTPVerzoek v;
        v.url = o.server.url() + "v1/audio/transcriptions";
        v.headers = {{"Content-Type", "multipart/form-data; boundary=" + f.grens()}};
        v.body = body;
        const auto begin = Klok::now();
        benchmark::DoNotOptimize(CurlTransport::gedeeld()->verstuur(std::move(v), {}));
        state.SetIterationTime(std::chrono::duration<double>(o.laatsteByte() - begin).count());
    }
}
BENCHMARK(BM_CurlTransportAlleen)->UseManualTime()->Iterations(15)->Unit(benchmark::kMillisecond);

void BM_CurlKommando(benchmark::State& state) {
    Omgeving& o = Omgeving::een();
    const std::string url = o.server.url() + "v1/audio/transcriptions";
    const std::string veld = "file=@" + o.wav.string() + ";type=audio/wav";
    std::vector<std::string> args = {"curl", "-s",
                                     "-o",   "/dev/null",
                                     "-H",   "Authorization: Bearer sk-bench",
                                     "-F",   "model=gpt-transcribe",
                                     "-F",   veld,
                                     url};
    std::vector<char*> argv;
    for (std::string& a : args) {
        argv.push_back(a.data());
    }
    argv.push_back(nullptr);
    std::vector<double> tijden;
    for (auto _ : state) {
        const auto begin = Klok::now();
        pid_t pid = 0;
        if (posix_spawnp(&pid, "curl", nullptr, nullptr, argv.data(), environ) != 0) {
            state.SkipWithError("curl niet gevonden");
            return;
        }
        int status = 0;
        waitpid(pid, &status, 0);
        const double t = std::chrono::duration<double>(o.laatsteByte() - begin).count();
        state.SetIterationTime(t);
        tijden.push_back(t);
    }
    std::sort(tijden.begin(), tijden.end());
    const double mediaan = tijden[tijden.size() / 2];
    state.counters["mediaan_ms"] = mediaan * 1000;
    if (tijdTolmo > 0) {
        state.counters["tolmo_gedeeld_door_curl"] = tijdTolmo / mediaan;
    }
}
BENCHMARK(BM_CurlKommando)->UseManualTime()->Iterations(15)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace tolmo
