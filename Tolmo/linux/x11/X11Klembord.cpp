#include "Tolmo/linux/x11/X11Klembord.h"

#include <X11/Xatom.h>
#include <X11/extensions/XRes.h>
#include <poll.h>

#include <algorithm>
#include <cstring>
#include <string_view>
#include <thread>

namespace tolmo {
namespace {

using Klok = std::chrono::steady_clock;
using namespace std::chrono_literals;

// Targets that describe the selection or act on it rather than hold its contents. DELETE and
// the INSERT_ ones have side effects on the owner; asking for them would be a fault.
constexpr std::string_view metaDoelen[] = {
    "TARGETS",         "MULTIPLE",     "TIMESTAMP",
    "DELETE",          "SAVE_TARGETS", "INSERT_SELECTION",
    "INSERT_PROPERTY", "LENGTH",       "LIST_LENGTH",
    "CLIENT_WINDOW",   "HOST_NAME",    "USER",
    "PROCESS",         "TASK",         "OWNER_OS",
};

// The one pair of a snapshot that stands for a copy still being made on its own thread; a
// newline starts no target's name.
constexpr std::string_view wachtSleutel = "\nTOLMO_MOMENTOPNAME";

std::string sleutel(const std::string& doel, const std::string& type, int formaat) {
    if (type == doel && formaat == 8) {
        return doel;
    }
    return doel + '\n' + type + '\n' + std::to_string(formaat);
}

struct Sleutel {
    std::string doel;
    std::string type;
    int formaat = 8;
};

Sleutel leesSleutel(const std::string& s) {
    const std::size_t a = s.find('\n');
    const std::size_t b = a == std::string::npos ? a : s.find('\n', a + 1);
    if (b == std::string::npos) {
        return {s, s, 8};
    }
    const int formaat = std::atoi(s.c_str() + b + 1);
    return {s.substr(0, a), s.substr(a + 1, b - a - 1),
            formaat == 16 || formaat == 32 ? formaat : 8};
}

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

// Waits for the first event the predicate accepts, leaving every other event queued for
// verwerk; false when the time is up.
template <typename P>
bool wachtOp(Display* display, XEvent& uit, P predicaat, Klok::time_point einde) {
    const auto controle = [](Display*, XEvent* e, XPointer arg) -> Bool {
        return (*reinterpret_cast<P*>(arg))(*e) ? True : False;
    };
    XFlush(display);
    for (;;) {
        if (XCheckIfEvent(display, &uit, controle, reinterpret_cast<XPointer>(&predicaat)) != 0) {
            return true;
        }
        const auto over = std::chrono::ceil<std::chrono::milliseconds>(einde - Klok::now()).count();
        if (over <= 0) {
            return false;
        }
        pollfd p{ConnectionNumber(display), POLLIN, 0};
        ::poll(&p, 1, static_cast<int>(over));
    }
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

// --- Reading another owner ---

std::optional<X11Verbinding::Eigenschap> X11Klembord::haal(X11Verbinding& verbinding,
                                                           Window venster, Atom doel,
                                                           Klok::time_point einde, Atom selectie) {
    Display* display = verbinding.display();
    const Atom ontvang = verbinding.atoom("TOLMO_KLEMBORD");
    const Atom incr = verbinding.atoom("INCR");
    XDeleteProperty(display, venster, ontvang);
    XConvertSelection(display, selectie, doel, ontvang, venster, CurrentTime);
    XEvent e;
    const bool beantwoord = wachtOp(
        display, e,
        [&](const XEvent& g) {
            return g.type == SelectionNotify && g.xselection.requestor == venster &&
                   g.xselection.selection == selectie && g.xselection.target == doel;
        },
        einde);
    if (!beantwoord || e.xselection.property == None) {
        return std::nullopt;
    }
    // Reading with delete is what asks an INCR owner for its first part.
    auto antwoord = verbinding.leesEigenschap(venster, ontvang, true);
    if (!antwoord || antwoord->type != incr) {
        return antwoord;
    }
    X11Verbinding::Eigenschap heel;
    for (;;) {
        const bool nieuw = wachtOp(
            display, e,
            [&](const XEvent& g) {
                return g.type == PropertyNotify && g.xproperty.window == venster &&
                       g.xproperty.atom == ontvang && g.xproperty.state == PropertyNewValue;
            },
            einde);
        if (!nieuw) {
            return std::nullopt;
        }
        auto deel = verbinding.leesEigenschap(venster, ontvang, true);
        if (!deel) {
            // The report of a value already read (the INCR marker itself).
            continue;
        }
        if (deel->aantal == 0) {
            return heel;
        }
        heel.type = deel->type;
        heel.formaat = deel->formaat;
        heel.bytes += deel->bytes;
        heel.aantal += deel->aantal;
    }
}

KlembordPoort::Momentopname X11Klembord::maakMomentopname() const {
    // A second copy before the first was used (not how the paster works): the first must be
    // done before the clipboard can be looked at again.
    wachtOpMomentopname(false);
    const Window eigenaar = XGetSelectionOwner(display_, klembord_);
    if (eigenaar == None) {
        return {};
    }
    if (eigenaar == venster_) {
        if (!eigen_) {
            return {};
        }
        std::vector<std::pair<std::string, std::string>> item;
        for (const Doel& d : *eigen_) {
            item.emplace_back(
                sleutel(verbinding_.atoomNaam(d.doel), verbinding_.atoomNaam(d.type), d.formaat),
                *d.bytes);
        }
        return {item};
    }
    auto lopend = std::make_unique<Lopend>();
    lopend->id = ++volgendeId_;
    lopend->draad = std::thread([naam = std::string(DisplayString(display_)), melder = venster_,
                                 l = lopend.get()] {
        Momentopname uitkomst;
        std::optional<X11Verbinding> eigen;
        try {
            eigen.emplace(naam.c_str());
            XSetWindowAttributes kenmerken{};
            kenmerken.event_mask = PropertyChangeMask;
            const Window venster = XCreateWindow(eigen->display(), eigen->wortel(), -10, -10, 1, 1,
                                                 0, 0, InputOnly, nullptr, CWEventMask, &kenmerken);
            uitkomst = haalMomentopname(*eigen, venster, eigen->atoom("CLIPBOARD"));
            XDestroyWindow(eigen->display(), venster);
        } catch (const std::exception&) {
            // No second connection: nothing could be copied; the paste still goes ahead.
        }
        {
            const std::lock_guard slot(l->slot);
            l->uitkomst = std::move(uitkomst);
            l->klaar = true;
        }
        // Wakes the main loop: the change is reported on our main window's connection.
        if (eigen) {
            const unsigned char niets = 0;
            XChangeProperty(eigen->display(), melder, eigen->atoom("TOLMO_MOMENTOPNAME"), XA_STRING,
                            8, PropModeAppend, &niets, 0);
            XSync(eigen->display(), False);
        }
    });
    const auto id = lopend->id;
    lopend_ = std::move(lopend);
    return {{{std::string(wachtSleutel), std::to_string(id)}}};
}

KlembordPoort::Momentopname X11Klembord::haalMomentopname(X11Verbinding& verbinding, Window venster,
                                                          Atom selectie) {
    Display* display = verbinding.display();
    const auto einde = Klok::now() + momentopnameTermijn;
    const auto lijst = haal(verbinding, venster, verbinding.atoom("TARGETS"), einde, selectie);
    if (!lijst || lijst->formaat != 32 || lijst->aantal == 0) {
        return {};
    }
    std::vector<Atom> doelen(lijst->aantal);
    for (std::size_t i = 0; i < doelen.size(); ++i) {
        long a = 0;
        std::memcpy(&a, lijst->bytes.data() + i * sizeof(long), sizeof a);
        doelen[i] = static_cast<Atom>(a);
    }
    // One round trip for every name; an atom the server does not know keeps an empty name.
    std::vector<std::string> namen(doelen.size());
    {
        std::vector<char*> ruw(doelen.size(), nullptr);
        XGetAtomNames(display, doelen.data(), static_cast<int>(doelen.size()), ruw.data());
        for (std::size_t i = 0; i < ruw.size(); ++i) {
            if (ruw[i] != nullptr) {
                namen[i] = ruw[i];
                XFree(ruw[i]);
            }
        }
    }
    std::vector<std::pair<std::string, std::string>> item;
    std::vector<Atom> gehad;
    for (std::size_t i = 0; i < doelen.size() && Klok::now() < einde; ++i) {
        const std::string& naam = namen[i];
        const bool meta =
            std::find(std::begin(metaDoelen), std::end(metaDoelen), naam) != std::end(metaDoelen);
        if (naam.empty() || meta ||
            std::find(gehad.begin(), gehad.end(), doelen[i]) != gehad.end()) {
            continue;
        }
        gehad.push_back(doelen[i]);
        if (auto e = haal(verbinding, venster, doelen[i], einde, selectie)) {
            const std::string type = e->type == doelen[i] ? naam : verbinding.atoomNaam(e->type);
            item.emplace_back(sleutel(naam, type, e->formaat), std::move(e->bytes));
        }
    }
    if (item.empty()) {
        return {};
    }
    return {item};
}

void X11Klembord::naMomentopname(std::function<void()> stap) {
    if (lopend_ || !wachtrij_.empty()) {
        wachtrij_.push_back(std::move(stap));
    } else {
        stap();
    }
}

void X11Klembord::momentopnameKlaar() const {
    if (!lopend_) {
        return;
    }
    {
        const std::lock_guard slot(lopend_->slot);
        if (!lopend_->klaar) {
            return;
        }
    }
    if (lopend_->draad.joinable()) {
        lopend_->draad.join();
    }
    gemaakt_.emplace(lopend_->id, std::move(lopend_->uitkomst));
    lopend_.reset();
    while (!wachtrij_.empty() && !lopend_) {
        auto stap = std::move(wachtrij_.front());
        wachtrij_.pop_front();
        stap();
    }
}

void X11Klembord::wachtOpMomentopname(bool vergeet) const {
    if (!lopend_) {
        return;
    }
    lopend_->draad.join();
    if (vergeet) {
        lopend_.reset();
        wachtrij_.clear();
        return;
    }
    momentopnameKlaar();
}

}  // namespace tolmo
