#pragma once

#include <map>
#include <string>

#include "Tolmo/AudioOpnemer/AudioEngine.h"

namespace tolmo {

// How a PulseAudio (or PipeWire) source is connected, judged from its properties. Bluetooth
// shows as device.bus "bluetooth" or a bluez device.api; LE Audio profiles are named "bap…".
AudioEngine::Transport transportVanBron(const std::map<std::string, std::string>& eigenschappen);

}  // namespace tolmo
