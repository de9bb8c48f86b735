#include "Tolmo/mac/AVAudioEngineAdapter.h"

#import <AVFAudio/AVFAudio.h>
#import <Foundation/Foundation.h>

#include <mutex>
#include <stdexcept>
#include <utility>

#include "Tolmo/mac/CoreAudioInvoer.h"

namespace tolmo {

// The change callback, shared with the notification block: removing an observer is not
// documented to wait for a block that is running, so the block keeps this alive itself.
struct Wijziging {
    std::mutex slot;
    std::function<void()> op;
};

struct AVAudioEngineAdapter::Staat {
    AVAudioEngine* engine = [[AVAudioEngine alloc] init];
    id waarnemer = nil;
    std::shared_ptr<Wijziging> wijziging = std::make_shared<Wijziging>();
};

namespace {

InvoerFormaat formaat(AVAudioFormat* f) {
    return InvoerFormaat{f.sampleRate, f.channelCount};
}

[[noreturn]] void gooi(NSError* fout, const char* wat) {
    throw std::runtime_error(fout != nil ? std::string(fout.localizedDescription.UTF8String)
                                         : std::string(wat));
}

}  // namespace

AVAudioEngineAdapter::AVAudioEngineAdapter() : s_(std::make_unique<Staat>()) {
    std::shared_ptr<Wijziging> w = s_->wijziging;
    // Called on an internal queue; the engine has already stopped itself by then.
    s_->waarnemer = [[NSNotificationCenter defaultCenter]
        addObserverForName:AVAudioEngineConfigurationChangeNotification
                    object:s_->engine
                     queue:nil
                usingBlock:^(NSNotification*) {
                  std::function<void()> op;
                  {
                      std::lock_guard<std::mutex> l(w->slot);
                      op = w->op;
                  }
                  if (op) {
                      op();
                  }
                }];
}

AVAudioEngineAdapter::~AVAudioEngineAdapter() {
    [[NSNotificationCenter defaultCenter] removeObserver:s_->waarnemer];
    [s_->engine.inputNode removeTapOnBus:0];
    [s_->engine stop];
}

InvoerFormaat AVAudioEngineAdapter::invoerFormaat() {
    return formaat([s_->engine.inputNode inputFormatForBus:0]);
}

InvoerFormaat AVAudioEngineAdapter::uitvoerFormaat() {
    return formaat([s_->engine.inputNode outputFormatForBus:0]);
}

bool AVAudioEngineAdapter::stemverwerking() {
    return s_->engine.inputNode.voiceProcessingEnabled;
}

void AVAudioEngineAdapter::zetStemverwerking(bool aan) {
    NSError* fout = nil;
    if (![s_->engine.inputNode setVoiceProcessingEnabled:aan error:&fout]) {
        gooi(fout, "Stemverwerking niet beschikbaar");
    }
}

void AVAudioEngineAdapter::zetDemping(const Demping& demping) {
    if (@available(macOS 14.0, *)) {
        AVAudioVoiceProcessingOtherAudioDuckingConfiguration c{};
        c.enableAdvancedDucking = demping.geavanceerd;
        c.duckingLevel = static_cast<AVAudioVoiceProcessingOtherAudioDuckingLevel>(demping.niveau);
        s_->engine.inputNode.voiceProcessingOtherAudioDuckingConfiguration = c;
    }
}

void AVAudioEngineAdapter::reset() {
    [s_->engine reset];
}

void AVAudioEngineAdapter::installeerTap(std::uint32_t frames, const InvoerFormaat& f,
                                         TapBlok blok) {
    // The standard format stops at two channels (nil above); nil asks for the bus's own
    // format, which the tap then delivers as it is and the recorder mixes down.
    AVAudioFormat* tapFormaat =
        f.kanalen <= 2 ? [[AVAudioFormat alloc] initStandardFormatWithSampleRate:f.sampleRate
                                                                        channels:f.kanalen]
                       : nil;
    // The block owns its copy: it may still run after removeTapOnBus: returns, and then
    // reaches the recorder only through the recorder's own Levenslijn.
    auto gedeeld = std::make_shared<TapBlok>(std::move(blok));
    [s_->engine.inputNode installTapOnBus:0
                               bufferSize:frames
                                   format:tapFormaat
                                    block:^(AVAudioPCMBuffer* buffer, AVAudioTime*) {
                                      if (buffer.floatChannelData == nullptr) {
                                          return;
                                      }
                                      AudioBlok b;
                                      b.formaat = formaat(buffer.format);
                                      b.frames = buffer.frameLength;
                                      b.kanalen = buffer.floatChannelData;
                                      b.stap = static_cast<std::size_t>(buffer.stride);
                                      (*gedeeld)(b);
                                    }];
}

void AVAudioEngineAdapter::verwijderTap() {
    [s_->engine.inputNode removeTapOnBus:0];
}

void AVAudioEngineAdapter::start() {
    [s_->engine prepare];
    NSError* fout = nil;
    if (![s_->engine startAndReturnError:&fout]) {
        gooi(fout, "Audio-engine starten mislukt");
    }
}

void AVAudioEngineAdapter::stop() {
    [s_->engine stop];
}

void AVAudioEngineAdapter::zetOpWijziging(std::function<void()> callback) {
    std::lock_guard<std::mutex> l(s_->wijziging->slot);
    s_->wijziging->op = std::move(callback);
}

AudioEngine::Transport AVAudioEngineAdapter::standaardInvoerTransport() {
    return CoreAudioInvoer::transport();
}

}  // namespace tolmo
