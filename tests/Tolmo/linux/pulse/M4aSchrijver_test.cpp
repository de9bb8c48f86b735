// The m4a writer on real files, read back with libavformat and libavcodec.
#include "Tolmo/linux/pulse/M4aSchrijver.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include "Tolmo/AudioOpnemer/AudioOpnemer.h"
#include "Tolmo/linux/pulse/BestandSchrijvers.h"
#include "Tolmo/linux/pulse/SoxrOmzetter.h"
#include "nep/M4aLezer.h"
#include "nep/NepAudio.h"
#include "nep/NepAudioEngine.h"
#include "nep/WavLezer.h"

namespace tolmo {
namespace {

namespace fs = std::filesystem;

// AAC's encoder delay: the decoder's first frame is look-ahead, not audio the user spoke.
constexpr double aacVertraging = 1024.0 / 16000.0;

Opname neemOp(fs::path map, AudioFormaat formaat, InvoerFormaat invoer, int buffers) {
    nep::NepAudioEngine engine;
    engine.script = {{invoer, invoer}};
    SoxrOmzetter::Maker omzetters;
    BestandSchrijvers schrijvers;
    AudioOpnemer opnemer(engine, omzetters, schrijvers, std::move(map),
                         AudioOpnemer::Tijd{[] { return 0.0; }, [](double) {}});
    opnemer.startEngine(false);
    opnemer.start(formaat);
    for (int i = 0; i < buffers; ++i) {
        engine.lever(nep::NepBuffer(invoer, 2048, 0.5, 440.0, 2048ULL * i).blok());
    }
    return opnemer.rondAf();
}

TEST(M4aSchrijver, RecordingReadsBackWholeAndSmall) {
    struct Geval {
        InvoerFormaat invoer;
        int buffers;
    };
    // A tap buffer or two (less than one fragment), and some seconds from 48 kHz stereo and
    // from a 16 kHz headset.
    const Geval gevallen[] = {{{48000, 2}, 2}, {{48000, 2}, 100}, {{16000, 1}, 30}};
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(testing::Message() << g.invoer.sampleRate << " Hz, " << g.buffers);
        nep::TijdelijkeMap map;
        const Opname m4a = neemOp(map.pad(), AudioFormaat::m4a, g.invoer, g.buffers);
        const Opname wav = neemOp(map.pad(), AudioFormaat::wav, g.invoer, g.buffers);
        ASSERT_FALSE(m4a.onvolledig);
        EXPECT_EQ(m4a.bestand.extension(), ".m4a");

        std::string fout;
        const auto a = nep::leesAudio(m4a.bestand, fout);
        ASSERT_TRUE(a) << fout;
        const auto w = nep::leesWav(wav.bestand, fout);
        ASSERT_TRUE(w) << fout;
        EXPECT_EQ(a->codec, "aac");
        EXPECT_EQ(a->sampleRate, 16000);
        EXPECT_EQ(a->kanalen, 1);
        // Everything spoken is in the file: what the container says and what decodes both
        // cover the recording, longer only by the delay and the last frame's padding.
        for (const double duur : {a->containerDuur, a->duur()}) {
            EXPECT_GE(duur, w->duur());
            EXPECT_LE(duur, w->duur() + 2 * aacVertraging + 0.005);
        }
        EXPECT_NEAR(a->rms(1024, w->samples.size()), w->rms(), 0.1 * w->rms())
            << "a lossy copy of the same sine, after the encoder's delay";
        if (m4a.meting.duur() >= 2.0) {
            EXPECT_GE(fs::file_size(wav.bestand), 6 * fs::file_size(m4a.bestand));
        }
    }
}

// Twenty seconds handed over at once: from a file the writer waits for its encoder; from a
// microphone it may not wait, and a ring that cannot take the samples marks the recording.
TEST(M4aSchrijver, MoreThanTheRingHolds) {
    nep::TijdelijkeMap map;
    nep::NepBuffer twintig({16000, 1}, 20 * 16000, 0.5);
    for (const auto tempo : {M4aSchrijver::Tempo::bestand, M4aSchrijver::Tempo::echtTijd}) {
        const bool bestand = tempo == M4aSchrijver::Tempo::bestand;
        SCOPED_TRACE(bestand ? "bestand" : "echtTijd");
        auto schrijver = M4aSchrijver::Maker(tempo).open(map.pad() / "lang.m4a", AudioFormaat::m4a);
        std::error_code fout;
        schrijver->schrijf(twintig.data(), fout);
        EXPECT_EQ(schrijver->sluit(), bestand);
        EXPECT_EQ(fout,
                  bestand ? std::error_code{} : std::make_error_code(std::errc::no_buffer_space));
        std::string reden;
        const auto a = nep::leesAudio(map.pad() / "lang.m4a", reden);
        ASSERT_TRUE(a) << reden;
        EXPECT_NEAR(a->duur(), bestand ? 20.0 + 2 * aacVertraging : 0.0, aacVertraging);
    }
}

// The top-level boxes of an MPEG-4 file: type and end offset of each.
std::vector<std::pair<std::string, std::uint64_t>> dozen(const std::string& b) {
    std::vector<std::pair<std::string, std::uint64_t>> d;
    std::uint64_t i = 0;
    while (i + 8 <= b.size()) {
        std::uint64_t n = 0;
        for (int k = 0; k < 4; ++k) {
            n = (n << 8U) | static_cast<unsigned char>(b[i + k]);
        }
        if (n < 8) {
            break;  // size 0 ("to the end") or 1 (64-bit) would be patched or unbounded
        }
        d.emplace_back(b.substr(i + 4, 4), i + n);
        i += n;
    }
    return d;
}

// While the file grows, every size it reports as complete is a box boundary, and the file cut
// there is a recording of its own; the bytes are never rewritten, only appended.
TEST(M4aSchrijver, EveryReportedPrefixIsAPlayableFile) {
    nep::TijdelijkeMap map;
    const fs::path pad = map.pad() / "groei.m4a";
    M4aSchrijver::Maker maker;
    auto schrijver = maker.open(pad, AudioFormaat::m4a);
    auto& m4a = dynamic_cast<M4aSchrijver&>(*schrijver);
    std::set<std::uint64_t> gemeld{m4a.volledigeBytes()};
    std::error_code fout;
    for (int i = 0; i < 60; ++i) {  // 2,6 s in the writer's 683-sample steps from 48 kHz
        nep::NepBuffer b({16000, 1}, 683, 0.5, 440.0, 683ULL * i);
        schrijver->schrijf(b.data(), fout);
        ASSERT_FALSE(fout) << fout.message();
        const std::uint64_t volledig = m4a.volledigeBytes();
        EXPECT_GE(fs::file_size(pad), volledig) << "reported before it reached the file";
        gemeld.insert(volledig);
    }
    ASSERT_TRUE(schrijver->sluit());
    gemeld.insert(m4a.volledigeBytes());

    std::ifstream in(pad, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    const auto d = dozen(bytes);
    ASSERT_GE(d.size(), 4U);
    EXPECT_EQ(d.back().second, bytes.size()) << "only whole boxes with their final sizes";
    EXPECT_EQ(*gemeld.rbegin(), bytes.size());
    std::set<std::uint64_t> grenzen;
    for (const auto& [type, eind] : d) {
        grenzen.insert(eind);
    }
    for (const std::uint64_t g : gemeld) {
        EXPECT_TRUE(grenzen.contains(g)) << g << " is not a box boundary";
    }

    std::size_t vorigeSamples = 0;
    int fragmenten = 0;
    for (const auto& [type, eind] : d) {
        if (type != "mdat") {
            continue;
        }
        SCOPED_TRACE(testing::Message() << "cut after fragment " << ++fragmenten);
        const fs::path stuk = map.schrijf("stuk.m4a", bytes.substr(0, eind));
        std::string reden;
        const auto a = nep::leesAudio(stuk, reden);
        ASSERT_TRUE(a) << reden;
        EXPECT_EQ(a->sampleRate, 16000);
        EXPECT_GT(a->samples.size(), vorigeSamples);
        vorigeSamples = a->samples.size();
    }
    // 60 × 683 samples in fragments of 4 × 1024, with the encoder's delay.
    EXPECT_EQ(fragmenten, (60 * 683 + 1024 + 4095) / 4096);
}

// Records four seconds into a file that may not grow beyond `grens` bytes; 0 when the recording
// came back marked incomplete and the whole fragments before the failure still play.
int neemOpTotDeGrens(const fs::path& map, rlim_t grens) {
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limiet{grens, grens};
    setrlimit(RLIMIT_FSIZE, &limiet);
    const Opname o = neemOp(map, AudioFormaat::m4a, {48000, 2}, 100);
    std::ifstream in(o.bestand, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    std::uint64_t heel = 0;
    for (const auto& [type, eind] : dozen(bytes)) {
        heel = type == "mdat" && eind <= bytes.size() ? eind : heel;
    }
    std::ofstream(map / "heel.m4a", std::ios::binary)
        .write(bytes.data(), static_cast<std::streamsize>(heel));
    std::string reden;
    const auto a = nep::leesAudio(map / "heel.m4a", reden);
    std::fprintf(stderr, "onvolledig %d, %zu bytes, gelezen %s, %g s\n", o.onvolledig, bytes.size(),
                 a ? "ja" : reden.c_str(), a ? a->duur() : 0.0);
    return o.onvolledig && a && a->duur() > 0.2 && bytes.size() <= grens ? 0 : 1;
}

// A full disk at the start refuses the file before anyone speaks; one that fills during the
// recording marks it incomplete, and what was written before stays readable.
TEST(M4aSchrijver, WriteFailuresAreReported) {
    M4aSchrijver::Maker maker;
    try {
        maker.open("/dev/full", AudioFormaat::m4a);
        ADD_FAILURE() << "a full device took the header";
    } catch (const std::system_error& e) {
        EXPECT_EQ(e.code(), std::errc::no_space_on_device);
    }

    // The limit on file size is the process's own, so the recording runs in a child.
    nep::TijdelijkeMap map;
    EXPECT_EXIT(std::exit(neemOpTotDeGrens(map.pad(), 3000)), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace tolmo
