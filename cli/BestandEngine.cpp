#include "cli/BestandEngine.h"

#include <sndfile.h>

#include <stdexcept>
#include <system_error>

#include "cli/CliOmgeving.h"

namespace tolmo::cli {

BestandEngine::BestandEngine(const std::filesystem::path& pad) : pad_(pad) {
    std::error_code ec;
    const auto status = std::filesystem::status(pad, ec);
    if (!std::filesystem::exists(status)) {
        throw InvoerFout("Het bestand " + pad.string() + " bestaat niet.");
    }
    if (std::filesystem::is_directory(status)) {
        throw InvoerFout(pad.string() + " is een map, geen audiobestand.");
    }
    SF_INFO info{};
    bestand_ = sf_open(pad.c_str(), SFM_READ, &info);
    if (bestand_ == nullptr) {
        const int fout = sf_error(nullptr);
        if (fout == SF_ERR_SYSTEM) {
            throw InvoerFout("Het bestand " + pad.string() + " kan niet worden gelezen (" +
                             sf_strerror(nullptr) + ").");
        }
        throw InvoerFout("Het bestand " + pad.string() +
                         " is geen audiobestand dat tolmo kan lezen.");
    }
    if (info.samplerate <= 0 || info.channels <= 0) {
        sf_close(bestand_);
        bestand_ = nullptr;
        throw InvoerFout("Het bestand " + pad.string() +
                         " heeft geen bruikbare samplerate of kanalen.");
    }
    formaat_ = {static_cast<double>(info.samplerate), static_cast<std::uint32_t>(info.channels)};
}

BestandEngine::~BestandEngine() {
    if (bestand_ != nullptr) {
        sf_close(bestand_);
    }
}

void BestandEngine::zetStemverwerking(bool aan) {
    if (aan) {
        throw std::runtime_error("een bestand heeft geen stemverwerking");
    }
}

void BestandEngine::installeerTap(std::uint32_t frames, const InvoerFormaat& /*formaat*/,
                                  TapBlok blok) {
    tapFrames_ = frames == 0 ? 2048 : frames;
    tap_ = std::move(blok);
}

void BestandEngine::verwijderTap() {
    tap_ = nullptr;
}

void BestandEngine::speelAf() {
    const std::uint32_t kanalen = formaat_.kanalen;
    // Interleaved as libsndfile reads it; every channel pointer starts at its own offset and
    // steps over the others, so the block passes without copying.
    std::vector<float> buffer(static_cast<std::size_t>(tapFrames_) * kanalen);
    std::vector<const float*> wijzers(kanalen);
    for (std::uint32_t c = 0; c < kanalen; ++c) {
        wijzers[c] = buffer.data() + c;
    }
    for (;;) {
        const sf_count_t n = sf_readf_float(bestand_, buffer.data(), tapFrames_);
        if (n <= 0) {
            break;
        }
        if (tap_) {
            AudioBlok blok;
            blok.formaat = formaat_;
            blok.frames = static_cast<std::uint32_t>(n);
            blok.kanalen = wijzers.data();
            blok.stap = kanalen;
            tap_(blok);
        }
    }
    if (sf_error(bestand_) != SF_ERR_NO_ERROR) {
        throw InvoerFout("Het bestand " + pad_.string() + " kon niet helemaal worden gelezen (" +
                         sf_strerror(bestand_) + ").");
    }
}

}  // namespace tolmo::cli
