#include "Tolmo/linux/wayland/WaylandFocus.h"

#include <wayland-client.h>

#include <algorithm>
#include <cstring>

#include "wlr-foreign-toplevel-management-unstable-v1-client-protocol.h"

namespace tolmo {

// One toplevel as the compositor last described it. Changes arrive one by one and count only
// at `done`, so a switch is never seen half made.
struct WaylandFocus::Toplevel {
    WaylandFocus* eigenaar = nullptr;
    zwlr_foreign_toplevel_handle_v1* handle = nullptr;
    std::string appId, titel, nieuweAppId, nieuweTitel;
    bool actief = false, nieuwActief = false;
};

namespace {

// Two fields are the same when they are the same toplevel. The handle's address identifies it
// while it lives; a closed toplevel's identity stays in the start's target only, and a new
// toplevel that gets the same address would be a different window of the same app, which a
// paste then reaches: the same harm as a field AT-SPI cannot tell apart.
class ToplevelIdentiteit final : public FocusVeld::Identiteit {
  public:
    explicit ToplevelIdentiteit(const void* toplevel) : toplevel_(toplevel) {}
    [[nodiscard]] bool gelijkAan(const Identiteit& ander) const override {
        const auto* a = dynamic_cast<const ToplevelIdentiteit*>(&ander);
        return a != nullptr && a->toplevel_ == toplevel_;
    }

  private:
    const void* toplevel_;
};

using T = WaylandFocus::Toplevel;

const zwlr_foreign_toplevel_handle_v1_listener handleLuisteraar = {
    .title = [](void* d, zwlr_foreign_toplevel_handle_v1*,
                const char* t) { static_cast<T*>(d)->nieuweTitel = t; },
    .app_id = [](void* d, zwlr_foreign_toplevel_handle_v1*,
                 const char* a) { static_cast<T*>(d)->nieuweAppId = a; },
    .output_enter = [](void*, zwlr_foreign_toplevel_handle_v1*, wl_output*) {},
    .output_leave = [](void*, zwlr_foreign_toplevel_handle_v1*, wl_output*) {},
    .state =
        [](void* d, zwlr_foreign_toplevel_handle_v1*, wl_array* toestanden) {
            auto* t = static_cast<T*>(d);
            t->nieuwActief = false;
            const auto* begin = static_cast<const std::uint32_t*>(toestanden->data);
            const std::size_t n = toestanden->size / sizeof(std::uint32_t);
            t->nieuwActief =
                std::find(begin, begin + n, ZWLR_FOREIGN_TOPLEVEL_HANDLE_V1_STATE_ACTIVATED) !=
                begin + n;
        },
    .done =
        [](void* d, zwlr_foreign_toplevel_handle_v1*) {
            auto* t = static_cast<T*>(d);
            t->appId = t->nieuweAppId;
            t->titel = t->nieuweTitel;
            t->actief = t->nieuwActief;
        },
    .closed =
        [](void* d, zwlr_foreign_toplevel_handle_v1* h) {
            auto* t = static_cast<T*>(d);
            zwlr_foreign_toplevel_handle_v1_destroy(h);
            // Frees t: nothing may touch it after this.
            t->eigenaar->vergeet(t);
        },
};

}  // namespace

WaylandFocus::WaylandFocus(WaylandVerbinding& verbinding) : verbinding_(verbinding) {
    beheerder_ = static_cast<zwlr_foreign_toplevel_manager_v1*>(
        verbinding_.bind(zwlr_foreign_toplevel_manager_v1_interface, 2));
    if (beheerder_ == nullptr) {
        return;
    }
    // Nothing was read since the bind, so every event of the list, and of the toplevels it
    // announces, goes to this queue.
    wachtrij_ = wl_display_create_queue(verbinding_.display());
    wl_proxy_set_queue(reinterpret_cast<wl_proxy*>(beheerder_), wachtrij_);
    static const zwlr_foreign_toplevel_manager_v1_listener luisteraar = {opToplevel, opKlaar};
    zwlr_foreign_toplevel_manager_v1_add_listener(beheerder_, &luisteraar, this);
    // The toplevels open now and their state, before anyone asks.
    werkBij();
}

WaylandFocus::~WaylandFocus() {
    // Nothing may be left on the queue or be read into it once it is gone: this version of
    // libwayland frees no events with a queue, and a toplevel announced after it would be
    // made on it. `stop` makes the compositor end the list with `finished` (opKlaar), and the
    // round trip takes in all it sent until then.
    if (beheerder_ != nullptr) {
        zwlr_foreign_toplevel_manager_v1_stop(beheerder_);
        werkBij();
    }
    verwerk();
    for (const auto& t : toplevels_) {
        zwlr_foreign_toplevel_handle_v1_destroy(t->handle);
    }
    // Without `finished` (the connection broke): the proxy goes without it.
    if (beheerder_ != nullptr) {
        wl_proxy_destroy(reinterpret_cast<wl_proxy*>(beheerder_));
    }
    if (wachtrij_ != nullptr) {
        wl_event_queue_destroy(wachtrij_);
    }
}

void WaylandFocus::werkBij() const {
    if (wachtrij_ != nullptr) {
        wl_display_roundtrip_queue(verbinding_.display(), wachtrij_);
    }
}

void WaylandFocus::verwerk() {
    if (wachtrij_ != nullptr) {
        wl_display_dispatch_queue_pending(verbinding_.display(), wachtrij_);
    }
}

void WaylandFocus::opToplevel(void* data, zwlr_foreign_toplevel_manager_v1* /*beheerder*/,
                              zwlr_foreign_toplevel_handle_v1* handle) {
    auto* f = static_cast<WaylandFocus*>(data);
    auto t = std::make_unique<Toplevel>();
    t->eigenaar = f;
    t->handle = handle;
    zwlr_foreign_toplevel_handle_v1_add_listener(handle, &handleLuisteraar, t.get());
    f->toplevels_.push_back(std::move(t));
}

void WaylandFocus::opKlaar(void* data, zwlr_foreign_toplevel_manager_v1* /*beheerder*/) {
    auto* f = static_cast<WaylandFocus*>(data);
    wl_proxy_destroy(reinterpret_cast<wl_proxy*>(f->beheerder_));
    f->beheerder_ = nullptr;
}

void WaylandFocus::vergeet(const Toplevel* t) {
    std::erase_if(toplevels_, [t](const auto& x) { return x.get() == t; });
}

std::optional<WaylandFocus::Venster> WaylandFocus::actief() const {
    werkBij();
    for (const auto& t : toplevels_) {
        if (t->actief) {
            return Venster{t->appId, t->titel};
        }
    }
    return std::nullopt;
}

std::optional<Doel> WaylandFocus::huidig() const {
    werkBij();
    for (const auto& t : toplevels_) {
        if (t->actief) {
            Doel doel;
            if (!t->appId.empty()) {
                doel.bundleId = t->appId;
            }
            doel.veld = FocusVeld(std::make_shared<ToplevelIdentiteit>(t.get()));
            return doel;
        }
    }
    return std::nullopt;
}

}  // namespace tolmo
