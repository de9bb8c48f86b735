#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "Tolmo/Poorten/EscBron.h"
#include "Tolmo/Sneltoetsen/ToetsBron.h"
#include "Tolmo/linux/x11/X11MenuMasker.h"
#include "Tolmo/linux/x11/X11Verbinding.h"

namespace tolmo {

class X11ToetsGreep;

// The key source of X11, over the app's own connection: XInput2 raw key events on the root
// window for the tap (they show every key of every keyboard without taking it from anyone), a
// passive key grab on the root for the toggle combination, and the keyboard's key map for the
// session flags. X has no permission to refuse and never switches the raw events off, so the
// tap is only missing without XInput2.
class X11ToetsBron final : public ToetsBron {
  public:
    // The connection must outlive the source.
    explicit X11ToetsBron(X11Verbinding& verbinding);

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
    [[nodiscard]] const Teksten& teksten() const override;

    // The hold key as the settings name it (empty when off): an Alt or Super hold key is masked
    // so that its release opens no app's menu.
    void zetHoudToets(std::optional<std::uint16_t> appleToetscode) {
        masker_.zetHoudToets(appleToetscode);
    }

  private:
    bool wisselGebeurtenis(const XEvent& e);

    X11Verbinding& x_;
    X11MenuMasker masker_;
    std::function<void()> opWissel_;
    // The grab of the combination registered last; owned by its registration.
    const X11ToetsGreep* wissel_ = nullptr;
    // Held keys repeat; one press toggles once.
    bool wisselOmlaag_ = false;
};

// Esc while recording, by grabbing the key on the root only while armed.
class X11EscBron final : public EscBron {
  public:
    // The connection must outlive the source.
    explicit X11EscBron(X11Verbinding& verbinding);
    ~X11EscBron() override;
    X11EscBron(const X11EscBron&) = delete;
    X11EscBron& operator=(const X11EscBron&) = delete;

    void wacht(std::function<void()> opEsc) override;
    void stopWachten() override;

  private:
    X11Verbinding& x_;
    std::function<void()> opEsc_;
    std::unique_ptr<X11ToetsGreep> greep_;
    std::optional<std::size_t> luisteraar_;
};

}  // namespace tolmo
