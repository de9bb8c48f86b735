#include "Tolmo/mac/AVOmzetter.h"

#import <AVFAudio/AVFAudio.h>

#include <algorithm>

#include "Tolmo/mac/AppleFout.h"
#include "TolmoKern/Audio/OpnameFout.h"

namespace tolmo {

struct AVOmzetter::Staat {
    AVAudioConverter* omzetter = nil;
    AVAudioPCMBuffer* in = nil;
    AVAudioPCMBuffer* uit = nil;
};

namespace {

AVAudioPCMBuffer* buffer(AVAudioFormat* f, std::size_t frames) {
    return [[AVAudioPCMBuffer alloc] initWithPCMFormat:f
                                         frameCapacity:static_cast<AVAudioFrameCount>(frames)];
}

}  // namespace

std::unique_ptr<Omzetter> AVOmzetter::Maker::maak(const InvoerFormaat& van,
                                                  const InvoerFormaat& naar) {
    AVAudioFormat* in = [[AVAudioFormat alloc] initStandardFormatWithSampleRate:van.sampleRate
                                                                       channels:van.kanalen];
    AVAudioFormat* uit = [[AVAudioFormat alloc] initStandardFormatWithSampleRate:naar.sampleRate
                                                                        channels:naar.kanalen];
    if (in == nil || uit == nil) {
        return nullptr;
    }
    auto s = std::make_unique<Staat>();
    s->omzetter = [[AVAudioConverter alloc] initFromFormat:in toFormat:uit];
    if (s->omzetter == nil) {
        return nullptr;
    }
    s->omzetter.downmix = YES;
    return std::unique_ptr<Omzetter>(new AVOmzetter(std::move(s), van));
}

AVOmzetter::AVOmzetter(std::unique_ptr<Staat> s, const InvoerFormaat& van)
    : s_(std::move(s)), invoer_(van) {}

AVOmzetter::~AVOmzetter() = default;

std::size_t AVOmzetter::zetOm(const AudioBlok& blok, std::span<float> uit,
                              std::error_code& fout) noexcept {
    if (s_->in == nil || s_->in.frameCapacity < blok.frames) {
        s_->in = buffer(s_->omzetter.inputFormat, blok.frames);
    }
    const std::uint32_t kanalen = std::min(blok.formaat.kanalen, s_->in.format.channelCount);
    for (std::uint32_t k = 0; k < kanalen; ++k) {
        float* doel = s_->in.floatChannelData[k];
        for (std::uint32_t i = 0; i < blok.frames; ++i) {
            doel[i] = blok.sample(k, i);
        }
    }
    s_->in.frameLength = blok.frames;
    return haal(uit, false, fout);
}

std::size_t AVOmzetter::spoel(std::span<float> uit, std::error_code& fout) noexcept {
    return haal(uit, true, fout);
}

std::size_t AVOmzetter::haal(std::span<float> uit, bool einde, std::error_code& fout) noexcept {
    // The converter fills its output buffer to capacity, so the capacity is what fits in uit.
    if (s_->uit == nil || s_->uit.frameCapacity != uit.size()) {
        s_->uit = buffer(s_->omzetter.outputFormat, uit.size());
    }
    s_->uit.frameLength = 0;
    AVAudioPCMBuffer* in = einde ? nil : s_->in;
    __block BOOL gegeven = NO;
    NSError* nsFout = nil;
    const AVAudioConverterOutputStatus status = [s_->omzetter
           convertToBuffer:s_->uit
                     error:&nsFout
        withInputFromBlock:^AVAudioBuffer*(AVAudioPacketCount, AVAudioConverterInputStatus* stand) {
          if (in == nil) {
              *stand = AVAudioConverterInputStatus_EndOfStream;
              return nil;
          }
          if (gegeven) {
              *stand = AVAudioConverterInputStatus_NoDataNow;
              return nil;
          }
          gegeven = YES;
          *stand = AVAudioConverterInputStatus_HaveData;
          return in;
        }];
    if (status == AVAudioConverterOutputStatus_Error) {
        fout = nsFout != nil ? std::error_code(static_cast<int>(nsFout.code), appleFoutCategorie())
                             : OpnameFout::foutcode(OpnameFout::Soort::omzetten);
        return 0;
    }
    const std::size_t n = std::min<std::size_t>(s_->uit.frameLength, uit.size());
    std::copy_n(s_->uit.floatChannelData[0], n, uit.data());
    return n;
}

}  // namespace tolmo
