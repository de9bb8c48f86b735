#pragma once

#include <wayland-client.h>

#include <initializer_list>
#include <string>

#include "fake-input-client-protocol.h"

namespace tolmo::nep {

// Keys typed into KWin itself, as a keyboard would: KWin's own fake-input protocol, which it
// offers ordinary clients only when started with KWIN_WAYLAND_NO_PERMISSION_CHECKS=1. Unlike
// XTest on an X server, these go through KWin's input handling, where its global shortcuts
// live. Codes are the kernel's (linux/input-event-codes.h).
class KWinToetsen {
  public:
    KWinToetsen() {
        display_ = wl_display_connect(nullptr);
        if (display_ == nullptr) {
            fout_ = "geen verbinding met KWin";
            return;
        }
        registry_ = wl_display_get_registry(display_);
        static const wl_registry_listener luisteraar{
            [](void* data, wl_registry* r, uint32_t naam, const char* interface, uint32_t versie) {
                auto* zelf = static_cast<KWinToetsen*>(data);
                if (std::string(interface) == org_kde_kwin_fake_input_interface.name &&
                    versie >= 4) {
                    zelf->invoer_ = static_cast<org_kde_kwin_fake_input*>(
                        wl_registry_bind(r, naam, &org_kde_kwin_fake_input_interface, 4));
                }
            },
            [](void*, wl_registry*, uint32_t) {}};
        wl_registry_add_listener(registry_, &luisteraar, this);
        wl_display_roundtrip(display_);
        if (invoer_ == nullptr) {
            fout_ = "KWin biedt geen org_kde_kwin_fake_input (versie 4)";
            return;
        }
        org_kde_kwin_fake_input_authenticate(invoer_, "Tolmo-test", "toetsen voor de test");
        wl_display_roundtrip(display_);
    }
    ~KWinToetsen() {
        if (invoer_ != nullptr) {
            org_kde_kwin_fake_input_destroy(invoer_);
        }
        if (registry_ != nullptr) {
            wl_registry_destroy(registry_);
        }
        if (display_ != nullptr) {
            wl_display_disconnect(display_);
        }
    }
    KWinToetsen(const KWinToetsen&) = delete;
    KWinToetsen& operator=(const KWinToetsen&) = delete;

    // Empty when keys can be typed.
    [[nodiscard]] const std::string& fout() const { return fout_; }

    // The keys go down in the given order, or up in the reverse order, and KWin has them when
    // this returns.
    void omlaag(std::initializer_list<uint32_t> codes) {
        for (const uint32_t c : codes) {
            org_kde_kwin_fake_input_keyboard_key(invoer_, c, WL_KEYBOARD_KEY_STATE_PRESSED);
        }
        wl_display_roundtrip(display_);
    }
    void omhoog(std::initializer_list<uint32_t> codes) {
        for (auto it = std::rbegin(codes); it != std::rend(codes); ++it) {
            org_kde_kwin_fake_input_keyboard_key(invoer_, *it, WL_KEYBOARD_KEY_STATE_RELEASED);
        }
        wl_display_roundtrip(display_);
    }

  private:
    wl_display* display_ = nullptr;
    wl_registry* registry_ = nullptr;
    org_kde_kwin_fake_input* invoer_ = nullptr;
    std::string fout_;
};

}  // namespace tolmo::nep
