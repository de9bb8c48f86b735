#pragma once

#include <memory>

#include "Tolmo/Sneltoetsen/ToetsBron.h"

namespace tolmo {

// The key source of macOS: a listen-only Quartz event tap at the session tap with its run-loop
// source in the main run loop's common modes, AppKit's global and local event monitors, a
// Carbon hot key with one application event handler, and the combined session flag state.
class QuartzToetsBron final : public ToetsBron {
  public:
    [[nodiscard]] std::unique_ptr<Tap> maakTap(OpGebeurtenis opGebeurtenis,
                                               std::function<void(TapUit)> opUitgezet) override;
    [[nodiscard]] std::unique_ptr<Registratie> installeerGlobaleMonitor(
        OpGebeurtenis opGebeurtenis) override;
    [[nodiscard]] std::unique_ptr<Registratie> installeerLokaleMonitor(
        OpGebeurtenis opGebeurtenis) override;
    [[nodiscard]] std::unique_ptr<Registratie> installeerWisselHandler(
        std::function<void()> opIngedrukt) override;
    [[nodiscard]] std::unique_ptr<Registratie> registreerWissel(
        const Toetscombinatie& combinatie) override;
    [[nodiscard]] ToetsVlaggen sessieVlaggen() const override;
};

}  // namespace tolmo
