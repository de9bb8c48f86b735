#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>

#include "Tolmo/Poorten/EscBron.h"
#include "Tolmo/Sneltoetsen/DoorgeefTap.h"
#include "Tolmo/Sneltoetsen/ToetsBron.h"
#include "Tolmo/linux/evdev/EvdevApparaten.h"

struct xkb_context;
struct xkb_keymap;

namespace tolmo {

class ToetsVolger;

// Keys read from the keyboards themselves (EvdevApparaten): the same tap X11 has, on every
// compositor, for users who let the app read their input devices. The tap sees every key of
// every keyboard, so the hold key behaves as on X11: a tap cancels, another key during the hold
// cancels; Esc and the toggle combination come from the same stream. Keys are named as the
// default keyboard layout (XKB_DEFAULT_LAYOUT, else us) names them at its first level; a
// modifier or Esc is the same key in every layout.
class EvdevToetsBron final : public ToetsBron, public EscBron {
  public:
    // Throws std::runtime_error (Dutch) when the directory cannot be watched, std::system_error
    // when the system has no descriptors left.
    explicit EvdevToetsBron(
        const std::filesystem::path& map = "/dev/input",
        EvdevApparaten::IsToetsenbord isToetsenbord = EvdevApparaten::heeftLetters);
    ~EvdevToetsBron() override;
    EvdevToetsBron(const EvdevToetsBron&) = delete;
    EvdevToetsBron& operator=(const EvdevToetsBron&) = delete;

    [[nodiscard]] std::unique_ptr<Tap> maakTap(OpGebeurtenis opGebeurtenis,
                                               std::function<void(TapUit)> opUitgezet) override;
    // The tap already sees every key: no monitors.
    [[nodiscard]] std::unique_ptr<Registratie> installeerGlobaleMonitor(
        OpGebeurtenis /*opGebeurtenis*/) override {
        return nullptr;
    }
    [[nodiscard]] std::unique_ptr<Registratie> installeerLokaleMonitor(
        OpGebeurtenis /*opGebeurtenis*/) override {
        return nullptr;
    }
    [[nodiscard]] std::unique_ptr<Registratie> installeerWisselHandler(
        std::function<void()> opIngedrukt) override;
    [[nodiscard]] std::unique_ptr<Registratie> registreerWissel(
        const Toetscombinatie& combinatie) override;
    [[nodiscard]] ToetsVlaggen sessieVlaggen() const override;
    [[nodiscard]] const Teksten& teksten() const override;

    void wacht(std::function<void()> opEsc) override { opEsc_ = std::move(opEsc); }
    void stopWachten() override { opEsc_ = nullptr; }

    [[nodiscard]] const EvdevApparaten& apparaten() const { return apparaten_; }
    [[nodiscard]] int descriptor() const { return apparaten_.descriptor(); }
    void verwerk() { apparaten_.verwerk(); }

  private:
    void toets(std::uint16_t code, std::int32_t waarde);

    xkb_context* context_ = nullptr;
    xkb_keymap* keymap_ = nullptr;
    std::unique_ptr<ToetsVolger> volger_;
    DoorgeefTap* tap_ = nullptr;  // owned by whoever made it
    std::function<void()> opWissel_;
    std::optional<Toetscombinatie> wissel_;
    std::function<void()> opEsc_;
    EvdevApparaten apparaten_;
};

}  // namespace tolmo
