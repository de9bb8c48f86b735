// From the hold key's release to the transcription request on the wire, under a headless sway
// with the real tolmo-app on Wayland: the compositor's release binding runs a command through
// `sh -c`, which tells the app to stop; the clock stops when the speech service's stand-in has
// the request. Once with `tolmo-app --stop` (the app's own binary, with its toolkit) and once
// with `tolmo-bediening --stop`, the client the printed bindings now run.
#include <benchmark/benchmark.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>

#include "Tolmo/MacRegelaar/CloudToestemming.h"
#include "Tolmo/linux/freedesktop/XdgOpslag.h"
#include "TolmoKern/Instellingen/GedeeldeOpslag.h"
#include "tests/nep/LoopbackServer.h"
#include "tests/nep/LopendProces.h"
#include "tests/nep/PulseDaemon.h"
#include "tests/nep/SwayServer.h"

namespace {

using namespace tolmo;
using namespace std::chrono_literals;
using Klok = std::chrono::steady_clock;

// One compositor, sound server and app for every round of both benchmarks.
struct Opstelling {
    Opstelling() {
        if (!sway.fout().empty() || !pulse.fout().empty()) {
            fout = sway.fout() + pulse.fout();
            return;
        }
        server.zetBehandelaar([this](const nep::LoopbackServer::Verzoek& v) {
            if (v.methode == "GET") {
                return nep::LoopbackServer::Antwoord::json(405, "{}");
            }
            aangekomen = Klok::now();
            ++verzoeken;
            return nep::LoopbackServer::Antwoord::json(200, R"({"text":"Hallo"})");
        });
        for (const auto& [k, w] : {std::pair{"motor", "openai"}, {"opschonen", "uit"}}) {
            nep::voerProcesUit(TOLMO_CLI_PAD, {"instellingen", "zet", k, w}, omgeving());
        }
        XdgOpslag groep(pulse.map() / "config" / "tolmo", std::string(GedeeldeOpslag::groepSuite));
        CloudToestemming{CloudToestemming::eigenRoute.versie, 0}.bewaar(groep);
        spraak = pulse.spraak("Hallo vanuit Tolmo");
        app = std::make_unique<nep::LopendProces>(TOLMO_APP_PAD, std::vector<std::string>{},
                                                  nep::LopendProces::Opties{omgeving(), false});
        if (!app->wachtOpFout("Tolmo: klaar", 10s)) {
            fout = "tolmo-app start niet";
        }
    }

    std::map<std::string, std::string> omgeving() const {
        return {{"XDG_CONFIG_HOME", (pulse.map() / "config").string()},
                {"XDG_STATE_HOME", (pulse.map() / "state").string()},
                {"XDG_CACHE_HOME", (pulse.map() / "cache").string()},
                {"OPENAI_API_KEY", "sk-test"},
                {"TOLMO_OPENAI_URL", server.url()}};
    }

    // One dictation; the time from the release binding's start to the request, or nothing
    // when the request did not come.
    std::optional<double> dicteer(const std::string& programma) {
        const auto voor = verzoeken.load();
        nep::voerProcesUit("/bin/sh", {"-c", std::string(TOLMO_BEDIENING_PAD) + " --start"},
                           omgeving());
        nep::PulseDaemon::voerUit({"paplay", "--device=nul", spraak.string()});
        const auto los = Klok::now();
        nep::voerProcesUit("/bin/sh", {"-c", programma + " --stop"}, omgeving());
        const auto tot = Klok::now() + 10s;
        while (verzoeken.load() == voor && Klok::now() < tot) {
            std::this_thread::sleep_for(1ms);
        }
        if (verzoeken.load() == voor) {
            return std::nullopt;
        }
        const double ms =
            std::chrono::duration<double, std::milli>(aangekomen.load() - los).count();
        // The text goes to the clipboard and the app is ready again.
        std::this_thread::sleep_for(1500ms);
        return ms;
    }

    nep::SwayServer sway;
    nep::PulseDaemon pulse;
    nep::LoopbackServer server;
    std::filesystem::path spraak;
    std::unique_ptr<nep::LopendProces> app;
    std::atomic<Klok::time_point> aangekomen{};
    std::atomic<int> verzoeken{0};
    std::string fout;
};

Opstelling& opstelling() {
    static Opstelling o;
    return o;
}

void BM_LoslatenTotVerzoek(benchmark::State& state, const char* programma) {
    Opstelling& o = opstelling();
    if (!o.fout.empty()) {
        state.SkipWithError(o.fout.c_str());
        return;
    }
    for (auto _ : state) {
        const auto ms = o.dicteer(programma);
        if (!ms) {
            state.SkipWithError("geen verzoek binnen 10 s");
            return;
        }
        state.SetIterationTime(*ms / 1000.0);
    }
}

// One dictation per repetition; the median over the repetitions is the figure.
BENCHMARK_CAPTURE(BM_LoslatenTotVerzoek, tolmo_app, TOLMO_APP_PAD)
    ->Iterations(1)
    ->Repetitions(11)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_LoslatenTotVerzoek, tolmo_bediening, TOLMO_BEDIENING_PAD)
    ->Iterations(1)
    ->Repetitions(11)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace
