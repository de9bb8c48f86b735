// The recorder against a real PulseAudio daemon that each test starts for itself.
#include "Tolmo/linux/pulse/PulseAudioEngine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cmath>

#include "Tolmo/AudioOpnemer/AudioOpnemer.h"
#include "Tolmo/linux/pulse/SoxrOmzetter.h"
#include "Tolmo/linux/pulse/WavSchrijver.h"
#include "TolmoKern/Audio/OpnameFout.h"
#include "nep/NepAudio.h"
#include "nep/PulseDaemon.h"
#include "nep/WavLezer.h"

namespace tolmo {
namespace {

using namespace std::chrono_literals;

using nep::wachtTot;

class PulseAudioEngineTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(daemon.fout(), "");
        engine = std::make_unique<PulseAudioEngine>();
        opnemer = std::make_unique<AudioOpnemer>(*engine, omzetters, schrijvers, map.pad());
        opnemer->zetOpConfiguratieWijziging([this] { ++wijzigingen; });
    }

    // Records until `seconden` of audio have come in.
    void neemOp(double seconden, double rate) {
        const auto buffers = static_cast<std::int64_t>(std::ceil(seconden * rate / 2048));
        const auto begin = opnemer->bufferTeller();
        const auto grens = std::chrono::milliseconds(static_cast<int>(seconden * 1000)) + 5s;
        EXPECT_TRUE(wachtTot([&] { return opnemer->bufferTeller() - begin >= buffers; }, grens))
            << opnemer->bufferTeller();
    }

    nep::PulseDaemon daemon;
    std::unique_ptr<PulseAudioEngine> engine;
    SoxrOmzetter::Maker omzetters;
    WavSchrijver::Maker schrijvers;
    nep::TijdelijkeMap map;
    std::unique_ptr<AudioOpnemer> opnemer;
    std::atomic<int> wijzigingen{0};
};

TEST_F(PulseAudioEngineTest, RecordsSpeechFromTheDefaultSource) {
    EXPECT_EQ(engine->invoerFormaat(), (InvoerFormaat{48000, 2}));
    EXPECT_EQ(engine->standaardInvoerTransport(), AudioEngine::Transport::anders);

    const auto zin = daemon.spraak(
        "Dit is een proef van de opname. De microfoon neemt deze zin op en zet hem om naar "
        "zestien kilohertz.");
    ASSERT_FALSE(zin.empty()) << "espeak-ng";
    auto kanaal = std::make_shared<NiveauKanaal>();
    opnemer->zetNiveauKanaal(kanaal);

    opnemer->startEngineMetRuisonderdrukking(true);
    EXPECT_TRUE(opnemer->ruisonderdrukkingActief());
    EXPECT_FALSE(opnemer->ruisonderdrukkingOvergeslagenBluetooth());
    opnemer->start(AudioFormaat::wav);
    daemon.speelAf(zin);
    neemOp(2.0, 48000);
    const auto s = kanaal->lees();
    const Opname opname = opnemer->rondAf();
    engine->stop();
    engine->verwijderTap();

    EXPECT_FALSE(opname.onvolledig);
    EXPECT_EQ(opname.meting.sampleRate, 48000);
    EXPECT_NEAR(opname.meting.duur(), 2.0, 0.1);
    // espeak speaks loudly: the whole recording, pauses included, sits well above silence.
    EXPECT_GT(opname.meting.niveauDB(), -40.0);
    EXPECT_LT(opname.meting.niveauDB(), -1.0);
    EXPECT_GT(s.volgnummer, 10U);

    std::string fout;
    const auto wav = nep::leesWav(opname.bestand, fout);
    ASSERT_TRUE(wav) << fout;
    EXPECT_EQ(wav->sampleRate, 16000U);
    EXPECT_EQ(wav->kanalen, 1);
    EXPECT_NEAR(wav->duur(), opname.meting.duur(), 0.01);
    EXPECT_GT(wav->rms(), 0.01);
}

// Level in dB of a recording between two times.
double niveauDB(const nep::WavBestand& wav, double van, double tot) {
    const auto a = static_cast<std::size_t>(van * wav.sampleRate);
    const auto b = std::min(wav.samples.size(), static_cast<std::size_t>(tot * wav.sampleRate));
    double som = 0;
    for (std::size_t i = a; i < b; ++i) {
        som += double{wav.samples[i]} * wav.samples[i];
    }
    return b > a ? 10 * std::log10(som / static_cast<double>(b - a) + 1e-20) : -200.0;
}

// The same noisy sentence recorded without and with noise suppression: 3 s of white noise, then
// speech over it.
TEST_F(PulseAudioEngineTest, NoiseSuppressionDampsTheNoiseAndKeepsTheSpeech) {
    const auto zin = daemon.spraak("Een twee drie vier vijf zes zeven.");
    ASSERT_FALSE(zin.empty()) << "espeak-ng";
    ASSERT_EQ(nep::PulseDaemon::voerUit(
                  {"sh", "-c",
                   "cd '" + daemon.map().string() +
                       "' && sox zin.wav laat.wav pad 3 && sox -n -r 22050 -c 1 -b 16 ruis.wav "
                       "synth 7 whitenoise vol 0.1 && sox -m laat.wav ruis.wav mix.wav"}),
              0);
    std::array<double, 2> ruis{};
    std::array<double, 2> spraak{};
    for (const bool aan : {false, true}) {
        SCOPED_TRACE(aan);
        opnemer->startEngineMetRuisonderdrukking(aan);
        EXPECT_EQ(opnemer->ruisonderdrukkingActief(), aan);
        opnemer->start(AudioFormaat::wav);
        daemon.speelAf(daemon.map() / "mix.wav");
        neemOp(5.5, 48000);
        const Opname opname = opnemer->rondAf();
        engine->stop();
        engine->verwijderTap();
        std::string fout;
        const auto wav = nep::leesWav(opname.bestand, fout);
        ASSERT_TRUE(wav) << fout;
        EXPECT_NEAR(wav->duur(), opname.meting.duur(), 2.0 / 16000);
        // Playback begins a little after the recording; the windows leave room for that.
        ruis.at(aan) = niveauDB(*wav, 2.0, 3.0);
        spraak.at(aan) = niveauDB(*wav, 3.6, 4.8);
    }
    EXPECT_LT(ruis[1], ruis[0] - 10.0);
    EXPECT_GT(spraak[0], ruis[0] + 4.0);
    EXPECT_NEAR(spraak[1], spraak[0], 3.0);
}

// A user's sound server restarts now and then (an update, PipeWire's pulse server crashing):
// the next dictation must work without restarting the app.
TEST_F(PulseAudioEngineTest, TheNextRecordingWorksAfterTheServerRestarted) {
    for (int ronde = 0; ronde < 2; ++ronde) {
        SCOPED_TRACE(ronde);
        if (ronde == 1) {
            daemon.herstart();
            ASSERT_EQ(daemon.fout(), "");
        }
        opnemer->startEngine(false);
        opnemer->start(AudioFormaat::wav);
        neemOp(0.5, 48000);
        const Opname opname = opnemer->rondAf();
        engine->stop();
        engine->verwijderTap();
        EXPECT_FALSE(opname.onvolledig);
        EXPECT_NEAR(opname.meting.duur(), 0.5, 0.1);
    }
}

TEST_F(PulseAudioEngineTest, DeviceChangesDuringARecording) {
    const auto zin = daemon.spraak("Een twee drie vier vijf zes zeven acht negen tien.");
    opnemer->startEngineMetRuisonderdrukking(false);
    opnemer->start(AudioFormaat::wav);
    daemon.speelAf(zin);
    neemOp(0.5, 48000);

    // A 16 kHz mono source becomes the default: one report, and the recording goes on.
    ASSERT_EQ(
        nep::PulseDaemon::voerUit({"pactl", "load-module", "module-null-sink", "sink_name=tweede",
                                   "format=float32le", "rate=16000", "channels=1"}),
        0);
    ASSERT_EQ(nep::PulseDaemon::voerUit({"pactl", "set-default-source", "tweede.monitor"}), 0);
    ASSERT_TRUE(wachtTot([&] { return wijzigingen > 0; }));
    EXPECT_EQ(opnemer->herstartNaWijziging(), FormaatBesluit::omzetterVernieuwen);
    EXPECT_EQ(engine->invoerFormaat(), (InvoerFormaat{16000, 1}));
    const int na1 = wijzigingen;
    neemOp(0.5, 16000);

    // The source disappears: reported.
    ASSERT_EQ(nep::PulseDaemon::voerUit({"pactl", "unload-module", "module-null-sink"}), 0);
    ASSERT_TRUE(wachtTot([&] { return wijzigingen > na1; }));
    const FormaatBesluit besluit = opnemer->herstartNaWijziging();
    // Unloading every null sink leaves no source: the recording is finished with what it has.
    EXPECT_EQ(besluit, FormaatBesluit::afrondenMetDeelopname);

    const Opname opname = opnemer->rondAf();
    engine->stop();
    EXPECT_FALSE(opname.onvolledig);
    std::string fout;
    const auto wav = nep::leesWav(opname.bestand, fout);
    ASSERT_TRUE(wav) << fout;
    EXPECT_EQ(wav->sampleRate, 16000U);
    EXPECT_GT(opname.meting.duur(), 0.9);
    EXPECT_NEAR(wav->duur(), opname.meting.duur(), 0.02);

    // Idle now: a further change decides nothing.
    ASSERT_EQ(
        nep::PulseDaemon::voerUit({"pactl", "load-module", "module-null-sink", "sink_name=derde"}),
        0);
    EXPECT_EQ(opnemer->herstartNaWijziging(), FormaatBesluit::geenDictaat);
}

TEST_F(PulseAudioEngineTest, BluetoothSkipsVoiceProcessingAndNoSourceMeansNoInput) {
    ASSERT_EQ(nep::PulseDaemon::voerUit({"pactl", "load-module", "module-virtual-source",
                                         "source_name=bt", "master=nul.monitor",
                                         "source_properties=device.bus=bluetooth"}),
              0);
    ASSERT_EQ(nep::PulseDaemon::voerUit({"pactl", "set-default-source", "bt"}), 0);
    EXPECT_TRUE(wachtTot([&] { return opnemer->isBluetoothInvoer(); }));
    opnemer->startEngineMetRuisonderdrukking(true);
    EXPECT_TRUE(opnemer->ruisonderdrukkingOvergeslagenBluetooth());
    EXPECT_FALSE(opnemer->ruisonderdrukkingActief());
    engine->stop();

    // The last source goes (the virtual one with its master): nothing to record from.
    ASSERT_EQ(nep::PulseDaemon::voerUit({"pactl", "unload-module", "module-null-sink"}), 0);
    EXPECT_TRUE(wachtTot([&] { return !engine->invoerFormaat().isGeldig(); }));
    try {
        opnemer->startEngine(false);
        ADD_FAILURE() << "gestart zonder bron";
    } catch (const OpnameFout& f) {
        EXPECT_EQ(f, OpnameFout::geenInvoer());
    }
}

}  // namespace
}  // namespace tolmo
