#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <system_error>

#include "Tolmo/AudioOpnemer/AudioBlok.h"
#include "TolmoKern/Audio/InvoerFormaat.h"

namespace tolmo {

// Sample-rate conversion from one input format to 32-bit float mono at the target rate. The
// recorder hands it mono only (it mixes down first); other channel counts still convert. zetOm and
// spoel run on the audio thread: they never throw and, once made, never allocate.
class Omzetter {
  public:
    class Maker {
      public:
        virtual ~Maker() = default;
        // Null when this conversion cannot be made.
        virtual std::unique_ptr<Omzetter> maak(const InvoerFormaat& van,
                                               const InvoerFormaat& naar) = 0;
    };

    virtual ~Omzetter() = default;

    [[nodiscard]] virtual const InvoerFormaat& invoer() const = 0;

    // Converts one block, supplied once, into at most uit.size() frames; returns the frames
    // written. On failure sets fout (when the platform gives no error, the caller substitutes its
    // own) and returns 0.
    virtual std::size_t zetOm(const AudioBlok& blok, std::span<float> uit,
                              std::error_code& fout) noexcept = 0;

    // Hands out what the converter still holds back (its filter delay) when no more input comes.
    virtual std::size_t spoel(std::span<float> uit, std::error_code& fout) noexcept = 0;
};

}  // namespace tolmo
