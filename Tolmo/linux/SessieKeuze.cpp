#include "Tolmo/linux/SessieKeuze.h"

namespace tolmo {
namespace {

bool gezet(const OmgevingLezer& omgeving, std::string_view sleutel) {
    const auto w = omgeving(sleutel);
    return w && !w->empty();
}

}  // namespace

std::optional<SessieKeuze> kiesSessie(std::optional<Weergavesysteem> optie,
                                      const OmgevingLezer& omgeving) {
    if (optie) {
        return SessieKeuze{*optie, "gekozen met --sessie " + std::string(naam(*optie))};
    }
    if (gezet(omgeving, "WAYLAND_DISPLAY")) {
        return SessieKeuze{Weergavesysteem::wayland, "WAYLAND_DISPLAY is gezet"};
    }
    const auto soort = omgeving("XDG_SESSION_TYPE");
    // Without WAYLAND_DISPLAY a Wayland client connects to "wayland-0" in the runtime folder.
    if (soort == "wayland") {
        return SessieKeuze{Weergavesysteem::wayland, "XDG_SESSION_TYPE is wayland"};
    }
    if (gezet(omgeving, "DISPLAY")) {
        return SessieKeuze{Weergavesysteem::x11,
                           soort == "x11" ? "XDG_SESSION_TYPE is x11" : "DISPLAY is gezet"};
    }
    return std::nullopt;
}

std::optional<Weergavesysteem> weergavesysteemUit(std::string_view n) {
    if (n == "x11") {
        return Weergavesysteem::x11;
    }
    if (n == "wayland") {
        return Weergavesysteem::wayland;
    }
    return std::nullopt;
}

std::string_view naam(Weergavesysteem systeem) {
    return systeem == Weergavesysteem::wayland ? "wayland" : "x11";
}

}  // namespace tolmo
