#pragma once

#include <filesystem>
#include <memory>

#include "Tolmo/AudioOpnemer/AudioSchrijver.h"

struct sf_private_tag;

namespace tolmo {

// Writes the recording as 16-bit PCM WAV through libsndfile, which rewrites the header's sizes
// when the file is closed. Only `wav` is written here (M4aSchrijver writes `m4a`); any other
// format is refused as a conversion error.
class WavSchrijver final : public AudioSchrijver {
  public:
    class Maker final : public AudioSchrijver::Maker {
      public:
        std::unique_ptr<AudioSchrijver> open(const std::filesystem::path& pad,
                                             AudioFormaat formaat) override;
    };

    ~WavSchrijver() override;
    WavSchrijver(const WavSchrijver&) = delete;
    WavSchrijver& operator=(const WavSchrijver&) = delete;

    void schrijf(std::span<const float> samples, std::error_code& fout) noexcept override;
    bool sluit() noexcept override;

    // The error category of libsndfile's error numbers.
    static const std::error_category& categorie() noexcept;

  private:
    explicit WavSchrijver(sf_private_tag* bestand) : bestand_(bestand) {}
    sf_private_tag* bestand_;
};

}  // namespace tolmo
