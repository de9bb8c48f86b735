#pragma once

#include <memory>
#include <vector>

#include "Tolmo/AudioOpnemer/Omzetter.h"

struct soxr;

namespace tolmo {

// Sample-rate conversion with soxr. soxr keeps the channel count, so the downmix to mono (the
// mean of all channels) happens first, into a buffer kept for the converter's life.
class SoxrOmzetter final : public Omzetter {
  public:
    class Maker final : public Omzetter::Maker {
      public:
        std::unique_ptr<Omzetter> maak(const InvoerFormaat& van,
                                       const InvoerFormaat& naar) override;
    };

    // Null when soxr refuses the rates, or when the target is not mono.
    static std::unique_ptr<SoxrOmzetter> maak(const InvoerFormaat& van, const InvoerFormaat& naar);
    ~SoxrOmzetter() override;
    SoxrOmzetter(const SoxrOmzetter&) = delete;
    SoxrOmzetter& operator=(const SoxrOmzetter&) = delete;

    [[nodiscard]] const InvoerFormaat& invoer() const override { return invoer_; }
    std::size_t zetOm(const AudioBlok& blok, std::span<float> uit,
                      std::error_code& fout) noexcept override;
    std::size_t spoel(std::span<float> uit, std::error_code& fout) noexcept override;

  private:
    SoxrOmzetter(soxr* s, const InvoerFormaat& van);

    soxr* soxr_;
    InvoerFormaat invoer_;
    std::vector<float> mono_;
    bool afgesloten_ = false;
};

}  // namespace tolmo
