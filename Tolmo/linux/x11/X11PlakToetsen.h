#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Tolmo/linux/x11/X11Focus.h"

namespace tolmo {

// How each app wants a paste: the chord it pastes with and the selection that chord reads.
// Most apps take Ctrl+V from the CLIPBOARD; terminals take Ctrl+Shift+V (Ctrl+V is a control
// character there); xterm and its relatives as shipped paste only PRIMARY, with Shift+Insert.
// Apps are known by WM_CLASS; the user's own rows come before the built-in ones.
class X11PlakToetsen {
  public:
    enum class Akkoord { ctrlV, ctrlShiftV, shiftInsert };
    enum class Selectie { klembord, primair };
    struct Profiel {
        Akkoord akkoord = Akkoord::ctrlV;
        Selectie selectie = Selectie::klembord;
        bool operator==(const Profiel&) const = default;
    };
    struct Regel {
        std::string app;
        Profiel profiel;
        bool operator==(const Regel&) const = default;
    };

    // The rows of the settings' "linux.plakToetsen": "app=chord" separated by ";", the chord
    // one of Ctrl+V, Ctrl+Shift+V, Shift+Insert, optionally followed by PRIMARY or CLIPBOARD
    // (Shift+Insert reads PRIMARY unless told, the others CLIPBOARD). Rows that cannot be read
    // are left out and named in fouten.
    static std::vector<Regel> leesRegels(std::string_view tekst, std::vector<std::string>* fouten);

    explicit X11PlakToetsen(std::vector<Regel> eigenRegels = {});

    // Names are compared without case, with either part of WM_CLASS and with the last part of a
    // reverse-domain name ("org.wezfurlong.wezterm").
    [[nodiscard]] Profiel voor(const std::optional<WmKlasse>& klasse) const;

    [[nodiscard]] static std::string naam(Akkoord akkoord);
    [[nodiscard]] static const std::vector<Regel>& ingebouwd();

  private:
    std::vector<Regel> regels_;
};

}  // namespace tolmo
