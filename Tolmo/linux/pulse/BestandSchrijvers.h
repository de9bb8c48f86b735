#pragma once

#include "Tolmo/linux/pulse/M4aSchrijver.h"
#include "Tolmo/linux/pulse/WavSchrijver.h"

namespace tolmo {

// The writers of this platform: m4a through libavcodec, wav through libsndfile.
class BestandSchrijvers final : public AudioSchrijver::Maker {
  public:
    explicit BestandSchrijvers(M4aSchrijver::Tempo tempo = M4aSchrijver::Tempo::echtTijd)
        : m4a_(tempo) {}
    std::unique_ptr<AudioSchrijver> open(const std::filesystem::path& pad,
                                         AudioFormaat formaat) override;

  private:
    M4aSchrijver::Maker m4a_;
    WavSchrijver::Maker wav_;
};

}  // namespace tolmo
