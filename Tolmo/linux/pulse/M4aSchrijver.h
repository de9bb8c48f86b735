#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>

#include "Tolmo/AudioOpnemer/AudioSchrijver.h"

namespace tolmo {

// Writes the recording as AAC in fragmented MPEG-4 (`m4a`) through libavcodec and libavformat,
// encoding as the audio arrives.
//
// The file only ever grows: it is written front to back through our own output context, which
// cannot seek, so it can be read (and uploaded) while the user still speaks:
//   - open() writes the header (ftyp, and a moov without samples) and hands it to the file at
//     once, so a target that cannot take even that fails before the user speaks;
//   - after every fragmentFrames AAC frames (256 ms of audio) one fragment (moof + mdat) is
//     finished and handed to the file whole;
//   - sluit() writes what is left (at most one short fragment) and the fragment index (mfra).
// Between those moments nothing reaches the file. volledigeBytes() tells how many bytes are
// complete top-level boxes; a reader in another process follows the same rule by reading box
// headers and stopping at a box whose size reaches past the end of what it has. The file cut
// at any such boundary after the header is an MPEG-4 file libavformat reads, holding every
// fragment before the cut.
//
// The audio thread only copies samples into a ring that holds ringSeconden of audio and wakes
// the encoder's own thread: libavcodec and libavformat allocate per packet and the file is
// written with write(2), neither of which belongs on the audio thread. An encoder that falls so
// far behind that the ring is full, or any encoder or write error, is reported by the next
// schrijf (so the recording is marked onvolledig) and by sluit; no sample is dropped silently.
class M4aSchrijver final : public AudioSchrijver {
  public:
    // How the samples come: at the pace of speech from a microphone, where a full ring is an
    // error (the audio thread must never wait), or as fast as a file is read, where the
    // writer waits for the encoder instead.
    enum class Tempo { echtTijd, bestand };

    class Maker final : public AudioSchrijver::Maker {
      public:
        explicit Maker(Tempo tempo = Tempo::echtTijd) : tempo_(tempo) {}
        // Throws OpnameFout::omzetten for a format other than m4a or when the encoder cannot
        // be set up, std::system_error when the file cannot be made or its header not written.
        std::unique_ptr<AudioSchrijver> open(const std::filesystem::path& pad,
                                             AudioFormaat formaat) override;

      private:
        Tempo tempo_;
    };

    // AAC frames (1024 samples, 64 ms at 16 kHz) per fragment.
    static constexpr int fragmentFrames = 4;
    static constexpr int ringSeconden = 8;

    ~M4aSchrijver() override;
    M4aSchrijver(const M4aSchrijver&) = delete;
    M4aSchrijver& operator=(const M4aSchrijver&) = delete;

    void schrijf(std::span<const float> samples, std::error_code& fout) noexcept override;
    bool sluit() noexcept override;

    // Bytes at the start of the file that are whole boxes: the header and every finished
    // fragment. Safe to read from any thread.
    [[nodiscard]] std::uint64_t volledigeBytes() const noexcept;

    // The error category of FFmpeg's own error codes (errno values keep the generic one).
    static const std::error_category& categorie() noexcept;
    static std::error_code foutcode(int averror) noexcept;

  private:
    struct Staat;
    explicit M4aSchrijver(std::unique_ptr<Staat> staat);
    std::unique_ptr<Staat> s_;
};

}  // namespace tolmo
