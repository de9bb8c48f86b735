#include "Tolmo/mac/AVAudioSchrijver.h"

#import <AVFAudio/AVFAudio.h>
#import <AudioToolbox/AudioToolbox.h>
#import <Foundation/Foundation.h>

#include <algorithm>
#include <stdexcept>

#include "Tolmo/mac/AppleFout.h"

namespace tolmo {

struct AVAudioSchrijver::Staat {
    AVAudioFile* bestand = nil;
    AVAudioPCMBuffer* buffer = nil;
};

namespace {

NSDictionary* instellingen(const SchrijfInstellingen& s) {
    NSMutableDictionary* d = [NSMutableDictionary dictionary];
    d[AVFormatIDKey] = @(s.codering == SchrijfInstellingen::Codering::aac ? kAudioFormatMPEG4AAC
                                                                          : kAudioFormatLinearPCM);
    d[AVSampleRateKey] = @(s.sampleRate);
    d[AVNumberOfChannelsKey] = @(s.kanalen);
    if (s.bitRate) {
        d[AVEncoderBitRateKey] = @(*s.bitRate);
    }
    if (s.bitDiepte) {
        d[AVLinearPCMBitDepthKey] = @(*s.bitDiepte);
    }
    if (s.isFloat) {
        d[AVLinearPCMIsFloatKey] = @(*s.isFloat);
    }
    if (s.bigEndian) {
        d[AVLinearPCMIsBigEndianKey] = @(*s.bigEndian);
    }
    return d;
}

}  // namespace

std::unique_ptr<AudioSchrijver> AVAudioSchrijver::Maker::open(const std::filesystem::path& pad,
                                                              AudioFormaat formaat) {
    NSURL* url = [NSURL fileURLWithPath:[NSString stringWithUTF8String:pad.c_str()]];
    NSError* fout = nil;
    // The file type follows the extension, which is the format's name.
    AVAudioFile* bestand =
        [[AVAudioFile alloc] initForWriting:url
                                   settings:instellingen(schrijfInstellingen(formaat))
                               commonFormat:AVAudioPCMFormatFloat32
                                interleaved:NO
                                      error:&fout];
    if (bestand == nil) {
        throw std::runtime_error(fout != nil ? fout.localizedDescription.UTF8String
                                             : "audiobestand niet aangemaakt");
    }
    auto s = std::make_unique<Staat>();
    s->bestand = bestand;
    return std::unique_ptr<AudioSchrijver>(new AVAudioSchrijver(std::move(s)));
}

AVAudioSchrijver::AVAudioSchrijver(std::unique_ptr<Staat> s) : s_(std::move(s)) {}

AVAudioSchrijver::~AVAudioSchrijver() {
    sluit();
}

void AVAudioSchrijver::schrijf(std::span<const float> samples, std::error_code& fout) noexcept {
    if (s_->bestand == nil || samples.empty()) {
        return;
    }
    if (s_->buffer == nil || s_->buffer.frameCapacity < samples.size()) {
        s_->buffer = [[AVAudioPCMBuffer alloc]
            initWithPCMFormat:s_->bestand.processingFormat
                frameCapacity:static_cast<AVAudioFrameCount>(samples.size())];
    }
    std::copy(samples.begin(), samples.end(), s_->buffer.floatChannelData[0]);
    s_->buffer.frameLength = static_cast<AVAudioFrameCount>(samples.size());
    NSError* nsFout = nil;
    if (![s_->bestand writeFromBuffer:s_->buffer error:&nsFout]) {
        fout = std::error_code(nsFout != nil ? static_cast<int>(nsFout.code) : -1,
                               appleFoutCategorie());
    }
}

bool AVAudioSchrijver::sluit() noexcept {
    if (s_->bestand == nil) {
        return true;
    }
    // The file is finished when its last reference goes, which is ours. -close would say so
    // explicitly, but only the macOS 15 SDK declares it, and under ARC an undeclared selector
    // does not compile with an older SDK, whatever @available guards it.
    s_->bestand = nil;
    s_->buffer = nil;
    // AVAudioFile reports no error on closing; what failed was reported by the writes.
    return true;
}

}  // namespace tolmo
