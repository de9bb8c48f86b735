#include "Tolmo/linux/pulse/PulseEigenschappen.h"

#include <string_view>

namespace tolmo {

namespace {

std::string_view lees(const std::map<std::string, std::string>& e, const char* sleutel) {
    const auto it = e.find(sleutel);
    return it == e.end() ? std::string_view{} : std::string_view{it->second};
}

bool bevat(std::string_view tekst, std::string_view deel) {
    return tekst.find(deel) != std::string_view::npos;
}

}  // namespace

AudioEngine::Transport transportVanBron(const std::map<std::string, std::string>& eigenschappen) {
    const auto bus = lees(eigenschappen, "device.bus");
    const auto api = lees(eigenschappen, "device.api");
    const bool bluetooth = bus == "bluetooth" || api.starts_with("bluez");
    if (!bluetooth) {
        return AudioEngine::Transport::anders;
    }
    for (const char* sleutel :
         {"bluetooth.protocol", "api.bluez5.profile", "device.profile.name"}) {
        if (bevat(lees(eigenschappen, sleutel), "bap")) {
            return AudioEngine::Transport::bluetoothLE;
        }
    }
    return AudioEngine::Transport::bluetooth;
}

}  // namespace tolmo
