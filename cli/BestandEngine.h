#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <vector>

#include "Tolmo/AudioOpnemer/AudioEngine.h"

struct sf_private_tag;

namespace tolmo::cli {

// An audio engine whose "input" is an audio file: anything libsndfile reads, in the file's own
// rate and channel count. Putting a file through the recorder this way gives it exactly the
// conversion and measurement a microphone recording gets, so its duration and level are those
// of the file. Nothing plays on its own: speelAf() hands the whole file to the tap, block by
// block, on the calling thread.
class BestandEngine final : public AudioEngine {
  public:
    // Throws InvoerFout (with a Dutch message) when the file is missing or not audio.
    explicit BestandEngine(const std::filesystem::path& pad);
    ~BestandEngine() override;
    BestandEngine(const BestandEngine&) = delete;
    BestandEngine& operator=(const BestandEngine&) = delete;

    [[nodiscard]] InvoerFormaat invoerFormaat() override { return formaat_; }
    [[nodiscard]] InvoerFormaat uitvoerFormaat() override { return formaat_; }
    [[nodiscard]] bool stemverwerking() override { return false; }
    void zetStemverwerking(bool aan) override;
    void zetDemping(const Demping& /*demping*/) override {}
    void reset() override {}
    void installeerTap(std::uint32_t frames, const InvoerFormaat& formaat, TapBlok blok) override;
    void verwijderTap() override;
    void start() override {}
    void stop() override {}
    void zetOpWijziging(std::function<void()> /*callback*/) override {}
    [[nodiscard]] Transport standaardInvoerTransport() override { return Transport::anders; }

    // Reads the file to its end through the tap. Throws InvoerFout when reading fails midway.
    void speelAf();

  private:
    std::filesystem::path pad_;
    sf_private_tag* bestand_ = nullptr;
    InvoerFormaat formaat_;
    std::uint32_t tapFrames_ = 0;
    TapBlok tap_;
};

}  // namespace tolmo::cli
