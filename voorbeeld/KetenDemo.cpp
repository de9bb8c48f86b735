// Runs the whole dictation chain once with the test engine on a recording it makes itself:
// a 2.4-second tone, written as a 16 kHz mono WAV and measured as the recorder would.
// No network and no key needed.
#include <sndfile.h>

#include <cmath>
#include <filesystem>
#include <iostream>
#include <numbers>
#include <vector>

#include "TolmoKern/Instellingen/SleutelKluis.h"
#include "TolmoKern/Instellingen/TolmoInstellingen.h"
#include "TolmoKern/Keten/TolmoKeten.h"
#include "TolmoKern/Transcriptie/HerkenningsFout.h"

namespace {

class GeenSleutels final : public tolmo::SleutelKluis {
  public:
    std::optional<std::string> sleutel(tolmo::Aanbieder) const override { return std::nullopt; }
    std::optional<std::string> toegangscode() const override { return std::nullopt; }
};

}  // namespace

int main() {
    constexpr double rate = 16000;
    constexpr double seconden = 2.4;
    std::vector<float> samples(static_cast<std::size_t>(rate * seconden));
    tolmo::AudioMeting meting;
    meting.registreerSampleRate(rate);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        samples[i] = static_cast<float>(
            0.1 * std::sin(2 * std::numbers::pi * 220 * static_cast<double>(i) / rate));
        meting.somKwadraten += static_cast<double>(samples[i]) * samples[i];
    }
    meting.aantalSamples = static_cast<std::int64_t>(samples.size());

    const auto pad = std::filesystem::temp_directory_path() / "tolmo-demo.wav";
    SF_INFO info{};
    info.samplerate = static_cast<int>(rate);
    info.channels = 1;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    SNDFILE* f = sf_open(pad.c_str(), SFM_WRITE, &info);
    if (f == nullptr) {
        std::cerr << "Kon " << pad << " niet schrijven.\n";
        return 1;
    }
    sf_writef_float(f, samples.data(), static_cast<sf_count_t>(samples.size()));
    sf_close(f);

    tolmo::TolmoInstellingen instellingen = tolmo::TolmoInstellingen::standaard();
    instellingen.motor = tolmo::Motor::test;
    try {
        tolmo::TolmoKeten keten = tolmo::TolmoKeten::bouw(instellingen, GeenSleutels{}, nullptr);
        const tolmo::Opname opname{pad, tolmo::AudioFormaat::wav, meting, false};
        const tolmo::KetenResultaat r = keten.verwerk(opname, tolmo::Stijl::neutraal, {});
        std::filesystem::remove(pad);
        std::cout << r.tekst << "\n" << r.tijden.tekst() << "\n";
    } catch (const tolmo::HerkenningsFout& fout) {
        std::filesystem::remove(pad);
        std::cerr << fout.melding() << "\n";
        return 1;
    }
    return 0;
}
