#include "Tolmo/linux/wayland/WaylandVerbinding.h"

#include <poll.h>
#include <wayland-client.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <stdexcept>

namespace tolmo {
WaylandVerbinding::WaylandVerbinding(const char* naam) {
    display_ = wl_display_connect(naam);
    if (display_ == nullptr) {
        const char* n = naam != nullptr ? naam : std::getenv("WAYLAND_DISPLAY");
        throw std::runtime_error(std::string("Geen verbinding met de Wayland-compositor ") +
                                 (n != nullptr ? n : "wayland-0"));
    }
    static const wl_registry_listener luisteraar = {opGlobal, opGlobalWeg};
    registry_ = wl_display_get_registry(display_);
    wl_registry_add_listener(registry_, &luisteraar, this);
    wl_display_roundtrip(display_);
    seat_ = static_cast<wl_seat*>(bind(wl_seat_interface, 1));
}

WaylandVerbinding::~WaylandVerbinding() {
    if (seat_ != nullptr) {
        wl_seat_destroy(seat_);
    }
    wl_registry_destroy(registry_);
    wl_display_flush(display_);
    wl_display_disconnect(display_);
}

void WaylandVerbinding::opGlobal(void* data, wl_registry* /*registry*/, std::uint32_t naam,
                                 const char* interface, std::uint32_t versie) {
    static_cast<WaylandVerbinding*>(data)->globals_.push_back({naam, interface, versie});
}

void WaylandVerbinding::opGlobalWeg(void* data, wl_registry* /*registry*/, std::uint32_t naam) {
    auto& g = static_cast<WaylandVerbinding*>(data)->globals_;
    std::erase_if(g, [naam](const Global& x) { return x.naam == naam; });
}

int WaylandVerbinding::descriptor() const {
    return wl_display_get_fd(display_);
}

void* WaylandVerbinding::bind(const wl_interface& interface, std::uint32_t versie,
                              std::uint32_t minimum) const {
    for (const Global& g : globals_) {
        if (g.interface == interface.name && g.versie >= minimum) {
            return wl_registry_bind(registry_, g.naam, &interface, std::min(versie, g.versie));
        }
    }
    return nullptr;
}

bool WaylandVerbinding::biedt(const std::string& interface) const {
    return std::any_of(globals_.begin(), globals_.end(),
                       [&](const Global& g) { return g.interface == interface; });
}

void WaylandVerbinding::verwerk() {
    // Events already read into the queue (by a round trip, say) come first; then whatever
    // the socket holds, without waiting for more.
    // A connection the compositor closed stays dead: nothing more to read or dispatch.
    if (wl_display_get_error(display_) != 0) {
        return;
    }
    while (wl_display_prepare_read(display_) != 0) {
        if (wl_display_dispatch_pending(display_) < 0) {
            return;
        }
    }
    wl_display_flush(display_);
    pollfd p{wl_display_get_fd(display_), POLLIN, 0};
    if (::poll(&p, 1, 0) > 0 && (p.revents & POLLIN) != 0) {
        wl_display_read_events(display_);
    } else {
        wl_display_cancel_read(display_);
    }
    wl_display_dispatch_pending(display_);
    wl_display_flush(display_);
}

void WaylandVerbinding::rondreis() {
    wl_display_roundtrip(display_);
}

}  // namespace tolmo
