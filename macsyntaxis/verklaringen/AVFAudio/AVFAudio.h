// Tolmo's own declarations for the Mac syntax check; not Apple's header. AVFAudio as the audio
// adapters use it, from https://developer.apple.com/documentation/avfaudio. The engine, its
// nodes, formats, buffers and files are macOS 10.10+, the converter 10.11+.
#pragma once

#include <CoreAudio/CoreAudio.h>
#include <Foundation/Foundation.h>

typedef UInt32 AVAudioFrameCount;
typedef UInt32 AVAudioPacketCount;
typedef UInt32 AVAudioChannelCount;
typedef NSUInteger AVAudioNodeBus;

// https://developer.apple.com/documentation/avfaudio/avaudiocommonformat
typedef NS_ENUM(NSUInteger, AVAudioCommonFormat) {
    AVAudioOtherFormat = 0,
    AVAudioPCMFormatFloat32 = 1,
} AVAudioCommonFormat;

// https://developer.apple.com/documentation/avfaudio/avaudioformat
@interface AVAudioFormat : NSObject
// https://developer.apple.com/documentation/avfaudio/avaudioformat/init(standardformatwithsamplerate:channels:)
// nil when the channel count has no standard layout (above two)
- (instancetype)initStandardFormatWithSampleRate:(double)sampleRate
                                        channels:(AVAudioChannelCount)channels;
@property(readonly) double sampleRate;
@property(readonly) AVAudioChannelCount channelCount;
@end

// https://developer.apple.com/documentation/avfaudio/avaudiobuffer
@interface AVAudioBuffer : NSObject
@property(readonly) AVAudioFormat* format;
@end
// https://developer.apple.com/documentation/avfaudio/avaudiopcmbuffer
@interface AVAudioPCMBuffer : AVAudioBuffer
- (instancetype)initWithPCMFormat:(AVAudioFormat*)format
                    frameCapacity:(AVAudioFrameCount)frameCapacity;
@property(readonly) AVAudioFrameCount frameCapacity;
@property AVAudioFrameCount frameLength;
@property(readonly) float* const* floatChannelData;
@property(readonly) NSUInteger stride;
@end
// https://developer.apple.com/documentation/avfaudio/avaudiotime
@interface AVAudioTime : NSObject
@end

typedef void (^AVAudioNodeTapBlock)(AVAudioPCMBuffer* buffer, AVAudioTime* when);
// https://developer.apple.com/documentation/avfaudio/avaudionode
@interface AVAudioNode : NSObject
- (AVAudioFormat*)inputFormatForBus:(AVAudioNodeBus)bus;
- (AVAudioFormat*)outputFormatForBus:(AVAudioNodeBus)bus;
// https://developer.apple.com/documentation/avfaudio/avaudionode/installtap(onbus:buffersize:format:block:)
- (void)installTapOnBus:(AVAudioNodeBus)bus
             bufferSize:(AVAudioFrameCount)bufferSize
                 format:(AVAudioFormat*)format
                  block:(AVAudioNodeTapBlock)tapBlock;
// https://developer.apple.com/documentation/avfaudio/avaudionode/removetap(onbus:)
- (void)removeTapOnBus:(AVAudioNodeBus)bus;
@end
// https://developer.apple.com/documentation/avfaudio/avaudiovoiceprocessingotheraudioduckingconfiguration
// (macOS 14.0+)
typedef NS_ENUM(NSInteger, AVAudioVoiceProcessingOtherAudioDuckingLevel) {
    AVAudioVoiceProcessingOtherAudioDuckingLevelDefault = 0,
    AVAudioVoiceProcessingOtherAudioDuckingLevelMin = 10,
    AVAudioVoiceProcessingOtherAudioDuckingLevelMid = 20,
    AVAudioVoiceProcessingOtherAudioDuckingLevelMax = 30,
} API_AVAILABLE_MACOS(14.0) AVAudioVoiceProcessingOtherAudioDuckingLevel;
typedef struct API_AVAILABLE_MACOS(14.0) AVAudioVoiceProcessingOtherAudioDuckingConfiguration {
    BOOL enableAdvancedDucking;
    AVAudioVoiceProcessingOtherAudioDuckingLevel duckingLevel;
} AVAudioVoiceProcessingOtherAudioDuckingConfiguration;
// https://developer.apple.com/documentation/avfaudio/avaudioionode
@interface AVAudioIONode : AVAudioNode
// https://developer.apple.com/documentation/avfaudio/avaudioionode/setvoiceprocessingenabled(_:)
- (BOOL)setVoiceProcessingEnabled:(BOOL)enabled
                            error:(NSError**)outError API_AVAILABLE_MACOS(10.15);
@property(readonly, getter=isVoiceProcessingEnabled)
    BOOL voiceProcessingEnabled API_AVAILABLE_MACOS(10.15);
@end
@interface AVAudioInputNode : AVAudioIONode
// https://developer.apple.com/documentation/avfaudio/avaudioinputnode/voiceprocessingotheraudioduckingconfiguration
@property AVAudioVoiceProcessingOtherAudioDuckingConfiguration
    voiceProcessingOtherAudioDuckingConfiguration API_AVAILABLE_MACOS(14.0);
@end

// https://developer.apple.com/documentation/avfaudio/avaudioengine
@interface AVAudioEngine : NSObject
@property(readonly) AVAudioInputNode* inputNode;
- (void)prepare;
- (BOOL)startAndReturnError:(NSError**)outError;
- (void)stop;
- (void)reset;
@end
// https://developer.apple.com/documentation/foundation/nsnotification/name-swift.struct/avaudioengineconfigurationchange
extern NSNotificationName const AVAudioEngineConfigurationChangeNotification;

// https://developer.apple.com/documentation/avfaudio/avaudioconverterinputstatus
typedef NS_ENUM(NSInteger, AVAudioConverterInputStatus) {
    AVAudioConverterInputStatus_HaveData = 0,
    AVAudioConverterInputStatus_NoDataNow = 1,
    AVAudioConverterInputStatus_EndOfStream = 2,
} AVAudioConverterInputStatus;
// https://developer.apple.com/documentation/avfaudio/avaudioconverteroutputstatus
typedef NS_ENUM(NSInteger, AVAudioConverterOutputStatus) {
    AVAudioConverterOutputStatus_HaveData = 0,
    AVAudioConverterOutputStatus_InputRanDry = 1,
    AVAudioConverterOutputStatus_EndOfStream = 2,
    AVAudioConverterOutputStatus_Error = 3,
} AVAudioConverterOutputStatus;
typedef AVAudioBuffer* (^AVAudioConverterInputBlock)(AVAudioPacketCount inNumberOfPackets,
                                                     AVAudioConverterInputStatus* outStatus);
// https://developer.apple.com/documentation/avfaudio/avaudioconverter (macOS 10.11+)
API_AVAILABLE_MACOS(10.11)
@interface AVAudioConverter : NSObject
- (instancetype)initFromFormat:(AVAudioFormat*)fromFormat toFormat:(AVAudioFormat*)toFormat;
@property BOOL downmix;
@property(readonly) AVAudioFormat* inputFormat;
@property(readonly) AVAudioFormat* outputFormat;
// https://developer.apple.com/documentation/avfaudio/avaudioconverter/convert(to:error:withinputfrom:)
- (AVAudioConverterOutputStatus)convertToBuffer:(AVAudioBuffer*)outputBuffer
                                          error:(NSError**)outError
                             withInputFromBlock:(AVAudioConverterInputBlock)inputBlock;
@end

// https://developer.apple.com/documentation/avfaudio/avaudiofile
@interface AVAudioFile : NSObject
// https://developer.apple.com/documentation/avfaudio/avaudiofile/init(forwriting:settings:commonformat:interleaved:)
- (instancetype)initForWriting:(NSURL*)fileURL
                      settings:(NSDictionary<NSString*, id>*)settings
                  commonFormat:(AVAudioCommonFormat)format
                   interleaved:(BOOL)interleaved
                         error:(NSError**)outError;
@property(readonly) AVAudioFormat* processingFormat;
- (BOOL)writeFromBuffer:(AVAudioPCMBuffer*)buffer error:(NSError**)outError;
#if TOLMO_SDK >= 150000
// https://developer.apple.com/documentation/avfaudio/avaudiofile/close(): macOS 15.0+, and only
// in the macOS 15 SDK (Xcode 16); an older SDK does not declare it at all.
- (void)close API_AVAILABLE_MACOS(15.0);
#endif
@end

// https://developer.apple.com/documentation/avfaudio/avformatidkey and the other settings keys
extern NSString* const AVFormatIDKey;
extern NSString* const AVSampleRateKey;
extern NSString* const AVNumberOfChannelsKey;
extern NSString* const AVEncoderBitRateKey;
extern NSString* const AVLinearPCMBitDepthKey;
extern NSString* const AVLinearPCMIsFloatKey;
extern NSString* const AVLinearPCMIsBigEndianKey;
