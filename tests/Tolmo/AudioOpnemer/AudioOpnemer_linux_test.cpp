// The recorder with the real converter and WAV writer of this platform.
#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <new>
#include <tuple>

#include "Tolmo/AudioOpnemer/AudioOpnemer.h"
#include "Tolmo/linux/pulse/BestandSchrijvers.h"
#include "Tolmo/linux/pulse/SoxrOmzetter.h"
#include "TolmoKern/Audio/OpnameFout.h"
#include "nep/Gevangen.h"
#include "nep/NepAudio.h"
#include "nep/NepAudioEngine.h"
#include "nep/WavLezer.h"

// Counts allocations made on the thread that asked for it, to prove the capture routine does
// not allocate once it has seen a format.
namespace {
thread_local bool telAllocaties = false;
std::atomic<long> allocaties{0};
}  // namespace

// These replace the global operators with plain malloc/free; the compiler's check for mismatched
// pairs cannot see that both sides are replaced together.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpragmas"
#pragma GCC diagnostic ignored "-Wunknown-warning-option"
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
void* operator new(std::size_t n) {
    if (telAllocaties) {
        ++allocaties;
    }
    if (void* p = std::malloc(n == 0 ? 1 : n)) {
        return p;
    }
    throw std::bad_alloc();
}
void operator delete(void* p) noexcept {
    std::free(p);
}
void operator delete(void* p, std::size_t) noexcept {
    std::free(p);
}
#pragma GCC diagnostic pop

namespace tolmo {
namespace {

constexpr InvoerFormaat stereo48{48000, 2};
constexpr InvoerFormaat mono16{16000, 1};

struct EchteOpstelling {
    nep::NepAudioEngine engine;
    SoxrOmzetter::Maker omzetters;
    BestandSchrijvers schrijvers;
    nep::TijdelijkeMap map;
    AudioOpnemer opnemer{engine, omzetters, schrijvers, map.pad(),
                         AudioOpnemer::Tijd{[] { return 0.0; }, [](double) {}}};

    // Delivers `aantal` tap buffers of a continuous sine.
    void sinus(InvoerFormaat f, int aantal, double amplitude, std::uint64_t& frame) {
        for (int i = 0; i < aantal; ++i) {
            const nep::NepBuffer b(f, 2048, amplitude, 440.0, frame);
            engine.lever(b.blok());
            frame += 2048;
        }
    }
};

nep::WavBestand lees(const std::filesystem::path& pad) {
    std::string fout;
    auto wav = nep::leesWav(pad, fout);
    EXPECT_TRUE(wav.has_value()) << fout;
    return wav.value_or(nep::WavBestand{});
}

TEST(AudioOpnemerLinux, SwitchTo16kMonoContinuesInOneFile) {
    EchteOpstelling o;
    o.opnemer.startEngine(false);
    o.opnemer.start(AudioFormaat::wav);
    std::uint64_t frame = 0;
    o.sinus(stereo48, 24, 0.5, frame);  // 1.024 s

    o.engine.speelAf({{mono16, mono16}});
    o.engine.meldWijziging();
    ASSERT_EQ(o.opnemer.herstartNaWijziging(), FormaatBesluit::omzetterVernieuwen);
    std::uint64_t frame16 = 0;
    o.sinus(mono16, 8, 0.5, frame16);  // 1.024 s

    const Opname opname = o.opnemer.rondAf();
    EXPECT_FALSE(opname.onvolledig);
    EXPECT_DOUBLE_EQ(opname.meting.duur(), 24 * 2048 / 48000.0 + 8 * 2048 / 16000.0);
    EXPECT_EQ(opname.meting.sampleRate, 16000);
    const auto wav = lees(opname.bestand);
    EXPECT_EQ(wav.sampleRate, 16000U);
    EXPECT_NEAR(wav.duur(), opname.meting.duur(), 2.0 / 16000);
    // No gap of silence where the devices changed: the level holds across the seam.
    const std::size_t naad = 24 * 2048 / 3;
    double som = 0;
    for (std::size_t i = naad - 160; i < naad + 160; ++i) {
        som += double{wav.samples[i]} * wav.samples[i];
    }
    EXPECT_NEAR(std::sqrt(som / 320), 0.5 / std::sqrt(2.0), 0.05);
}

TEST(AudioOpnemerLinux, CaptureDoesNotAllocateAfterTheFirstBufferOfAFormat) {
    // The m4a writer hands its samples to the encoder's thread, which may allocate; this one not.
    for (const AudioFormaat formaat : {AudioFormaat::wav, AudioFormaat::m4a}) {
        EchteOpstelling o;
        o.opnemer.zetNiveauKanaal(std::make_shared<NiveauKanaal>());
        o.opnemer.startEngine(false);
        o.opnemer.start(formaat);
        struct Stap {
            InvoerFormaat formaat;
            std::uint32_t frames;
        };
        // A new format, and a larger buffer than before, may allocate once each.
        for (const Stap s : {Stap{stereo48, 2048}, Stap{mono16, 2048}, Stap{stereo48, 4800}}) {
            const nep::NepBuffer b(s.formaat, s.frames, 0.3);
            allocaties = 0;
            telAllocaties = true;
            o.engine.lever(b.blok());
            telAllocaties = false;
            if (s.formaat != stereo48 || s.frames != 2048) {
                EXPECT_GT(allocaties.load(), 0) << "the counter sees the converter being replaced";
            }
            allocaties = 0;
            telAllocaties = true;
            for (int i = 0; i < 20; ++i) {
                o.engine.lever(b.blok());
            }
            telAllocaties = false;
            EXPECT_EQ(allocaties.load(), 0)
                << extensie(formaat) << ", " << s.formaat.sampleRate << " Hz, " << s.frames;
        }
        EXPECT_FALSE(o.opnemer.rondAf().onvolledig);
    }
}

TEST(AudioOpnemerLinux, StartFailuresOfTheRealParts) {
    EchteOpstelling o;
    o.opnemer.startEngine(false);
    // A directory that is gone: the writer's own error, which the controller reports as such.
    std::filesystem::remove(o.map.pad());
    const auto f = nep::gevangen<std::system_error>([&] { o.opnemer.start(AudioFormaat::wav); });
    EXPECT_EQ(f ? &f->code().category() : nullptr, &WavSchrijver::categorie());
    const auto g = nep::gevangen<std::system_error>([&] { o.opnemer.start(AudioFormaat::m4a); });
    EXPECT_EQ(g ? g->code() : std::error_code{}, std::errc::no_such_file_or_directory);
}

// A 16 kHz mono 16-bit WAV from every input rate: channels averaged, the length following the
// rate down or up (flushing the converter at the end keeps every frame, ±1), and the level
// measured on the first channel.
TEST(AudioOpnemerLinux, A16kMonoWavFromEveryRate) {
    struct Geval {
        InvoerFormaat van;
        float links, rechts;  // constant per channel
        float verwacht;       // the steady converted value
    };
    const Geval gevallen[] = {
        {stereo48, 0.5F, -0.5F, 0.0F},  // opposite channels cancel
        {{44100, 2}, 0.8F, 0.0F, 0.4F},
        {{8000, 1}, -0.25F, -0.25F, -0.25F},
        {{48000, 6}, 0.6F, 0.0F, 0.1F},  // a six-channel array: mixed down before soxr
    };
    for (const auto& g : gevallen) {
        SCOPED_TRACE(g.van.sampleRate);
        EchteOpstelling o;
        o.engine.speelAf({{g.van, g.van}});
        o.opnemer.startEngine(false);
        o.opnemer.start(AudioFormaat::wav);
        nep::NepBuffer b(g.van, 2048, 0.0);
        for (std::size_t i = 0; i < b.data().size(); ++i) {
            b.data()[i] = i % g.van.kanalen == 0 ? g.links : g.rechts;
        }
        for (int i = 0; i < 10; ++i) {
            o.engine.lever(b.blok());
        }
        const Opname opname = o.opnemer.rondAf();
        EXPECT_FALSE(opname.onvolledig);
        EXPECT_NEAR(opname.meting.niveauDB(), 20 * std::log10(std::fabs(g.links)), 1e-3);
        const auto wav = lees(opname.bestand);
        EXPECT_EQ(std::tuple(wav.formaatCode, wav.sampleRate, wav.kanalen, wav.bits),
                  std::tuple(1, 16000U, 1, 16));
        EXPECT_NEAR(static_cast<double>(wav.samples.size()), 10.0 * 2048 * 16000 / g.van.sampleRate,
                    1.0);
        EXPECT_NEAR(wav.samples[wav.samples.size() / 2], g.verwacht, 1e-3);
    }
    EXPECT_FALSE(SoxrOmzetter::maak({0, 2}, mono16));
    EXPECT_FALSE(SoxrOmzetter::maak(stereo48, {16000, 2}));
}

}  // namespace
}  // namespace tolmo
