#include "Tolmo/linux/x11/X11Klembord.h"
#include "Tolmo/linux/x11/X11KlembordHulp.h"

#include <X11/Xatom.h>
#include <X11/extensions/XRes.h>

#include <algorithm>
#include <string_view>

namespace tolmo {
namespace {

using namespace x11klembord;
using namespace std::chrono_literals;

// STRING is Latin-1; what Latin-1 has no letter for becomes '?'.
std::string naarLatijn1(const std::string& utf8) {
    std::string uit;
    uit.reserve(utf8.size());
    for (std::size_t i = 0; i < utf8.size();) {
        const auto c = static_cast<unsigned char>(utf8[i]);
        const std::size_t lengte = c < 0x80 ? 1 : (c >> 5) == 6 ? 2 : (c >> 4) == 14 ? 3 : 4;
        if (lengte == 1) {
            uit += static_cast<char>(c);
        } else if (lengte == 2 && i + 1 < utf8.size()) {
            const unsigned code =
                ((c & 0x1fU) << 6) | (static_cast<unsigned char>(utf8[i + 1]) & 0x3fU);
            uit += code < 0x100 ? static_cast<char>(code) : '?';
        } else {
            uit += '?';
        }
        i += lengte;
    }
    return uit;
}

}  // namespace

// Bytes per item as Xlib hands them over: 32-bit items come as longs.
std::size_t X11Klembord::xlibBreedte(int formaat) {
    return formaat == 32 ? sizeof(long) : formaat == 16 ? sizeof(short) : 1;
}

// The client (X connection) that created a window, named by its resource base, and its process,
// from the X-Resource extension. Toolkits convert selections on unmapped helper windows of their
// own, which carry no _NET_WM_PID; the server still knows whose they are. The process is known
// for local clients only (the server asks the socket).
X11Klembord::Maker X11Klembord::makerVan(Display* display, Window venster) {
    int gebeurtenis = 0;
    int fout = 0;
    Maker maker;
    if (venster == None || XResQueryExtension(display, &gebeurtenis, &fout) == 0) {
        return maker;
    }
    XResClientIdSpec vraag{venster, XRES_CLIENT_ID_XID_MASK | XRES_CLIENT_ID_PID_MASK};
    long aantal = 0;
    XResClientIdValue* waarden = nullptr;
    if (XResQueryClientIds(display, 1, &vraag, &aantal, &waarden) == Success) {
        for (long i = 0; i < aantal; ++i) {
            if (XResGetClientIdType(&waarden[i]) == XRES_CLIENT_ID_XID) {
                // A value begins with the id it answers for (standard layout, first member).
                maker.client = reinterpret_cast<const XResClientIdSpec*>(&waarden[i])->client;
            } else if (const pid_t pid = XResGetClientPid(&waarden[i]); pid > 0) {
                maker.proces = pid;
            }
        }
        XResClientIdsDestroy(aantal, waarden);
    }
    return maker;
}

X11Klembord::X11Klembord(X11Verbinding& verbinding, std::vector<X11PlakToetsen::Regel> eigenRegels)
    : verbinding_(verbinding),
      display_(verbinding.display()),
      plakToetsen_(std::move(eigenRegels)) {
    XSetWindowAttributes kenmerken{};
    kenmerken.event_mask = PropertyChangeMask;
    venster_ = XCreateWindow(display_, verbinding.wortel(), -10, -10, 1, 1, 0, 0, InputOnly,
                             nullptr, CWEventMask, &kenmerken);
    klembord_ = verbinding.atoom("CLIPBOARD");
    primair_ = XA_PRIMARY;
    targets_ = verbinding.atoom("TARGETS");
    multiple_ = verbinding.atoom("MULTIPLE");
    timestamp_ = verbinding.atoom("TIMESTAMP");
    incr_ = verbinding.atoom("INCR");
    atomPaar_ = verbinding.atoom("ATOM_PAIR");
    utf8_ = verbinding.atoom("UTF8_STRING");
    tekstPlain_ = verbinding.atoom("text/plain;charset=utf-8");
    tekst_ = verbinding.atoom("TEXT");
    hint_ = verbinding.atoom("x-kde-passwordManagerHint");
    ontvang_ = verbinding.atoom("TOLMO_KLEMBORD");
    tijd_ = verbinding.atoom("TOLMO_TIJD");
    beheerder_ = verbinding.atoom("CLIPBOARD_MANAGER");
    klaarAtoom_ = verbinding.atoom("TOLMO_MOMENTOPNAME");
    // A ChangeProperty request has 24 bytes of its own.
    maxDeel_ = static_cast<std::size_t>(XMaxRequestSize(display_)) * 4 - 24;
    if (verbinding.xfixes()) {
        XFixesSelectSelectionInput(display_, venster_, klembord_,
                                   XFixesSetSelectionOwnerNotifyMask |
                                       XFixesSelectionWindowDestroyNotifyMask |
                                       XFixesSelectionClientCloseNotifyMask);
    }
    luisterId_ = verbinding.luister([this](XEvent& e) { return verwerk(e); });
    XFlush(display_);
}

X11Klembord::~X11Klembord() {
    wachtOpMomentopname(true);
    verbinding_.vergeet(luisterId_);
    // The server gives up our ownership with the window.
    XDestroyWindow(display_, venster_);
    XFlush(display_);
}

void X11Klembord::zetOpGelezen(std::function<void()> opGelezen) {
    if (opGelezen) {
        gelezen_ = [f = std::move(opGelezen)](Window /*lezer*/) { f(); };
    } else {
        gelezen_ = nullptr;
    }
}

bool X11Klembord::isPlakLezing(const Lezing& lezing) {
    if (!lezing.dictaat || !lezing.plakTijd) {
        return false;
    }
    const std::string_view d = lezing.doel;
    const bool tekst = d == "UTF8_STRING" || d == "STRING" || d == "TEXT" || d == "COMPOUND_TEXT" ||
                       d.starts_with("text/plain");
    if (lezing.tijd == CurrentTime) {
        return tekst && lezing.uitDoelApp;
    }
    // Server times are milliseconds in 32 bits that wrap after 49 days: compare the difference.
    const auto verschil = static_cast<std::int32_t>(static_cast<std::uint32_t>(lezing.tijd) -
                                                    static_cast<std::uint32_t>(*lezing.plakTijd));
    return tekst && verschil >= 0;
}

// --- The change count ---

void X11Klembord::telWissel(const XFixesSelectionNotifyEvent& wissel) const {
    if (wissel.selection != klembord_) {
        return;
    }
    if (wissel.subtype == XFixesSetSelectionOwnerNotify) {
        // Our own writes were counted when we made them.
        if (wissel.owner == venster_) {
            return;
        }
        if (wissel.owner == None) {
            const auto it = std::find(eigenLoslatingen_.begin(), eigenLoslatingen_.end(),
                                      wissel.selection_timestamp);
            if (it != eigenLoslatingen_.end()) {
                eigenLoslatingen_.erase(it);
                return;
            }
        }
    }
    ++teller_;
}

void X11Klembord::bijwerken() const {
    const auto basis = verbinding_.xfixes();
    if (!basis) {
        return;
    }
    // After the round trip every change the server made so far has been reported.
    XSync(display_, False);
    XEvent e;
    while (XCheckTypedWindowEvent(display_, venster_, *basis + XFixesSelectionNotify, &e) != 0) {
        telWissel(reinterpret_cast<const XFixesSelectionNotifyEvent&>(e));
    }
}

std::int64_t X11Klembord::wijzigingsTeller() const {
    bijwerken();
    return teller_ + voorspeld_;
}

// --- Owning ---

Time X11Klembord::serverTijd() const {
    // An empty append changes nothing but is reported with the server's time, which is what
    // ownership should be taken with (a request with CurrentTime can lose a race it should win).
    const unsigned char niets = 0;
    XChangeProperty(display_, venster_, tijd_, XA_STRING, 8, PropModeAppend, &niets, 0);
    XEvent e;
    const bool gekregen = wachtOp(
        display_, e,
        [this](const XEvent& g) {
            return g.type == PropertyNotify && g.xproperty.window == venster_ &&
                   g.xproperty.atom == tijd_;
        },
        Klok::now() + 1s);
    return gekregen ? e.xproperty.time : CurrentTime;
}

void X11Klembord::neem(std::vector<Doel> doelen, bool dictaat) {
    // Changes by others before ours count now, not after the count this write answers.
    bijwerken();
    const Time tijd = serverTijd();
    XSetSelectionOwner(display_, klembord_, venster_, tijd);
    if (XGetSelectionOwner(display_, klembord_) == venster_) {
        eigen_ = std::move(doelen);
        eigenaarTijd_ = tijd;
    } else {
        eigen_.reset();
    }
    dictaat_ = dictaat && eigen_;
    plakTijd_.reset();
    ++teller_;
}

void X11Klembord::geefOp() {
    bijwerken();
    if (XGetSelectionOwner(display_, klembord_) == venster_) {
        const Time tijd = serverTijd();
        XSetSelectionOwner(display_, klembord_, None, tijd);
        XFlush(display_);
        eigenLoslatingen_.push_back(tijd);
        ++teller_;
    }
    eigen_.reset();
    dictaat_ = false;
    plakTijd_.reset();
}

std::vector<X11Klembord::Doel> X11Klembord::tekstDoelen(const std::string& tekst) const {
    const auto utf8 = std::make_shared<const std::string>(tekst);
    // TEXT lets the owner choose the encoding; it gets the same as UTF8_STRING.
    return {{utf8_, utf8_, 8, utf8},
            {tekstPlain_, tekstPlain_, 8, utf8},
            {tekst_, utf8_, 8, utf8},
            {XA_STRING, XA_STRING, 8, std::make_shared<const std::string>(naarLatijn1(tekst))}};
}

X11PlakToetsen::Profiel X11Klembord::doelProfiel() const {
    const auto actief = actiefVenster(verbinding_);
    return plakToetsen_.voor(actief ? leesWmKlasse(verbinding_, *actief) : std::nullopt);
}

std::optional<std::string> X11Klembord::plakToetsNaam() const {
    return X11PlakToetsen::naam(doelProfiel().akkoord);
}

void X11Klembord::neemPrimair(std::vector<Doel> doelen, bool dictaat) {
    XSetSelectionOwner(display_, primair_, venster_, serverTijd());
    if (XGetSelectionOwner(display_, primair_) == venster_) {
        primairEigen_ = std::move(doelen);
    } else {
        primairEigen_.reset();
    }
    primairDictaat_ = dictaat && primairEigen_;
}

// A selection in PRIMARY is text the user marked; only its text can be given back.
std::optional<std::string> X11Klembord::primairTekst() const {
    const Window eigenaar = XGetSelectionOwner(display_, primair_);
    if (eigenaar == None) {
        return std::nullopt;
    }
    if (eigenaar == venster_) {
        return primairEigen_ && !primairDictaat_ ? std::optional(*primairEigen_->front().bytes)
                                                 : std::nullopt;
    }
    auto tekst =
        haal(verbinding_, venster_, utf8_, Klok::now() + momentopnameTermijn / 4, primair_);
    return tekst && tekst->formaat == 8 ? std::optional(std::move(tekst->bytes)) : std::nullopt;
}

std::int64_t X11Klembord::schrijf(const std::string& tekst) {
    if (!lopend_) {
        return schrijfNu(tekst);
    }
    ++voorspeld_;
    naMomentopname([this, tekst] {
        --voorspeld_;
        schrijfNu(tekst);
    });
    return teller_ + voorspeld_;
}

std::int64_t X11Klembord::schrijfNu(const std::string& tekst) {
    auto doelen = tekstDoelen(tekst);
    doelen.push_back({hint_, hint_, 8, std::make_shared<const std::string>("secret")});
    if (doelProfiel().selectie == X11PlakToetsen::Selectie::primair) {
        if (!primairDictaat_) {
            primairVoor_ = primairTekst();
        }
        neemPrimair(doelen, true);
    }
    neem(std::move(doelen), true);
    return teller_;
}

void X11Klembord::zetTekst(const std::string& tekst) {
    if (lopend_) {
        ++voorspeld_;
        naMomentopname([this, tekst] {
            --voorspeld_;
            zetTekst(tekst);
        });
        return;
    }
    if (doelProfiel().selectie == X11PlakToetsen::Selectie::primair) {
        neemPrimair(tekstDoelen(tekst), false);
        primairVoor_.reset();
    }
    neem(tekstDoelen(tekst), false);
}

void X11Klembord::herstel(const Momentopname& momentopname) {
    naMomentopname([this, momentopname] { herstelNu(momentopname); });
}

void X11Klembord::herstelNu(const Momentopname& gegeven) {
    const Momentopname* momentopname = &gegeven;
    if (gegeven.size() == 1 && gegeven[0].size() == 1 && gegeven[0][0].first == wachtSleutel) {
        // A copy made on its own thread: only the newest can still be asked for.
        if (!gemaakt_ || std::to_string(gemaakt_->first) != gegeven[0][0].second) {
            return;
        }
        momentopname = &gemaakt_->second;
    }
    std::vector<Doel> doelen;
    for (const auto& item : *momentopname) {
        for (const auto& [naam, bytes] : item) {
            const Sleutel s = leesSleutel(naam);
            const Atom doel = verbinding_.atoom(s.doel.c_str());
            const bool dubbel = std::any_of(doelen.begin(), doelen.end(),
                                            [&](const Doel& d) { return d.doel == doel; });
            if (!dubbel && doel != None) {
                doelen.push_back({doel, verbinding_.atoom(s.type.c_str()), s.formaat,
                                  std::make_shared<const std::string>(bytes)});
            }
        }
    }
    if (doelen.empty()) {
        geefOp();
    } else {
        neem(std::move(doelen), false);
    }
    if (primairDictaat_) {
        if (primairVoor_) {
            neemPrimair(tekstDoelen(*primairVoor_), false);
        } else if (XGetSelectionOwner(display_, primair_) == venster_) {
            XSetSelectionOwner(display_, primair_, None, serverTijd());
            primairEigen_.reset();
        }
        primairDictaat_ = false;
        primairVoor_.reset();
    }
}

}  // namespace tolmo
