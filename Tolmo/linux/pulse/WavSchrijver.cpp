#include "Tolmo/linux/pulse/WavSchrijver.h"

#include <sndfile.h>

#include <string>
#include <system_error>

#include "TolmoKern/Audio/OpnameFout.h"

namespace tolmo {

namespace {

class SndfileCategorie final : public std::error_category {
  public:
    [[nodiscard]] const char* name() const noexcept override { return "sndfile"; }
    [[nodiscard]] std::string message(int code) const override { return sf_error_number(code); }
};

}  // namespace

const std::error_category& WavSchrijver::categorie() noexcept {
    static const SndfileCategorie categorie;
    return categorie;
}

std::unique_ptr<AudioSchrijver> WavSchrijver::Maker::open(const std::filesystem::path& pad,
                                                          AudioFormaat formaat) {
    const SchrijfInstellingen s = schrijfInstellingen(formaat);
    if (s.codering != SchrijfInstellingen::Codering::lineairPCM || s.bitDiepte != 16 ||
        s.isFloat.value_or(false) || s.bigEndian.value_or(false)) {
        throw OpnameFout::omzetten();
    }
    SF_INFO info{};
    info.samplerate = static_cast<int>(s.sampleRate);
    info.channels = s.kanalen;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16 | SF_ENDIAN_LITTLE;
    SNDFILE* bestand = sf_open(pad.c_str(), SFM_WRITE, &info);
    if (bestand == nullptr) {
        throw std::system_error(sf_error(nullptr), categorie(), pad.string());
    }
    // Float samples beyond ±1 would otherwise wrap around into loud clicks.
    sf_command(bestand, SFC_SET_CLIPPING, nullptr, SF_TRUE);
    return std::unique_ptr<AudioSchrijver>(new WavSchrijver(bestand));
}

WavSchrijver::~WavSchrijver() {
    sluit();
}

void WavSchrijver::schrijf(std::span<const float> samples, std::error_code& fout) noexcept {
    if (bestand_ == nullptr) {
        fout = std::make_error_code(std::errc::bad_file_descriptor);
        return;
    }
    const auto n = static_cast<sf_count_t>(samples.size());
    if (sf_writef_float(bestand_, samples.data(), n) != n) {
        const int code = sf_error(bestand_);
        fout = std::error_code(code != 0 ? code : SF_ERR_SYSTEM, categorie());
    }
}

bool WavSchrijver::sluit() noexcept {
    if (bestand_ == nullptr) {
        return true;
    }
    // libsndfile writes the final sizes into the header here.
    const bool goed = sf_close(bestand_) == 0;
    bestand_ = nullptr;
    return goed;
}

}  // namespace tolmo
