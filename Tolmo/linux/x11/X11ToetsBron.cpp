#include "Tolmo/linux/x11/X11ToetsBron.h"

#include <X11/XKBlib.h>
#include <X11/extensions/XInput2.h>
#include <X11/keysym.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

#include "Tolmo/linux/x11/X11Toetsen.h"

namespace tolmo {

// A passive grab of one key with given modifiers on the root window. Caps Lock and Num Lock
// (Mod2 on every common keyboard map) are modifiers to X, so the key is grabbed under each
// combination of them; otherwise it would stop working while Num Lock is on. Released when
// destroyed, also when only part of it succeeded.
class X11ToetsGreep {
  public:
    X11ToetsGreep(const X11Verbinding& x, KeyCode code, unsigned int modificaties)
        : x_(x), code_(code), modificaties_(modificaties) {
        X11Verbinding::FoutVanger vanger(x_);
        for (const unsigned int slot : sloten) {
            XGrabKey(x_.display(), code_, modificaties_ | slot, x_.wortel(), False, GrabModeAsync,
                     GrabModeAsync);
        }
        // Another client holding the same grab makes the server refuse it (BadAccess).
        gelukt_ = vanger.gelukt();
    }
    ~X11ToetsGreep() {
        for (const unsigned int slot : sloten) {
            XUngrabKey(x_.display(), code_, modificaties_ | slot, x_.wortel());
        }
        XFlush(x_.display());
    }
    X11ToetsGreep(const X11ToetsGreep&) = delete;
    X11ToetsGreep& operator=(const X11ToetsGreep&) = delete;

    [[nodiscard]] bool gelukt() const { return gelukt_; }
    // A press or release of the grabbed key as the grab reports it.
    [[nodiscard]] bool isToets(const XEvent& e) const {
        return (e.type == KeyPress || e.type == KeyRelease) && e.xkey.window == x_.wortel() &&
               e.xkey.keycode == code_;
    }
    // A press with exactly the grabbed modifiers, whatever the locks.
    [[nodiscard]] bool isDruk(const XEvent& e) const {
        constexpr unsigned int modificatieBits = 0xFF;
        return isToets(e) && e.type == KeyPress &&
               (e.xkey.state & modificatieBits & ~(LockMask | Mod2Mask)) == modificaties_;
    }

  private:
    static constexpr std::array<unsigned int, 4> sloten{0, LockMask, Mod2Mask, LockMask | Mod2Mask};

    const X11Verbinding& x_;
    KeyCode code_;
    unsigned int modificaties_;
    bool gelukt_ = false;
};

namespace {

class Afmelding final : public ToetsBron::Registratie {
  public:
    explicit Afmelding(std::function<void()> weg) : weg_(std::move(weg)) {}
    ~Afmelding() override { weg_(); }
    Afmelding(const Afmelding&) = delete;
    Afmelding& operator=(const Afmelding&) = delete;

  private:
    std::function<void()> weg_;
};

// Keysyms from the first level of the first group: the key's own name, not what Shift or a
// second layout make of it.
KeySym keysymVan(Display* d, unsigned int xToetscode) {
    return XkbKeycodeToKeysym(d, static_cast<KeyCode>(xToetscode), 0, 0);
}

// Feeds the keys down right now into the follower as presses, so it knows the modifiers that
// were held before it started listening.
void voegToetsenOmlaagToe(Display* d, ToetsVolger& volger) {
    std::array<char, 32> kaart{};
    XQueryKeymap(d, kaart.data());
    for (unsigned int code = 0; code < kaart.size() * 8; ++code) {
        if (((static_cast<unsigned char>(kaart[code / 8]) >> (code % 8)) & 1U) != 0) {
            (void)volger.toets(code, keysymVan(d, code), true);
        }
    }
}

// Adds the raw key events to this connection's XInput2 selection on the root, or takes them
// out, keeping whatever else the connection selected there: a selection replaces the previous
// one of the same client, window and device.
void selecteerRuweToetsen(const X11Verbinding& x, bool aan) {
    std::array<unsigned char, XIMaskLen(XI_LASTEVENT)> bits{};
    int aantal = 0;
    if (XIEventMask* huidig = XIGetSelectedEvents(x.display(), x.wortel(), &aantal)) {
        for (int i = 0; i < aantal; ++i) {
            if (huidig[i].deviceid == XIAllMasterDevices) {
                std::memcpy(bits.data(), huidig[i].mask,
                            std::min(bits.size(), static_cast<std::size_t>(huidig[i].mask_len)));
            }
        }
        XFree(huidig);
    }
    for (const int soort : {XI_RawKeyPress, XI_RawKeyRelease}) {
        const auto bit = static_cast<unsigned char>(1U << (soort % 8));
        if (aan) {
            bits[soort / 8] |= bit;
        } else {
            bits[soort / 8] &= static_cast<unsigned char>(~bit);
        }
    }
    XIEventMask masker{XIAllMasterDevices, static_cast<int>(bits.size()), bits.data()};
    XISelectEvents(x.display(), x.wortel(), &masker, 1);
    XFlush(x.display());
}

// Raw events come from the master keyboard, which merges all physical keyboards, so every key
// arrives once. They carry only the key code: the flags come from the follower.
class X11Tap final : public ToetsBron::Tap {
  public:
    X11Tap(X11Verbinding& x, X11MenuMasker& masker, int opcode, ToetsBron::OpGebeurtenis op)
        : x_(x), masker_(masker), opcode_(opcode), op_(std::move(op)) {
        // Selected first: a key pressed in between is then seen twice, which changes nothing,
        // rather than not at all.
        selecteerRuweToetsen(x_, true);
        voegToetsenOmlaagToe(x_.display(), volger_);
        luisteraar_ = x_.luister([this](XEvent& e) { return verwerk(e); });
    }
    ~X11Tap() override {
        x_.vergeet(luisteraar_);
        selecteerRuweToetsen(x_, false);
    }
    X11Tap(const X11Tap&) = delete;
    X11Tap& operator=(const X11Tap&) = delete;

    void zetAan() override { aan_ = true; }
    [[nodiscard]] bool isAan() const override { return aan_; }

  private:
    bool verwerk(const XEvent& e) {
        const XGenericEventCookie& c = e.xcookie;
        if (c.type != GenericEvent || c.extension != opcode_ || c.data == nullptr ||
            (c.evtype != XI_RawKeyPress && c.evtype != XI_RawKeyRelease)) {
            return false;
        }
        const auto& ruw = *static_cast<const XIRawEvent*>(c.data);
        const auto code = static_cast<unsigned int>(ruw.detail);
        const bool omlaag = c.evtype == XI_RawKeyPress;
        // The key we typed to keep a menu shut is no key of the user's.
        if (masker_.isEigen(ruw.sourceid, code, omlaag)) {
            return true;
        }
        const KeySym keysym = keysymVan(x_.display(), code);
        // Releases are followed while off too, so a key held across switching on is masked
        // at its next press.
        if (aan_ || !omlaag) {
            masker_.naToets(code, keysym, omlaag);
        }
        // Followed while off too, so the flags are right from the first event once on.
        const auto g = volger_.toets(code, keysym, omlaag);
        if (g && aan_) {
            // A copy: the handler may destroy this tap.
            const auto op = op_;
            op(*g);
        }
        return true;
    }

    X11Verbinding& x_;
    X11MenuMasker& masker_;
    int opcode_;
    ToetsBron::OpGebeurtenis op_;
    ToetsVolger volger_;
    bool aan_ = false;
    std::size_t luisteraar_ = 0;
};

}  // namespace

X11ToetsBron::X11ToetsBron(X11Verbinding& verbinding) : x_(verbinding), masker_(verbinding) {}

// The only way to see keys here is XInput2: without it on the X server the hold key cannot work.
const ToetsBron::Teksten& X11ToetsBron::teksten() const {
    static const Teksten x11{
        .tap = "XInput2",
        .tapGemaakt = "XInput2: ruwe toetsen van het rootvenster (",
        .viaTap = "XInput2 (ruwe toetsen)",
        .viaMonitor = "XInput2 (ruwe toetsen)",
        .geen = "niets (XInput2 ontbreekt op deze X-server)",
        .nietActief = "Houdtoets niet actief: XInput2 ontbreekt op deze X-server",
        .tapLevertNiets = "XInput2 levert geen toetsen",
    };
    return x11;
}

std::unique_ptr<ToetsBron::Tap> X11ToetsBron::maakTap(OpGebeurtenis opGebeurtenis,
                                                      std::function<void(TapUit)> /*opUitgezet*/) {
    const auto opcode = x_.xinput2();
    if (!opcode) {
        return nullptr;
    }
    return std::make_unique<X11Tap>(x_, masker_, *opcode, std::move(opGebeurtenis));
}

// X has no second way to see keys aimed at other clients: a monitor would be the tap's own raw
// events again. As a witness it could never catch the tap missing a key, and as a fallback it
// would fail exactly when the tap does, so the monitor goes without and uses the tap alone.
std::unique_ptr<ToetsBron::Registratie> X11ToetsBron::installeerGlobaleMonitor(
    OpGebeurtenis /*opGebeurtenis*/) {
    return nullptr;
}

// Raw events do not depend on focus: the tap already sees the keys typed into the app's own
// windows.
std::unique_ptr<ToetsBron::Registratie> X11ToetsBron::installeerLokaleMonitor(
    OpGebeurtenis /*opGebeurtenis*/) {
    return nullptr;
}

std::unique_ptr<ToetsBron::Registratie> X11ToetsBron::installeerWisselHandler(
    std::function<void()> opIngedrukt) {
    opWissel_ = std::move(opIngedrukt);
    // Without this a held key repeats as release and press pairs, each press toggling again;
    // with it the repeats are presses alone, which wisselOmlaag_ ignores.
    XkbSetDetectableAutoRepeat(x_.display(), True, nullptr);
    const std::size_t id = x_.luister([this](XEvent& e) { return wisselGebeurtenis(e); });
    return std::make_unique<Afmelding>([this, id] {
        x_.vergeet(id);
        opWissel_ = nullptr;
    });
}

bool X11ToetsBron::wisselGebeurtenis(const XEvent& e) {
    if (wissel_ == nullptr || !wissel_->isToets(e)) {
        return false;
    }
    if (e.type == KeyRelease) {
        wisselOmlaag_ = false;
        return true;
    }
    if (!wissel_->isDruk(e)) {
        return false;
    }
    if (!wisselOmlaag_) {
        wisselOmlaag_ = true;
        if (const auto op = opWissel_) {
            op();
        }
    }
    return true;
}

std::unique_ptr<ToetsBron::Registratie> X11ToetsBron::registreerWissel(
    const Toetscombinatie& combinatie) {
    const auto greep = x11Greep(combinatie);
    const KeyCode code = greep ? XKeysymToKeycode(x_.display(), greep->keysym) : 0;
    if (code == 0) {
        return nullptr;
    }
    auto eigen = std::make_shared<const X11ToetsGreep>(x_, code, greep->modificaties);
    if (!eigen->gelukt()) {
        return nullptr;
    }
    wissel_ = eigen.get();
    wisselOmlaag_ = false;
    return std::make_unique<Afmelding>([this, eigen] {
        if (wissel_ == eigen.get()) {
            wissel_ = nullptr;
        }
    });
}

ToetsVlaggen X11ToetsBron::sessieVlaggen() const {
    ToetsVolger volger;
    voegToetsenOmlaagToe(x_.display(), volger);
    return volger.vlaggen();
}

X11EscBron::X11EscBron(X11Verbinding& verbinding) : x_(verbinding) {}

X11EscBron::~X11EscBron() {
    stopWachten();
}

void X11EscBron::wacht(std::function<void()> opEsc) {
    stopWachten();
    const KeyCode code = XKeysymToKeycode(x_.display(), XK_Escape);
    if (code == 0) {
        return;
    }
    greep_ = std::make_unique<X11ToetsGreep>(x_, code, 0);
    if (!greep_->gelukt()) {
        // Another client holds Esc; the recording can still be stopped the usual way.
        greep_.reset();
        return;
    }
    opEsc_ = std::move(opEsc);
    luisteraar_ = x_.luister([this](XEvent& e) {
        if (!greep_ || !greep_->isToets(e)) {
            return false;
        }
        if (greep_->isDruk(e)) {
            // A copy: the handler may disarm.
            if (const auto op = opEsc_) {
                op();
            }
        }
        return true;
    });
}

void X11EscBron::stopWachten() {
    if (luisteraar_) {
        x_.vergeet(*luisteraar_);
        luisteraar_.reset();
    }
    greep_.reset();
    opEsc_ = nullptr;
}

}  // namespace tolmo
