#include "Tolmo/AudioOpnemer/AudioOpnemer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <regex>
#include <thread>

#include "TolmoKern/Audio/OpnameFout.h"
#include "nep/Gevangen.h"
#include "nep/NepAudio.h"
#include "nep/NepAudioEngine.h"

namespace tolmo {
namespace {

using Formaten = nep::NepAudioEngine::Formaten;
using Script = std::vector<Formaten>;

constexpr InvoerFormaat stereo48{48000, 2};
constexpr InvoerFormaat mono16{16000, 1};
constexpr InvoerFormaat geen{0, 0};

// A buffer holding one constant value on every channel, so its level is exact: 20·log10(c).
nep::NepBuffer constant(InvoerFormaat f, float c, std::uint32_t frames = 2048) {
    nep::NepBuffer b(f, frames, 0.0);
    std::fill(b.data().begin(), b.data().end(), c);
    return b;
}

struct Opstelling {
    nep::NepAudioEngine engine;
    nep::NepOmzetterMaker omzetters;
    nep::NepSchrijverMaker schrijvers;
    nep::TijdelijkeMap map;
    std::vector<double> slapen;
    double klok = 100.0;
    AudioOpnemer opnemer{engine, omzetters, schrijvers, map.pad(),
                         AudioOpnemer::Tijd{[this] { return klok; },
                                            [this](double s) {
                                                slapen.push_back(s);
                                                klok += s;
                                            }}};

    // The engine running without voice processing and a WAV recording begun.
    void neemOp() {
        opnemer.startEngine(false);
        opnemer.start(AudioFormaat::wav);
    }
    // n tap buffers of 2048 frames holding the constant c.
    void lever(InvoerFormaat f, float c, int n = 1) {
        const auto b = constant(f, c);
        for (int i = 0; i < n; ++i) {
            engine.lever(b.blok());
        }
    }
};

TEST(AudioOpnemer, WaitsForAUsableFormatInQuarterSeconds) {
    struct Geval {
        const char* naam;
        bool stemverwerking;
        Script script;
        bool start;
        int slaapbeurten;
    };
    // n checks that find no input, then this pair of formats.
    const auto na = [](std::size_t n, Formaten f) {
        Script s(n, {geen, geen});
        s.push_back(f);
        return s;
    };
    const Geval gevallen[] = {
        {"meteen bruikbaar", false, Script{{stereo48, stereo48}}, true, 0},
        {"kanten verschillen eerst", false,
         Script{{stereo48, {44100, 2}}, {stereo48, {44100, 2}}, {stereo48, stereo48}}, true, 2},
        // Valid at exactly 1.5 s: the last check still counts.
        {"bruikbaar na 1,5 s", false, na(6, {mono16, mono16}), true, 6},
        {"pas na 1,75 s", false, na(7, {mono16, mono16}), false, 6},
        // Voice processing looks at the tap side only.
        {"stemverwerking: invoerkant ongeldig", true, Script{{geen, stereo48}}, true, 0},
        {"stemverwerking: geen kanalen", true, Script{{stereo48, {48000, 0}}}, false, 6},
    };
    for (const auto& g : gevallen) {
        SCOPED_TRACE(g.naam);
        Opstelling o;
        o.engine.vp = g.stemverwerking;
        o.engine.speelAf(g.script);
        if (g.start) {
            EXPECT_NO_THROW(o.opnemer.startEngine(g.stemverwerking));
            EXPECT_EQ(o.engine.tapFrames, 2048U);
            EXPECT_EQ(o.engine.tapFormaat,
                      g.script[std::min<std::size_t>(g.slaapbeurten, g.script.size() - 1)].uitvoer);
            EXPECT_TRUE(o.engine.draait);
        } else {
            EXPECT_EQ(nep::gevangen<OpnameFout>([&] { o.opnemer.startEngine(g.stemverwerking); }),
                      OpnameFout::geenInvoer());
            EXPECT_EQ(o.engine.aantal("installeerTap"), 0);
            EXPECT_FALSE(o.engine.draait);
        }
        EXPECT_EQ(o.slapen, std::vector<double>(g.slaapbeurten, 0.25));
        EXPECT_EQ(o.engine.resets, o.slapen.size());
    }
}

// Noise suppression is the engine's voice processing: used only when asked and never on
// Bluetooth input, switched only when it differs, and a refusal or a failed start with it costs
// the suppression, never the recording.
TEST(AudioOpnemer, NoiseSuppression) {
    using T = AudioEngine::Transport;
    struct Geval {
        bool gevraagd, aanwezig, weigert, faaltMetStemverwerking;
        T transport;
        long zetten;  // times voice processing was switched
        bool overgeslagen, actief;
        long starts;
    };
    const Geval gevallen[] = {
        {false, false, false, false, T::anders, 0, false, false, 1},
        {true, true, false, false, T::anders, 0, false, true, 1},
        {true, false, false, false, T::anders, 1, false, true, 1},
        {false, true, false, false, T::anders, 1, false, false, 1},
        {true, false, true, false, T::anders, 1, false, false, 1},       // refused: swallowed
        {false, true, true, false, T::anders, 1, false, true, 1},        // stays on, and says so
        {false, false, false, false, T::bluetooth, 0, false, false, 1},  // not asked: not skipped
        {true, false, false, false, T::bluetooth, 0, true, false, 1},
        {true, false, false, false, T::bluetoothLE, 0, true, false, 1},
        // Starting with voice processing fails: once more without it.
        {true, false, false, true, T::anders, 2, false, false, 2},
    };
    for (const auto& g : gevallen) {
        SCOPED_TRACE(&g - gevallen);
        Opstelling o;
        o.engine.vp = g.aanwezig;
        o.engine.vpWeigert = g.weigert;
        o.engine.transport = g.transport;
        o.engine.startFaaltMetStemverwerking = g.faaltMetStemverwerking;
        EXPECT_NO_THROW(o.opnemer.startEngineMetRuisonderdrukking(g.gevraagd));
        EXPECT_EQ(o.engine.aantal("stemverwerking aan") + o.engine.aantal("stemverwerking uit"),
                  g.zetten);
        EXPECT_EQ(o.opnemer.ruisonderdrukkingOvergeslagenBluetooth(), g.overgeslagen);
        EXPECT_EQ(o.opnemer.ruisonderdrukkingActief(), g.actief);
        EXPECT_EQ(o.engine.vp, g.actief);
        EXPECT_EQ(o.engine.aantal("start"), g.starts);
        EXPECT_EQ(o.engine.aantal("stop"), g.starts - 1);
        EXPECT_TRUE(o.engine.draait);
        EXPECT_TRUE(o.engine.tap);
        // Other sound is lowered as little as possible whenever voice processing came on.
        EXPECT_EQ(o.engine.demping.has_value(), g.actief || g.starts == 2);
        if (o.engine.demping) {
            EXPECT_FALSE(o.engine.demping->geavanceerd);
            EXPECT_EQ(o.engine.demping->niveau, 10);
        }
    }
    // An engine that starts neither way is the controller's StartFailures row.
}

// A buffer's level, and the smoothed level the indicator reads with the time it was measured;
// an empty buffer counts as silence. How dB map to the indicator's level is the core's
// (NiveauVolger's table).
TEST(AudioOpnemer, LevelAndSmoothedLevelPerBuffer) {
    Opstelling o;
    auto kanaal = std::make_shared<NiveauKanaal>();
    o.opnemer.zetNiveauKanaal(kanaal);
    o.neemOp();
    o.klok = 123.5;
    o.lever(stereo48, 0.0031623F);  // -50 dB: a fifth of the indicator's range
    EXPECT_NEAR(o.opnemer.niveau(), -50.0, 1e-3);
    const auto stand = kanaal->lees();
    EXPECT_NEAR(stand.niveau, 0.6F * 0.2F, 1e-4);  // rising from 0
    EXPECT_EQ(stand.tijd, 123.5);
    EXPECT_EQ(stand.volgnummer, 1U);

    o.engine.lever(constant(stereo48, 0.5F, 0).blok());
    EXPECT_EQ(o.opnemer.niveau(), AudioMeting::vloerDB);
    EXPECT_FLOAT_EQ(kanaal->lees().niveau, stand.niveau * 0.75F);  // falls by a quarter
    EXPECT_EQ(o.opnemer.bufferTeller(), 2);
    const Opname opname = o.opnemer.rondAf();
    EXPECT_EQ(opname.meting.aantalSamples, 2048);
    EXPECT_FALSE(opname.onvolledig);
}

TEST(AudioOpnemer, RecordingFlowThroughThePorts) {
    Opstelling o;
    o.neemOp();
    ASSERT_EQ(o.schrijvers.paden.size(), 1U);
    const auto pad = o.schrijvers.paden[0];
    EXPECT_EQ(pad.parent_path(), o.map.pad());
    EXPECT_TRUE(std::regex_match(
        pad.filename().string(),
        std::regex(
            "tolmo-[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}\\.wav")))
        << pad;
    o.lever(stereo48, 0.25F, 10);
    const Opname opname = o.opnemer.rondAf();
    EXPECT_EQ(opname.bestand, pad);
    EXPECT_EQ(opname.formaat, AudioFormaat::wav);
    EXPECT_FALSE(opname.onvolledig);
    EXPECT_EQ(opname.meting.sampleRate, 48000);
    EXPECT_EQ(opname.meting.aantalSamples, 20480);
    const auto& stand = o.schrijvers.standen[0];
    EXPECT_TRUE(stand.gesloten);
    EXPECT_EQ(stand.samples.size(), 10U * 683U);  // every third of 2048 frames, rounded up
    // A second recording gets its own file; the first stays for its owner to delete.
    o.opnemer.start(AudioFormaat::wav);
    ASSERT_EQ(o.schrijvers.paden.size(), 2U);
    EXPECT_NE(o.schrijvers.paden[1], pad);
    EXPECT_TRUE(std::filesystem::exists(pad));
}

// A microphone array with six channels: the converter, which takes at most two like the Mac's
// standard format, gets their mean as one channel.
TEST(AudioOpnemer, MoreChannelsThanTheConverterTakesAreMixedDown) {
    constexpr InvoerFormaat zes{48000, 6};
    Opstelling o;
    o.engine.speelAf({{zes, zes}});
    o.neemOp();
    nep::NepBuffer b(zes, 2048, 0.0);
    for (std::size_t i = 0; i < b.data().size(); ++i) {
        b.data()[i] = 0.1F * static_cast<float>(i % 6);  // channel c holds 0.1·c
    }
    o.engine.lever(b.blok());
    const Opname opname = o.opnemer.rondAf();
    EXPECT_FALSE(opname.onvolledig);
    const auto& samples = o.schrijvers.standen.at(0).samples;
    ASSERT_EQ(samples.size(), 683U);
    EXPECT_NEAR(samples[300], 0.25F, 1e-6F);
}

// The engine may still run a tap block or a change callback while the recorder ends (removing a
// tap is not promised to wait for a running block), or call one it was told to forget: the end
// waits for a running call, and a late call reaches nothing. Run under ASan, a call into the
// freed recorder fails here.
TEST(AudioOpnemer, CallbacksRacingTheEndOfTheRecorder) {
    nep::NepAudioEngine engine;
    nep::NepOmzetterMaker omzetters;
    nep::NepSchrijverMaker schrijvers;
    nep::TijdelijkeMap map;
    auto opnemer = std::make_unique<AudioOpnemer>(engine, omzetters, schrijvers, map.pad());
    std::atomic<int> wijzigingen{0};
    opnemer->zetOpConfiguratieWijziging([&wijzigingen] { ++wijzigingen; });
    opnemer->startEngine(false);
    opnemer->start(AudioFormaat::wav);
    const AudioEngine::TapBlok tap = engine.tap;
    const std::function<void()> wijziging = engine.opWijziging;
    const auto b = constant(stereo48, 0.5F);
    std::atomic<bool> weg{false};
    std::atomic<int> naHetEinde{0};
    std::thread audio([&] {
        // Goes on for a while after the recorder is gone, as a late engine thread would.
        while (naHetEinde < 200) {
            tap(b.blok());
            wijziging();
            if (weg) {
                ++naHetEinde;
            }
        }
    });
    while (wijzigingen < 50) {
        std::this_thread::yield();
    }
    opnemer.reset();
    const int bijHetEinde = wijzigingen;
    weg = true;
    audio.join();
    EXPECT_EQ(wijzigingen, bijHetEinde) << "a callback reached the recorder after its end";
    EXPECT_FALSE(engine.tap) << "the recorder took its tap off the engine";
}

// A converter may hand back more frames than the rate ratio says (what a resampler held back
// from the block before): each block gets room for its exact share, rounded down, and 64 more.
TEST(AudioOpnemer, ConverterOutputHasSlackBeyondTheRateRatio) {
    struct Geval {
        InvoerFormaat formaat;
        std::uint32_t frames;
        std::size_t ruimte;
    };
    const Geval gevallen[] = {
        {stereo48, 2048, 682 + 64},     // 682,67
        {{44100, 2}, 2048, 743 + 64},   // 743,04
        {{44100, 1}, 4096, 1486 + 64},  // a block larger than the tap asked for
        {mono16, 512, 512 + 64},       {{8000, 1}, 1000, 2000 + 64},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.formaat.sampleRate);
        Opstelling o;
        o.engine.speelAf({{g.formaat, g.formaat}});
        o.neemOp();
        o.engine.lever(constant(g.formaat, 0.1F, g.frames).blok());
        EXPECT_EQ(o.omzetters.ruimte, std::vector<std::size_t>{g.ruimte});
    }
}

TEST(AudioOpnemer, WriteErrorMarksTheRecordingIncomplete) {
    Opstelling o;
    o.schrijvers.faaltVanaf = 3;
    o.neemOp();
    o.lever(stereo48, 0.1F, 6);
    const Opname opname = o.opnemer.rondAf();
    EXPECT_TRUE(opname.onvolledig);
    EXPECT_EQ(o.opnemer.laatsteSchrijfFout(), std::make_error_code(std::errc::no_space_on_device));
    // The first error stops writing but never measuring.
    EXPECT_EQ(o.schrijvers.standen[0].schrijfacties, 3);
    EXPECT_EQ(opname.meting.aantalSamples, 6 * 2048);
    // The error belongs to that recording only.
    o.schrijvers.faaltVanaf = 0;
    o.opnemer.start(AudioFormaat::wav);
    o.lever(stereo48, 0.1F);
    EXPECT_FALSE(o.opnemer.rondAf().onvolledig);
    // A file that cannot be finished (its header not rewritten) is not a whole recording.
    o.schrijvers.sluitenFaalt = true;
    o.opnemer.start(AudioFormaat::wav);
    o.lever(stereo48, 0.1F);
    EXPECT_TRUE(o.opnemer.rondAf().onvolledig);
}

TEST(AudioOpnemer, StartFailures) {
    Opstelling o;
    // The engine not started yet: no input format known.
    EXPECT_EQ(nep::gevangen<OpnameFout>([&] { o.opnemer.start(AudioFormaat::wav); }),
              OpnameFout::geenInvoer());
    o.omzetters.weigert = true;
    EXPECT_EQ(nep::gevangen<OpnameFout>([&] { o.neemOp(); }), OpnameFout::omzetten());
    EXPECT_TRUE(o.schrijvers.paden.empty());
    // Nothing is half-open: finishing gives an empty recording at the input rate.
    const Opname leeg = o.opnemer.rondAf();
    EXPECT_TRUE(leeg.bestand.empty());
    EXPECT_EQ(leeg.meting.sampleRate, 48000);
    EXPECT_EQ(leeg.meting.aantalSamples, 0);
}

TEST(AudioOpnemer, CancelDeletesTheFile) {
    Opstelling o;
    o.neemOp();
    o.lever(stereo48, 0.1F);
    const auto pad = o.schrijvers.paden.at(0);
    ASSERT_TRUE(std::filesystem::exists(pad));
    o.opnemer.annuleer();
    EXPECT_FALSE(std::filesystem::exists(pad));
    EXPECT_TRUE(o.schrijvers.standen[0].gesloten);
    EXPECT_FALSE(o.engine.draait);
    EXPECT_FALSE(o.engine.tap);
    EXPECT_TRUE(o.opnemer.rondAf().bestand.empty());
    EXPECT_NO_THROW(o.opnemer.annuleer());  // twice is harmless
}

// A restart that fails or finds no input ends with the audio so far: the core's decision table,
// and the controller's audio-change rows with their lines.
TEST(AudioOpnemer, RestartDecisions) {
    using F = FormaatBesluit;
    const auto wav = AudioFormaat::wav;
    struct Geval {
        const char* naam;
        std::optional<AudioFormaat> opname;  // nullopt: measuring only
        Script naWijziging;
        bool omzetterWeigert;
        F verwacht;
    };
    const Geval gevallen[] = {
        {"alleen meten", std::nullopt, Script{{mono16, mono16}}, false, F::geenDictaat},
        {"zelfde formaat", wav, Script{{stereo48, stereo48}}, false, F::ongewijzigd},
        {"nieuw formaat", wav, Script{{mono16, mono16}}, false, F::omzetterVernieuwen},
        {"geen omzetter voor nieuw formaat", wav, Script{{mono16, mono16}}, true,
         F::afrondenMetDeelopname},
    };
    for (const auto& g : gevallen) {
        SCOPED_TRACE(g.naam);
        Opstelling o;
        bool gemeld = false;
        o.opnemer.zetOpConfiguratieWijziging([&] { gemeld = true; });
        o.opnemer.startEngine(false);
        o.opnemer.start(g.opname);
        o.lever(stereo48, 0.1F);
        o.engine.speelAf(g.naWijziging);
        o.omzetters.weigert = g.omzetterWeigert;
        o.engine.meldWijziging();
        EXPECT_TRUE(gemeld);
        const int omzettersVoor = o.omzetters.gemaakt;
        EXPECT_EQ(o.opnemer.herstartNaWijziging(), g.verwacht);
        EXPECT_EQ(o.omzetters.gemaakt - omzettersVoor, g.verwacht == F::omzetterVernieuwen ? 1 : 0);
    }
}

TEST(NiveauKanaal, ReaderSeesWholePublications) {
    NiveauKanaal kanaal;
    EXPECT_EQ(kanaal.lees().volgnummer, 0U);
    std::atomic<bool> klaar{false};
    std::thread schrijver([&] {
        for (int i = 1; i <= 200000; ++i) {
            // Level and time always belong together: tijd = 2 × niveau.
            kanaal.publiceer(static_cast<float>(i), 2.0 * i);
        }
        klaar = true;
    });
    std::uint64_t vorige = 0;
    while (!klaar) {
        const auto s = kanaal.lees();
        ASSERT_EQ(s.tijd, 2.0 * s.niveau);
        ASSERT_GE(s.volgnummer, vorige);
        vorige = s.volgnummer;
    }
    schrijver.join();
    EXPECT_EQ(kanaal.lees().niveau, 200000.0F);
    EXPECT_EQ(kanaal.lees().volgnummer, 200000U);
}

}  // namespace
}  // namespace tolmo
