#pragma once

#include <memory>

#include "Tolmo/AudioOpnemer/Omzetter.h"

namespace tolmo {

// Sample-rate conversion through AVAudioConverter (the recorder gives it mono; it could take
// up to two channels, the most a standard format has). The input and output buffers
// are made with the converter and reused; they grow only when a block is larger than any
// before (the engine keeps its tap size, so in practice never after the first block).
class AVOmzetter final : public Omzetter {
  public:
    class Maker final : public Omzetter::Maker {
      public:
        std::unique_ptr<Omzetter> maak(const InvoerFormaat& van,
                                       const InvoerFormaat& naar) override;
    };

    ~AVOmzetter() override;
    AVOmzetter(const AVOmzetter&) = delete;
    AVOmzetter& operator=(const AVOmzetter&) = delete;

    [[nodiscard]] const InvoerFormaat& invoer() const override { return invoer_; }
    std::size_t zetOm(const AudioBlok& blok, std::span<float> uit,
                      std::error_code& fout) noexcept override;
    std::size_t spoel(std::span<float> uit, std::error_code& fout) noexcept override;

    struct Staat;

  private:
    AVOmzetter(std::unique_ptr<Staat> s, const InvoerFormaat& van);
    std::size_t haal(std::span<float> uit, bool einde, std::error_code& fout) noexcept;

    std::unique_ptr<Staat> s_;
    InvoerFormaat invoer_;
};

}  // namespace tolmo
