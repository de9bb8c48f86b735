#pragma once

#include <memory>

#include "Tolmo/AudioOpnemer/AudioSchrijver.h"

namespace tolmo {

// Writes the recording through AVAudioFile: AAC in an MPEG-4 container for m4a, 16-bit
// little-endian PCM for wav, 16 kHz mono, with a 32-bit float processing format so the samples
// go in as the converter hands them out.
class AVAudioSchrijver final : public AudioSchrijver {
  public:
    class Maker final : public AudioSchrijver::Maker {
      public:
        std::unique_ptr<AudioSchrijver> open(const std::filesystem::path& pad,
                                             AudioFormaat formaat) override;
    };

    ~AVAudioSchrijver() override;
    AVAudioSchrijver(const AVAudioSchrijver&) = delete;
    AVAudioSchrijver& operator=(const AVAudioSchrijver&) = delete;

    void schrijf(std::span<const float> samples, std::error_code& fout) noexcept override;
    bool sluit() noexcept override;

    struct Staat;

  private:
    explicit AVAudioSchrijver(std::unique_ptr<Staat> s);
    std::unique_ptr<Staat> s_;
};

}  // namespace tolmo
