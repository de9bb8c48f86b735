#include "Tolmo/linux/pulse/SpeexRuisonderdrukker.h"

#include <speex/speex_preprocess.h>

#include <algorithm>
#include <cmath>
#include <new>
#include <stdexcept>
#include <utility>

namespace tolmo {

struct SpeexRuisonderdrukker::Kanaal {
    SpeexPreprocessState* staat = nullptr;
    std::vector<spx_int16_t> in;  // the frame being gathered
    std::vector<float> uit;       // the frame denoised last, handed out while the next fills

    Kanaal() = default;
    Kanaal(Kanaal&& ander) noexcept
        : staat(std::exchange(ander.staat, nullptr)),
          in(std::move(ander.in)),
          uit(std::move(ander.uit)) {}
    Kanaal& operator=(Kanaal&&) = delete;
    Kanaal(const Kanaal&) = delete;
    Kanaal& operator=(const Kanaal&) = delete;
    ~Kanaal() {
        if (staat != nullptr) {
            speex_preprocess_state_destroy(staat);
        }
    }
};

namespace {

spx_int16_t naarInt16(float x) {
    const float geschaald = std::clamp(x * 32768.0F, -32768.0F, 32767.0F);
    return static_cast<spx_int16_t>(std::lrint(geschaald));
}

}  // namespace

SpeexRuisonderdrukker::SpeexRuisonderdrukker(std::uint32_t sampleRate, std::uint32_t kanalen)
    : frame_(sampleRate / 50), kanalen_(kanalen) {
    // Below 8 kHz the preprocessor's bands make no sense; above 192 kHz no source records.
    if (sampleRate < 8000 || sampleRate > 192000 || kanalen == 0) {
        throw std::invalid_argument("ruisonderdrukking: formaat niet bruikbaar");
    }
    kanaal_.reserve(kanalen);
    for (std::uint32_t c = 0; c < kanalen; ++c) {
        Kanaal& k = kanaal_.emplace_back();
        k.staat =
            speex_preprocess_state_init(static_cast<int>(frame_), static_cast<int>(sampleRate));
        if (k.staat == nullptr) {
            throw std::bad_alloc();
        }
        // Only the denoiser: gain control would pump the level the user set, and
        // dereverberation dulls a voice more than it helps dictation. Voice detection is off
        // from the start and left alone: touching it prints a warning on stderr every time.
        spx_int32_t aan = 1;
        spx_int32_t uit = 0;
        spx_int32_t niveau = onderdrukkingDB;
        speex_preprocess_ctl(k.staat, SPEEX_PREPROCESS_SET_DENOISE, &aan);
        speex_preprocess_ctl(k.staat, SPEEX_PREPROCESS_SET_NOISE_SUPPRESS, &niveau);
        speex_preprocess_ctl(k.staat, SPEEX_PREPROCESS_SET_AGC, &uit);
        speex_preprocess_ctl(k.staat, SPEEX_PREPROCESS_SET_DEREVERB, &uit);
        k.in.assign(frame_, 0);
        k.uit.assign(frame_, 0.0F);
    }
}

SpeexRuisonderdrukker::~SpeexRuisonderdrukker() = default;

void SpeexRuisonderdrukker::verwerk(float* data, std::size_t frames) noexcept {
    std::size_t gedaan = 0;
    while (gedaan < frames) {
        const std::size_t n = std::min(frame_ - positie_, frames - gedaan);
        for (std::size_t c = 0; c < kanalen_; ++c) {
            Kanaal& k = kanaal_[c];
            float* x = data + gedaan * kanalen_ + c;
            for (std::size_t i = 0; i < n; ++i) {
                k.in[positie_ + i] = naarInt16(x[i * kanalen_]);
                x[i * kanalen_] = k.uit[positie_ + i];
            }
        }
        positie_ += n;
        gedaan += n;
        if (positie_ == frame_) {
            for (Kanaal& k : kanaal_) {
                speex_preprocess_run(k.staat, k.in.data());
                std::transform(k.in.begin(), k.in.end(), k.uit.begin(),
                               [](spx_int16_t s) { return static_cast<float>(s) / 32768.0F; });
            }
            positie_ = 0;
        }
    }
}

}  // namespace tolmo
