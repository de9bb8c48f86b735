#include "Tolmo/linux/x11/X11Adapters.h"

#include <utility>

namespace tolmo {

X11Adapters::X11Adapters(bool viaXWayland, std::vector<X11PlakToetsen::Regel> plakRegels)
    : klembord_(x11_, std::move(plakRegels)), viaXWayland_(viaXWayland) {}

std::vector<Vermogen> X11Adapters::vermogens() const {
    using S = Vermogen::Soort;
    // Under XWayland the compositor hands X11 clients only what happens in X11 windows.
    const std::string alleenX11 =
        viaXWayland_ ? "Via XWayland ziet Tolmo alleen X11-vensters: in Wayland-apps werkt dit "
                       "niet."
                     : "";
    auto met = [&](std::string mechanisme) {
        return viaXWayland_ ? mechanisme + " via XWayland" : mechanisme;
    };
    std::vector<Vermogen> v;
    if (houdToetsMogelijk()) {
        v.push_back({S::houdToets, met("XInput2"), alleenX11});
    } else {
        v.push_back({S::houdToets, "",
                     "XInput2 ontbreekt op deze X-server, dus de houdtoets werkt niet. De "
                     "wisselsneltoets en het menu werken wel."});
    }
    v.push_back({S::wisselSneltoets, met("XGrabKey"), alleenX11});
    v.push_back({S::klembord, met("X11-klembord (CLIPBOARD)"), alleenX11});
    if (plakToetsMogelijk()) {
        v.push_back({S::plakken, met("XTest"), alleenX11});
    } else {
        v.push_back({S::plakken, "",
                     "XTest ontbreekt op deze X-server. De tekst komt op het klembord en je "
                     "plakt hem zelf."});
    }
    v.push_back({S::focus, met("EWMH (_NET_ACTIVE_WINDOW) en AT-SPI"), alleenX11});
    v.push_back({S::indicator, met("X11-venster dat de focus weigert"), ""});
    return v;
}

}  // namespace tolmo
