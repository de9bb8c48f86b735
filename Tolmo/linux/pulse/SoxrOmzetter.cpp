#include "Tolmo/linux/pulse/SoxrOmzetter.h"

#include <soxr.h>

#include <string>

namespace tolmo {

namespace {

class SoxrCategorie final : public std::error_category {
  public:
    [[nodiscard]] const char* name() const noexcept override { return "soxr"; }
    [[nodiscard]] std::string message(int /*code*/) const override {
        return "Omzetten met soxr mislukt.";
    }
};

std::error_code soxrFout() {
    static const SoxrCategorie categorie;
    return {1, categorie};
}

// A block large enough for the tap; a larger block grows it once.
constexpr std::size_t beginMono = 4096;

}  // namespace

std::unique_ptr<Omzetter> SoxrOmzetter::Maker::maak(const InvoerFormaat& van,
                                                    const InvoerFormaat& naar) {
    return SoxrOmzetter::maak(van, naar);
}

std::unique_ptr<SoxrOmzetter> SoxrOmzetter::maak(const InvoerFormaat& van,
                                                 const InvoerFormaat& naar) {
    if (!van.isGeldig() || !naar.isGeldig() || naar.kanalen != 1) {
        return nullptr;
    }
    soxr_error_t fout = nullptr;
    const soxr_io_spec_t io = soxr_io_spec(SOXR_FLOAT32_I, SOXR_FLOAT32_I);
    // High quality: speech recognition gains nothing from more, and this keeps a 2048-frame
    // buffer well under a tenth of a millisecond.
    const soxr_quality_spec_t kwaliteit = soxr_quality_spec(SOXR_HQ, 0);
    soxr_t s = soxr_create(van.sampleRate, naar.sampleRate, 1, &fout, &io, &kwaliteit, nullptr);
    if (fout != nullptr || s == nullptr) {
        soxr_delete(s);
        return nullptr;
    }
    return std::unique_ptr<SoxrOmzetter>(new SoxrOmzetter(s, van));
}

SoxrOmzetter::SoxrOmzetter(soxr* s, const InvoerFormaat& van)
    : soxr_(s), invoer_(van), mono_(beginMono) {}

SoxrOmzetter::~SoxrOmzetter() {
    soxr_delete(soxr_);
}

std::size_t SoxrOmzetter::zetOm(const AudioBlok& blok, std::span<float> uit,
                                std::error_code& fout) noexcept {
    if (afgesloten_ || blok.kanalen == nullptr || blok.formaat.kanalen == 0) {
        fout = soxrFout();
        return 0;
    }
    const float* in = blok.kanalen[0];
    if (blok.formaat.kanalen > 1 || blok.stap != 1) {
        if (mono_.size() < blok.frames) {
            try {
                mono_.resize(blok.frames);
            } catch (...) {
                fout = std::make_error_code(std::errc::not_enough_memory);
                return 0;
            }
        }
        const float schaal = 1.0F / static_cast<float>(blok.formaat.kanalen);
        for (std::size_t i = 0; i < blok.frames; ++i) {
            float som = 0;
            for (std::uint32_t c = 0; c < blok.formaat.kanalen; ++c) {
                som += blok.kanalen[c][i * blok.stap];
            }
            mono_[i] = som * schaal;
        }
        in = mono_.data();
    }
    std::size_t gebruikt = 0;
    std::size_t gemaakt = 0;
    if (soxr_process(soxr_, in, blok.frames, &gebruikt, uit.data(), uit.size(), &gemaakt) !=
        nullptr) {
        fout = soxrFout();
        return 0;
    }
    return gemaakt;
}

std::size_t SoxrOmzetter::spoel(std::span<float> uit, std::error_code& fout) noexcept {
    // A null input tells soxr that no more comes, so it releases its filter delay; it takes no
    // input after that.
    afgesloten_ = true;
    std::size_t gemaakt = 0;
    if (soxr_process(soxr_, nullptr, 0, nullptr, uit.data(), uit.size(), &gemaakt) != nullptr) {
        fout = soxrFout();
        return 0;
    }
    return gemaakt;
}

}  // namespace tolmo
