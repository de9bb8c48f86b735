#include "Tolmo/linux/evdev/EvdevToetsBron.h"

#include <linux/input-event-codes.h>
#include <xkbcommon/xkbcommon.h>

#include <stdexcept>
#include <utility>

#include "TolmoKern/Sneltoetsen/CombinatieOpname.h"
// Last: Xlib's macros.
#include "Tolmo/linux/x11/X11Toetsen.h"

namespace tolmo {
namespace {

// An X (and xkb) key code is the kernel's plus 8.
constexpr unsigned int xkbVerschuiving = 8;

}  // namespace

EvdevToetsBron::EvdevToetsBron(const std::filesystem::path& map,
                               EvdevApparaten::IsToetsenbord isToetsenbord)
    : context_(xkb_context_new(XKB_CONTEXT_NO_FLAGS)),
      keymap_(context_ != nullptr
                  ? xkb_keymap_new_from_names(context_, nullptr, XKB_KEYMAP_COMPILE_NO_FLAGS)
                  : nullptr),
      volger_(std::make_unique<ToetsVolger>()),
      apparaten_(
          map, [this](std::uint16_t code, std::int32_t waarde) { toets(code, waarde); },
          std::move(isToetsenbord)) {
    if (keymap_ == nullptr) {
        xkb_context_unref(context_);
        throw std::runtime_error("geen toetsenbordindeling (xkbcommon)");
    }
}

EvdevToetsBron::~EvdevToetsBron() {
    xkb_keymap_unref(keymap_);
    xkb_context_unref(context_);
}

void EvdevToetsBron::toets(std::uint16_t code, std::int32_t waarde) {
    // A held key repeats; the first press has said all there is.
    if (waarde == 2) {
        return;
    }
    const unsigned int xCode = code + xkbVerschuiving;
    const xkb_keysym_t* syms = nullptr;
    const int aantal = xkb_keymap_key_get_syms_by_level(keymap_, xCode, 0, 0, &syms);
    const KeySym keysym = aantal > 0 ? syms[0] : NoSymbol;
    const bool omlaag = waarde == 1;
    if (omlaag && code == KEY_ESC && opEsc_) {
        // Called last: it may disarm, which clears opEsc_.
        const auto op = opEsc_;
        op();
    }
    const auto g = volger_->toets(xCode, keysym, omlaag);
    if (!g) {
        return;
    }
    if (tap_ != nullptr) {
        tap_->geef(*g);
    }
    if (g->soort == Soort::toetsOmlaag && wissel_ && opWissel_ &&
        g->toetscode == wissel_->toetscode &&
        CombinatieOpname::modificatiesUit(g->vlaggen) == wissel_->modificaties) {
        const auto op = opWissel_;
        op();
    }
}

std::unique_ptr<ToetsBron::Tap> EvdevToetsBron::maakTap(
    OpGebeurtenis opGebeurtenis, std::function<void(TapUit)> /*opUitgezet*/) {
    // The kernel never switches a reader off.
    return std::make_unique<DoorgeefTap>(tap_, std::move(opGebeurtenis));
}

std::unique_ptr<ToetsBron::Registratie> EvdevToetsBron::installeerWisselHandler(
    std::function<void()> opIngedrukt) {
    opWissel_ = std::move(opIngedrukt);
    return std::make_unique<Afmelding>([this] { opWissel_ = nullptr; });
}

std::unique_ptr<ToetsBron::Registratie> EvdevToetsBron::registreerWissel(
    const Toetscombinatie& combinatie) {
    wissel_ = combinatie;
    return std::make_unique<Afmelding>([this] { wissel_.reset(); });
}

ToetsVlaggen EvdevToetsBron::sessieVlaggen() const {
    return volger_->vlaggen();
}

const ToetsBron::Teksten& EvdevToetsBron::teksten() const {
    static const Teksten evdev{
        .tap = "invoerapparaten (evdev)",
        .tapGemaakt = "invoerapparaten gelezen (",
        .viaTap = "toetsenborden zelf gelezen (groep input)",
        .viaMonitor = "toetsenborden zelf gelezen (groep input)",
        .geen = "niets (geen toegang tot de toetsenborden)",
        .nietActief =
            "Houdtoets niet actief: Tolmo mag de toetsenborden niet lezen. Voer "
            "sudo usermod -aG input $USER uit en log opnieuw in.",
        .tapLevertNiets = "de toetsenborden leveren geen toetsen",
    };
    return evdev;
}

}  // namespace tolmo
