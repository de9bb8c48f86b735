#include "Tolmo/mac/AVAudioEngineAdapter.h"

#import <AVFAudio/AVFAudio.h>
#import <CoreAudio/CoreAudio.h>
#import <Foundation/Foundation.h>

#include <mutex>
#include <stdexcept>
#include <utility>

#include "Tolmo/MacVertaling/AudioTransport.h"

namespace tolmo {

struct AVAudioEngineAdapter::Staat {
    AVAudioEngine* engine = [[AVAudioEngine alloc] init];
    id waarnemer = nil;
    std::mutex slot;
    std::function<void()> opWijziging;
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
    Staat* s = s_.get();
    // Called on an internal queue; the engine has already stopped itself by then.
    s->waarnemer = [[NSNotificationCenter defaultCenter]
        addObserverForName:AVAudioEngineConfigurationChangeNotification
                    object:s->engine
                     queue:nil
                usingBlock:^(NSNotification*) {
                  std::function<void()> op;
                  {
                      std::lock_guard<std::mutex> l(s->slot);
                      op = s->opWijziging;
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
    AVAudioFormat* tapFormaat = [[AVAudioFormat alloc] initStandardFormatWithSampleRate:f.sampleRate
                                                                               channels:f.kanalen];
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
    std::lock_guard<std::mutex> l(s_->slot);
    s_->opWijziging = std::move(callback);
}

AudioEngine::Transport AVAudioEngineAdapter::standaardInvoerTransport() {
    AudioObjectPropertyAddress adres{kAudioHardwarePropertyDefaultInputDevice,
                                     kAudioObjectPropertyScopeGlobal,
                                     kAudioObjectPropertyElementMain};
    AudioDeviceID apparaat = kAudioObjectUnknown;
    UInt32 grootte = sizeof(apparaat);
    if (AudioObjectGetPropertyData(kAudioObjectSystemObject, &adres, 0, nullptr, &grootte,
                                   &apparaat) != noErr) {
        return Transport::anders;
    }
    adres.mSelector = kAudioDevicePropertyTransportType;
    UInt32 soort = 0;
    grootte = sizeof(soort);
    if (AudioObjectGetPropertyData(apparaat, &adres, 0, nullptr, &grootte, &soort) != noErr) {
        return Transport::anders;
    }
    return AudioTransport::uitCoreAudio(soort);
}

}  // namespace tolmo
