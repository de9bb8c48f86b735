#pragma once

#include <filesystem>
#include <memory>
#include <span>
#include <system_error>

#include "TolmoKern/Audio/AudioFormaat.h"

namespace tolmo {

// Writes 16 kHz mono float samples to a file in the encoding of an AudioFormaat.
class AudioSchrijver {
  public:
    class Maker {
      public:
        virtual ~Maker() = default;
        // Creates the file with the format's writer settings. Throws the platform's error when
        // the file cannot be made, or OpnameFout::omzetten for a format this platform cannot
        // encode.
        virtual std::unique_ptr<AudioSchrijver> open(const std::filesystem::path& pad,
                                                     AudioFormaat formaat) = 0;
    };

    virtual ~AudioSchrijver() = default;

    // Runs on the audio thread: never throws; a failure is reported in fout.
    virtual void schrijf(std::span<const float> samples, std::error_code& fout) noexcept = 0;
    // Finishes the file (headers, trailers); afterwards it is complete on disk. False when it
    // could not be finished: a file whose header still says it is empty is not a recording.
    virtual bool sluit() noexcept = 0;
};

}  // namespace tolmo
