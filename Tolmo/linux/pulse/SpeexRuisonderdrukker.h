#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace tolmo {

// Noise suppression with speexdsp's preprocessor, in the process itself, so it works the same on
// every sound server and every source. Takes interleaved float blocks of any length and denoises
// them in place, in frames of 20 ms per channel; every channel is denoised on its own, since the
// tap hands the recorder the source's own channels.
//
// The output lags the input by exactly one frame (the first frame comes out as silence), so a
// block always comes back with as many samples as went in: the recording's length stays the
// length the user spoke. Everything is allocated here; verwerk() never allocates, locks or
// blocks, since it runs on the audio thread.
class SpeexRuisonderdrukker {
  public:
    // How far the noise is pushed down, in dB (negative).
    static constexpr int onderdrukkingDB = -30;

    // Throws std::invalid_argument for a rate or channel count speexdsp cannot take, and
    // std::bad_alloc when it cannot make its state.
    SpeexRuisonderdrukker(std::uint32_t sampleRate, std::uint32_t kanalen);
    ~SpeexRuisonderdrukker();
    SpeexRuisonderdrukker(const SpeexRuisonderdrukker&) = delete;
    SpeexRuisonderdrukker& operator=(const SpeexRuisonderdrukker&) = delete;

    // `frames` frames of `kanalen` interleaved samples, replaced by the denoised ones.
    void verwerk(float* data, std::size_t frames) noexcept;

    [[nodiscard]] std::size_t frameGrootte() const { return frame_; }

  private:
    struct Kanaal;

    std::size_t frame_;
    std::size_t kanalen_;
    std::size_t positie_ = 0;  // samples of the current frame gathered so far, every channel
    std::vector<Kanaal> kanaal_;
};

}  // namespace tolmo
