#include "Tolmo/linux/pulse/PulseEigenschappen.h"

#include <gtest/gtest.h>

namespace tolmo {
namespace {

TEST(PulseEigenschappen, BluetoothFromSourceProperties) {
    using T = AudioEngine::Transport;
    struct Geval {
        std::map<std::string, std::string> eigenschappen;
        T verwacht;
    };
    const Geval gevallen[] = {
        {{}, T::anders},
        {{{"device.bus", "usb"}, {"device.form_factor", "headset"}}, T::anders},
        {{{"device.bus", "pci"}, {"device.api", "alsa"}}, T::anders},
        // A headset form factor alone says nothing about the connection.
        {{{"device.form_factor", "hands-free"}}, T::anders},
        {{{"device.bus", "bluetooth"}, {"bluetooth.protocol", "headset_head_unit"}}, T::bluetooth},
        {{{"device.api", "bluez5"}}, T::bluetooth},  // PipeWire
        {{{"device.bus", "bluetooth"}, {"api.bluez5.profile", "bap-duplex"}}, T::bluetoothLE},
        {{{"device.api", "bluez5"}, {"device.profile.name", "bap-sink"}}, T::bluetoothLE},
        // "bap" in a property of a device that is not Bluetooth counts for nothing.
        {{{"device.bus", "usb"}, {"device.profile.name", "bap"}}, T::anders},
    };
    for (std::size_t i = 0; i < std::size(gevallen); ++i) {
        EXPECT_EQ(transportVanBron(gevallen[i].eigenschappen), gevallen[i].verwacht)
            << "geval " << i;
    }
}

}  // namespace
}  // namespace tolmo
