#include "Tolmo/linux/x11/X11Focus.h"

#include <memory>

namespace tolmo {

std::optional<Window> actiefVenster(const X11Verbinding& verbinding) {
    const auto venster =
        verbinding.leesGetal(verbinding.wortel(), verbinding.atoom("_NET_ACTIVE_WINDOW"));
    if (!venster || *venster == None) {
        return std::nullopt;
    }
    return static_cast<Window>(*venster);
}

std::optional<WmKlasse> leesWmKlasse(const X11Verbinding& verbinding, Window venster) {
    const auto e = verbinding.leesEigenschap(venster, verbinding.atoom("WM_CLASS"));
    if (!e || e->formaat != 8 || e->bytes.empty()) {
        return std::nullopt;
    }
    // Two NUL-terminated strings; some clients leave off the last NUL or the class part.
    const std::string& b = e->bytes;
    const std::size_t eind = b.find('\0');
    WmKlasse uit;
    uit.instantie = b.substr(0, eind);
    if (eind != std::string::npos) {
        const std::string rest = b.substr(eind + 1);
        uit.klasse = rest.substr(0, rest.find('\0'));
    }
    return uit;
}

bool X11VensterIdentiteit::gelijkAan(const Identiteit& ander) const {
    if (const auto* a = dynamic_cast<const X11VensterIdentiteit*>(&ander)) {
        return a->venster_ == venster_;
    }
    // The other source compares its field with a window itself, the same both ways round.
    return ander.gelijkAan(*this);
}

std::optional<Doel> X11Focus::huidig() const {
    const auto actief = actiefVenster(verbinding_);
    if (!actief) {
        return std::nullopt;
    }
    Doel doel;
    if (const auto pid = verbinding_.leesGetal(*actief, verbinding_.atoom("_NET_WM_PID"))) {
        doel.procesId = static_cast<std::int32_t>(*pid);
    }
    if (const auto klasse = leesWmKlasse(verbinding_, *actief); klasse && !klasse->klasse.empty()) {
        doel.bundleId = klasse->klasse;
    }
    Window focus = None;
    int terugval = 0;
    XGetInputFocus(verbinding_.display(), &focus, &terugval);
    // None and PointerRoot name no window: there is no field to compare. Neither is a focus
    // outside the active window: while a window manager hands the focus over it parks it on a
    // window of its own for a moment, and a start taken then would refuse the paste later.
    if (focus != None && focus != PointerRoot && binnen(focus, *actief)) {
        doel.veld = FocusVeld(std::make_shared<X11VensterIdentiteit>(focus));
    }
    return doel;
}

bool X11Focus::binnen(Window venster, Window voorouder) const {
    Display* d = verbinding_.display();
    // Bounded: a tree deeper than this is no toolkit's.
    for (int diepte = 0; diepte < 64 && venster != None; ++diepte) {
        if (venster == voorouder) {
            return true;
        }
        Window wortel = None;
        Window ouder = None;
        Window* kinderen = nullptr;
        unsigned int aantal = 0;
        if (XQueryTree(d, venster, &wortel, &ouder, &kinderen, &aantal) == 0) {
            return false;
        }
        if (kinderen != nullptr) {
            XFree(kinderen);
        }
        if (ouder == wortel) {
            return false;
        }
        venster = ouder;
    }
    return false;
}

}  // namespace tolmo
