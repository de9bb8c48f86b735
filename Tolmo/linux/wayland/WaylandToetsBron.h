#pragma once

#include "Tolmo/Sneltoetsen/ToetsBron.h"

namespace tolmo {

// Keys on Wayland: a client sees keys only while one of its own windows has the keyboard focus,
// so there is no tap, no monitor and no global combination. The compositor runs
// `tolmo-bediening --start/--stop/--wissel` from bindings the user adds (WaylandBindingen), and
// those commands reach the controller without this source.
class WaylandToetsBron final : public ToetsBron {
  public:
    [[nodiscard]] std::unique_ptr<Tap> maakTap(
        OpGebeurtenis /*opGebeurtenis*/, std::function<void(TapUit)> /*opUitgezet*/) override {
        return nullptr;
    }
    [[nodiscard]] std::unique_ptr<Registratie> installeerGlobaleMonitor(
        OpGebeurtenis /*opGebeurtenis*/) override {
        return nullptr;
    }
    [[nodiscard]] std::unique_ptr<Registratie> installeerLokaleMonitor(
        OpGebeurtenis /*opGebeurtenis*/) override {
        return nullptr;
    }
    [[nodiscard]] std::unique_ptr<Registratie> installeerWisselHandler(
        std::function<void()> /*opIngedrukt*/) override {
        return nullptr;
    }
    [[nodiscard]] std::unique_ptr<Registratie> registreerWissel(
        const Toetscombinatie& /*combinatie*/) override {
        return nullptr;
    }
    [[nodiscard]] ToetsVlaggen sessieVlaggen() const override { return {}; }
    [[nodiscard]] const Teksten& teksten() const override {
        static const Teksten wayland{
            .tap = "Wayland (geen)",
            .tapGemaakt = "Wayland: geen toetsen buiten eigen vensters (",
            .viaTap = "sneltoetsen van de compositor (tolmo-bediening --start/--stop)",
            .viaMonitor = "sneltoetsen van de compositor (tolmo-bediening --start/--stop)",
            .geen = "sneltoetsen van de compositor (tolmo-bediening --start/--stop)",
            .nietActief =
                "Houdtoets via Tolmo niet mogelijk onder Wayland: stel een sneltoets "
                "in de compositor in (tolmo-app --bindingen sway|hyprland)",
            .tapLevertNiets = "Wayland levert geen toetsen",
        };
        return wayland;
    }
};

}  // namespace tolmo
