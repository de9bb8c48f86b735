// Tolmo's own declarations for the Mac syntax check; not Apple's header. The audio hardware
// properties the engine adapter reads, from https://developer.apple.com/documentation/coreaudio,
// and the two format codes of CoreAudioTypes the file writer names.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

typedef UInt32 AudioObjectID;
typedef AudioObjectID AudioDeviceID;
typedef UInt32 AudioObjectPropertySelector;
typedef UInt32 AudioObjectPropertyScope;
typedef UInt32 AudioObjectPropertyElement;
typedef UInt32 AudioFormatID;
// https://developer.apple.com/documentation/coreaudio/audioobjectpropertyaddress
struct AudioObjectPropertyAddress {
    AudioObjectPropertySelector mSelector;
    AudioObjectPropertyScope mScope;
    AudioObjectPropertyElement mElement;
};
typedef struct AudioObjectPropertyAddress AudioObjectPropertyAddress;

enum : AudioObjectID {
    kAudioObjectUnknown = 0,
    kAudioObjectSystemObject = 1,
};
enum : UInt32 {
    // https://developer.apple.com/documentation/coreaudio/kaudiohardwarepropertydefaultinputdevice
    kAudioHardwarePropertyDefaultInputDevice = 0x64496E20,  // 'dIn '
    // https://developer.apple.com/documentation/coreaudio/kaudiodevicepropertytransporttype
    kAudioDevicePropertyTransportType = 0x7472616E,  // 'tran'
    kAudioObjectPropertyScopeGlobal = 0x676C6F62,    // 'glob'
    // https://developer.apple.com/documentation/coreaudio/kaudioobjectpropertyelementmain
    // (macOS 12.0+; was ...ElementMaster)
    kAudioObjectPropertyElementMain = 0,
};
// https://developer.apple.com/documentation/coreaudiotypes/kaudioformatlinearpcm,
// https://developer.apple.com/documentation/coreaudiotypes/kaudioformatmpeg4aac
enum : AudioFormatID {
    kAudioFormatLinearPCM = 0x6C70636D,  // 'lpcm'
    kAudioFormatMPEG4AAC = 0x61616320,   // 'aac '
};

extern "C" {
// https://developer.apple.com/documentation/coreaudio/1422524-audioobjectgetpropertydata
// (macOS 10.6+)
OSStatus AudioObjectGetPropertyData(AudioObjectID inObjectID,
                                    const AudioObjectPropertyAddress* inAddress,
                                    UInt32 inQualifierDataSize, const void* inQualifierData,
                                    UInt32* ioDataSize, void* outData);
}
