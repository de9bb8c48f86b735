#include "Tolmo/linux/x11/X11Klembord.h"

#include <X11/Xatom.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>
#include <poll.h>

#include <algorithm>
#include <cstring>
#include <thread>

// Serving our selection to other clients, and the paste keystroke whose read we wait for.
namespace tolmo {

using Klok = std::chrono::steady_clock;
using namespace std::chrono_literals;

bool X11Klembord::verwerk(XEvent& e) {
    if (const auto basis = verbinding_.xfixes();
        basis && e.type == *basis + XFixesSelectionNotify) {
        const auto& wissel = reinterpret_cast<const XFixesSelectionNotifyEvent&>(e);
        if (wissel.window != venster_) {
            return false;
        }
        telWissel(wissel);
        return true;
    }
    switch (e.type) {
        case SelectionRequest:
            if (e.xselectionrequest.owner != venster_) {
                return false;
            }
            dienVerzoek(e.xselectionrequest);
            return true;
        case SelectionClear:
            if (e.xselectionclear.window != venster_) {
                return false;
            }
            // A clear that arrives after we took the selection back is old news.
            if (e.xselectionclear.selection == primair_ &&
                XGetSelectionOwner(display_, primair_) != venster_) {
                primairEigen_.reset();
                primairDictaat_ = false;
            }
            if (e.xselectionclear.selection == klembord_ &&
                XGetSelectionOwner(display_, klembord_) != venster_) {
                eigen_.reset();
                dictaat_ = false;
                plakTijd_.reset();
                if (!verbinding_.xfixes()) {
                    ++teller_;
                }
            }
            return true;
        case SelectionNotify:
            // The manager's word that it saved our clipboard, or a late answer to a snapshot
            // that gave up.
            if (e.xselection.requestor == venster_ && e.xselection.selection == beheerder_) {
                doorBeheerderBewaard_ = true;
            }
            return e.xselection.requestor == venster_;
        case PropertyNotify:
            if (e.xproperty.window == venster_ && e.xproperty.atom == klaarAtoom_) {
                momentopnameKlaar();
            }
            return e.xproperty.window == venster_ || stuurVolgendDeel(e.xproperty);
        default:
            return false;
    }
}

void X11Klembord::dienVerzoek(const XSelectionRequestEvent& verzoek) {
    XSelectionEvent antwoord{};
    antwoord.type = SelectionNotify;
    antwoord.display = display_;
    antwoord.requestor = verzoek.requestor;
    antwoord.selection = verzoek.selection;
    antwoord.target = verzoek.target;
    antwoord.time = verzoek.time;
    antwoord.property = None;
    // Clients from before ICCCM leave the property to the owner.
    const Atom eigenschap = verzoek.property != None ? verzoek.property : verzoek.target;
    const bool primair = verzoek.selection == primair_;
    const auto& doelen = primair ? primairEigen_ : eigen_;
    if ((primair || verzoek.selection == klembord_) && doelen) {
        const bool gediend = verzoek.target == multiple_
                                 ? verzoek.property != None &&
                                       dienMultiple(*doelen, verzoek.requestor, verzoek.property)
                                 : dien(*doelen, verzoek.requestor, verzoek.target, eigenschap);
        if (gediend) {
            antwoord.property = eigenschap;
        }
    }
    XSendEvent(display_, verzoek.requestor, False, NoEventMask,
               reinterpret_cast<XEvent*>(&antwoord));
    XFlush(display_);
    const bool dictaat = primair ? primairDictaat_ : dictaat_;
    if (antwoord.property != None && gelezen_ && dictaat && plakTijd_) {
        const std::string doel = verbinding_.atoomNaam(verzoek.target);
        bool uitDoelApp = false;
        if (verzoek.time == CurrentTime && (plakMaker_.client || plakMaker_.proces)) {
            const Maker lezer = makerVan(display_, verzoek.requestor);
            uitDoelApp = (lezer.client && lezer.client == plakMaker_.client) ||
                         (lezer.proces && lezer.proces == plakMaker_.proces);
        }
        if (isPlakLezing({doel, dictaat, plakTijd_, verzoek.time, uitDoelApp})) {
            plakTijd_.reset();
            // A copy: the handler may replace itself through opGelezen.
            const Gelezen gelezen = gelezen_;
            gelezen(verzoek.requestor);
        }
    }
}

bool X11Klembord::dien(const std::vector<Doel>& doelen, Window aanvrager, Atom doel,
                       Atom eigenschap) {
    if (doel == targets_) {
        std::vector<long> lijst{static_cast<long>(targets_), static_cast<long>(multiple_),
                                static_cast<long>(timestamp_)};
        for (const Doel& d : doelen) {
            lijst.push_back(static_cast<long>(d.doel));
        }
        XChangeProperty(display_, aanvrager, eigenschap, XA_ATOM, 32, PropModeReplace,
                        reinterpret_cast<const unsigned char*>(lijst.data()),
                        static_cast<int>(lijst.size()));
        return true;
    }
    if (doel == timestamp_) {
        const long tijd = static_cast<long>(eigenaarTijd_);
        XChangeProperty(display_, aanvrager, eigenschap, XA_INTEGER, 32, PropModeReplace,
                        reinterpret_cast<const unsigned char*>(&tijd), 1);
        return true;
    }
    const auto it =
        std::find_if(doelen.begin(), doelen.end(), [&](const Doel& d) { return d.doel == doel; });
    if (it == doelen.end()) {
        return false;
    }
    const std::size_t aantal = it->bytes->size() / xlibBreedte(it->formaat);
    if (aantal * static_cast<std::size_t>(it->formaat / 8) > maxDeel_) {
        // INCR: announce the size, then hand over a part each time the requestor deletes one.
        XSelectInput(display_, aanvrager, PropertyChangeMask);
        const long grootte = static_cast<long>(aantal * static_cast<std::size_t>(it->formaat / 8));
        XChangeProperty(display_, aanvrager, eigenschap, incr_, 32, PropModeReplace,
                        reinterpret_cast<const unsigned char*>(&grootte), 1);
        overdrachten_.push_back({aanvrager, eigenschap, *it, 0, Klok::now()});
        return true;
    }
    XChangeProperty(display_, aanvrager, eigenschap, it->type, it->formaat, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(it->bytes->data()),
                    static_cast<int>(aantal));
    return true;
}

bool X11Klembord::dienMultiple(const std::vector<Doel>& doelen, Window aanvrager, Atom eigenschap) {
    const auto paren = verbinding_.leesEigenschap(aanvrager, eigenschap);
    if (!paren || paren->formaat != 32) {
        return false;
    }
    std::vector<long> lijst(paren->aantal);
    std::memcpy(lijst.data(), paren->bytes.data(), lijst.size() * sizeof(long));
    // A pair that cannot be served gets None for its property.
    for (std::size_t i = 0; i + 1 < lijst.size(); i += 2) {
        const auto doel = static_cast<Atom>(lijst[i]);
        if (doel == multiple_ || !dien(doelen, aanvrager, doel, static_cast<Atom>(lijst[i + 1]))) {
            lijst[i + 1] = None;
        }
    }
    XChangeProperty(display_, aanvrager, eigenschap, atomPaar_, 32, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(lijst.data()),
                    static_cast<int>(lijst.size()));
    return true;
}

bool X11Klembord::stuurVolgendDeel(const XPropertyEvent& gebeurtenis) {
    // A requestor that went away or stopped reading is given up on.
    const auto nu = Klok::now();
    std::erase_if(overdrachten_, [&](const Overdracht& o) { return nu - o.laatst > 5s; });
    const auto it = std::find_if(overdrachten_.begin(), overdrachten_.end(), [&](const auto& o) {
        return o.aanvrager == gebeurtenis.window && o.eigenschap == gebeurtenis.atom;
    });
    if (it == overdrachten_.end()) {
        return false;
    }
    if (gebeurtenis.state != PropertyDelete) {
        return true;  // the report of our own part
    }
    Overdracht& o = *it;
    const std::size_t breedte = xlibBreedte(o.doel.formaat);
    const std::size_t perDeel = std::max<std::size_t>(1, maxDeel_ / (o.doel.formaat / 8));
    const std::size_t aantal = std::min(perDeel, (o.doel.bytes->size() - o.positie) / breedte);
    // The last part is empty: that ends the transfer.
    XChangeProperty(display_, o.aanvrager, o.eigenschap, o.doel.type, o.doel.formaat,
                    PropModeReplace,
                    reinterpret_cast<const unsigned char*>(o.doel.bytes->data() + o.positie),
                    static_cast<int>(aantal));
    o.positie += aantal * breedte;
    o.laatst = nu;
    if (aantal == 0) {
        const Window aanvrager = o.aanvrager;
        overdrachten_.erase(it);
        const bool meer = std::any_of(overdrachten_.begin(), overdrachten_.end(),
                                      [&](const auto& r) { return r.aanvrager == aanvrager; });
        if (!meer) {
            XSelectInput(display_, aanvrager, NoEventMask);
        }
    }
    XFlush(display_);
    return true;
}

// --- The paste keystroke ---

void X11Klembord::wachtOpLosgelatenModifiers() const {
    std::vector<KeyCode> modifiers;
    if (XModifierKeymap* kaart = XGetModifierMapping(display_)) {
        for (int i = 0; i < 8 * kaart->max_keypermod; ++i) {
            if (kaart->modifiermap[i] != 0) {
                modifiers.push_back(kaart->modifiermap[i]);
            }
        }
        XFreeModifiermap(kaart);
    }
    const auto einde = Klok::now() + modifierTermijn;
    for (;;) {
        char toetsen[32] = {};
        XQueryKeymap(display_, toetsen);
        const bool vast = std::any_of(modifiers.begin(), modifiers.end(), [&](KeyCode k) {
            return ((static_cast<unsigned char>(toetsen[k / 8]) >> (k % 8)) & 1U) != 0;
        });
        if (!vast || Klok::now() >= einde) {
            return;
        }
        std::this_thread::sleep_for(10ms);
    }
}

void X11Klembord::stuurPlakToets() {
    if (lopend_) {
        naMomentopname([this] {
            if (!afsluiten_) {
                stuurPlakToets();
            }
        });
        return;
    }
    if (!verbinding_.xtest()) {
        return;
    }
    wachtOpLosgelatenModifiers();
    X11PlakToetsen::Profiel profiel;
    plakMaker_ = {};
    if (const auto actief = actiefVenster(verbinding_)) {
        plakMaker_ = makerVan(display_, *actief);
        profiel = plakToetsen_.voor(leesWmKlasse(verbinding_, *actief));
    }
    if (eigen_ && dictaat_) {
        // Clipboard managers convert with a time from around our owner change; the paste's own
        // time stamp must lie clearly after it (see isPlakLezing).
        constexpr std::uint32_t marge = 5;
        Time tijd = serverTijd();
        for (int i = 0;
             i < 10 && tijd != CurrentTime &&
             static_cast<std::uint32_t>(tijd) - static_cast<std::uint32_t>(eigenaarTijd_) < marge;
             ++i) {
            std::this_thread::sleep_for(2ms);
            tijd = serverTijd();
        }
        if (tijd != CurrentTime) {
            plakTijd_ = tijd;
        }
    }
    const auto code = [this](KeySym symbool, KeyCode terugval) {
        const KeyCode k = XKeysymToKeycode(display_, symbool);
        return k != 0 ? k : terugval;
    };
    // The fallbacks are the keys of a PC keyboard under evdev, for layouts without a Latin v.
    using A = X11PlakToetsen::Akkoord;
    std::vector<KeyCode> toetsen;
    if (profiel.akkoord != A::shiftInsert) {
        toetsen.push_back(code(XK_Control_L, 37));
    }
    if (profiel.akkoord != A::ctrlV) {
        toetsen.push_back(code(XK_Shift_L, 50));
    }
    toetsen.push_back(profiel.akkoord == A::shiftInsert ? code(XK_Insert, 118) : code(XK_v, 55));
    for (const KeyCode k : toetsen) {
        XTestFakeKeyEvent(display_, k, True, CurrentTime);
    }
    for (auto it = toetsen.rbegin(); it != toetsen.rend(); ++it) {
        XTestFakeKeyEvent(display_, *it, False, CurrentTime);
    }
    XFlush(display_);
}

bool X11Klembord::geefAanBeheerder(std::chrono::milliseconds termijn) {
    // Quitting while another app's clipboard is still being copied: what waited runs as it would
    // have, except a paste keystroke, which would land after the restore.
    afsluiten_ = true;
    wachtOpMomentopname(false);
    if (!eigen_ || XGetSelectionOwner(display_, beheerder_) == None) {
        return false;
    }
    doorBeheerderBewaard_ = false;
    // No property: the manager saves every target we offer.
    XConvertSelection(display_, beheerder_, verbinding_.atoom("SAVE_TARGETS"), None, venster_,
                      serverTijd());
    XFlush(display_);
    // Its reads of our targets are served from here while we wait.
    const auto einde = Klok::now() + termijn;
    while (!doorBeheerderBewaard_ && Klok::now() < einde) {
        pollfd p{verbinding_.descriptor(), POLLIN, 0};
        ::poll(&p, 1, 10);
        verbinding_.verwerk();
    }
    return doorBeheerderBewaard_;
}

}  // namespace tolmo
