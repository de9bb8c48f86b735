#include "Tolmo/mac/CoreAudioInvoer.h"

#import <CoreAudio/CoreAudio.h>

#include "Tolmo/MacVertaling/AudioTransport.h"

namespace tolmo {

AudioEngine::Transport CoreAudioInvoer::transport() {
    AudioObjectPropertyAddress adres{kAudioHardwarePropertyDefaultInputDevice,
                                     kAudioObjectPropertyScopeGlobal,
                                     kAudioObjectPropertyElementMain};
    AudioDeviceID apparaat = kAudioObjectUnknown;
    UInt32 grootte = sizeof(apparaat);
    if (AudioObjectGetPropertyData(kAudioObjectSystemObject, &adres, 0, nullptr, &grootte,
                                   &apparaat) != noErr) {
        return AudioEngine::Transport::anders;
    }
    adres.mSelector = kAudioDevicePropertyTransportType;
    UInt32 soort = 0;
    grootte = sizeof(soort);
    if (AudioObjectGetPropertyData(apparaat, &adres, 0, nullptr, &grootte, &soort) != noErr) {
        return AudioEngine::Transport::anders;
    }
    return AudioTransport::uitCoreAudio(soort);
}

}  // namespace tolmo
