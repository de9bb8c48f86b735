#include "Tolmo/linux/X11Klembord.h"

#include <X11/Xatom.h>
#include <X11/extensions/XRes.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>
#include <poll.h>

#include <algorithm>
#include <cctype>
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

// Bytes per item as Xlib hands them over: 32-bit items come as longs.
std::size_t xlibBreedte(int formaat) {
    return formaat == 32 ? sizeof(long) : formaat == 16 ? sizeof(short) : 1;
}

// The client (X connection) that created a window, named by its resource base, from the
// X-Resource extension. Toolkits convert selections on unmapped helper windows of their own,
// which carry no _NET_WM_PID; the server still knows whose they are.
std::optional<XID> clientVan(Display* display, Window venster) {
    int gebeurtenis = 0;
    int fout = 0;
    if (venster == None || XResQueryExtension(display, &gebeurtenis, &fout) == 0) {
        return std::nullopt;
    }
    XResClientIdSpec vraag{venster, XRES_CLIENT_ID_XID_MASK};
    long aantal = 0;
    XResClientIdValue* waarden = nullptr;
    std::optional<XID> client;
    if (XResQueryClientIds(display, 1, &vraag, &aantal, &waarden) == Success) {
        for (long i = 0; i < aantal && !client; ++i) {
            if (XResGetClientIdType(&waarden[i]) == XRES_CLIENT_ID_XID) {
                client = waarden[i].spec.client;
            }
        }
        XResClientIdsDestroy(aantal, waarden);
    }
    return client;
}

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

std::string klein(std::string_view s) {
    std::string uit(s);
    std::transform(uit.begin(), uit.end(), uit.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
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

X11Klembord::X11Klembord(X11Verbinding& verbinding, std::vector<std::string> extraTerminals)
    : verbinding_(verbinding), display_(verbinding.display()), terminals_(standaardTerminals()) {
    terminals_.insert(terminals_.end(), extraTerminals.begin(), extraTerminals.end());
    XSetWindowAttributes kenmerken{};
    kenmerken.event_mask = PropertyChangeMask;
    venster_ = XCreateWindow(display_, verbinding.wortel(), -10, -10, 1, 1, 0, 0, InputOnly,
                             nullptr, CWEventMask, &kenmerken);
    klembord_ = verbinding.atoom("CLIPBOARD");
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
    verbinding_.vergeet(luisterId_);
    // The server gives up our ownership with the window.
    XDestroyWindow(display_, venster_);
    XFlush(display_);
}

const std::vector<std::string>& X11Klembord::standaardTerminals() {
    static const std::vector<std::string> namen{"gnome-terminal", "gnome-terminal-server",
                                                "konsole",        "kitty",
                                                "alacritty",      "xterm",
                                                "uxterm",         "wezterm",
                                                "foot",           "tilix",
                                                "terminator",     "xfce4-terminal",
                                                "urxvt",          "rxvt"};
    return namen;
}

bool X11Klembord::isTerminal(const WmKlasse& klasse, const std::vector<std::string>& terminals) {
    const auto past = [&](std::string_view deel) {
        if (deel.empty()) {
            return false;
        }
        const std::string naam = klein(deel);
        const std::size_t punt = naam.rfind('.');
        const std::string laatste = punt == std::string::npos ? naam : naam.substr(punt + 1);
        return std::any_of(terminals.begin(), terminals.end(), [&](const std::string& t) {
            const std::string k = klein(t);
            return k == naam || k == laatste;
        });
    };
    return past(klasse.instantie) || past(klasse.klasse);
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
    return teller_;
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

std::int64_t X11Klembord::schrijf(const std::string& tekst) {
    auto doelen = tekstDoelen(tekst);
    doelen.push_back({hint_, hint_, 8, std::make_shared<const std::string>("secret")});
    neem(std::move(doelen), true);
    return teller_;
}

void X11Klembord::zetTekst(const std::string& tekst) {
    neem(tekstDoelen(tekst), false);
}

void X11Klembord::herstel(const Momentopname& momentopname) {
    std::vector<Doel> doelen;
    for (const auto& item : momentopname) {
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
}

// --- Reading another owner ---

std::optional<X11Verbinding::Eigenschap> X11Klembord::haal(Atom doel,
                                                           Klok::time_point einde) const {
    XDeleteProperty(display_, venster_, ontvang_);
    XConvertSelection(display_, klembord_, doel, ontvang_, venster_, CurrentTime);
    XEvent e;
    const bool beantwoord = wachtOp(
        display_, e,
        [&](const XEvent& g) {
            return g.type == SelectionNotify && g.xselection.requestor == venster_ &&
                   g.xselection.selection == klembord_ && g.xselection.target == doel;
        },
        einde);
    if (!beantwoord || e.xselection.property == None) {
        return std::nullopt;
    }
    // Reading with delete is what asks an INCR owner for its first part.
    auto antwoord = verbinding_.leesEigenschap(venster_, ontvang_, true);
    if (!antwoord || antwoord->type != incr_) {
        return antwoord;
    }
    X11Verbinding::Eigenschap heel;
    for (;;) {
        const bool nieuw = wachtOp(
            display_, e,
            [this](const XEvent& g) {
                return g.type == PropertyNotify && g.xproperty.window == venster_ &&
                       g.xproperty.atom == ontvang_ && g.xproperty.state == PropertyNewValue;
            },
            einde);
        if (!nieuw) {
            return std::nullopt;
        }
        auto deel = verbinding_.leesEigenschap(venster_, ontvang_, true);
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
    const Window eigenaar = XGetSelectionOwner(display_, klembord_);
    if (eigenaar == None) {
        return {};
    }
    std::vector<std::pair<std::string, std::string>> item;
    if (eigenaar == venster_) {
        if (!eigen_) {
            return {};
        }
        for (const Doel& d : *eigen_) {
            item.emplace_back(
                sleutel(verbinding_.atoomNaam(d.doel), verbinding_.atoomNaam(d.type), d.formaat),
                *d.bytes);
        }
        return {item};
    }
    // Answers to a snapshot that gave up earlier would be taken for this one's.
    XEvent oud;
    while (XCheckTypedWindowEvent(display_, venster_, SelectionNotify, &oud) != 0) {
    }
    const auto einde = Klok::now() + momentopnameTermijn;
    const auto lijst = haal(targets_, einde);
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
        XGetAtomNames(display_, doelen.data(), static_cast<int>(doelen.size()), ruw.data());
        for (std::size_t i = 0; i < ruw.size(); ++i) {
            if (ruw[i] != nullptr) {
                namen[i] = ruw[i];
                XFree(ruw[i]);
            }
        }
    }
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
        if (auto e = haal(doelen[i], einde)) {
            const std::string type = e->type == doelen[i] ? naam : verbinding_.atoomNaam(e->type);
            item.emplace_back(sleutel(naam, type, e->formaat), std::move(e->bytes));
        }
    }
    if (item.empty()) {
        return {};
    }
    return {item};
}

// --- Serving other clients ---

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
            // A late answer to a snapshot that gave up.
            return e.xselection.requestor == venster_;
        case PropertyNotify:
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
    if (verzoek.selection == klembord_ && eigen_) {
        const bool gediend =
            verzoek.target == multiple_
                ? verzoek.property != None && dienMultiple(verzoek.requestor, verzoek.property)
                : dien(verzoek.requestor, verzoek.target, eigenschap);
        if (gediend) {
            antwoord.property = eigenschap;
        }
    }
    XSendEvent(display_, verzoek.requestor, False, NoEventMask,
               reinterpret_cast<XEvent*>(&antwoord));
    XFlush(display_);
    if (antwoord.property != None && gelezen_ && dictaat_ && plakTijd_) {
        const std::string doel = verbinding_.atoomNaam(verzoek.target);
        const bool uitDoelApp = verzoek.time == CurrentTime && plakClient_ &&
                                clientVan(display_, verzoek.requestor) == plakClient_;
        if (isPlakLezing({doel, dictaat_, plakTijd_, verzoek.time, uitDoelApp})) {
            plakTijd_.reset();
            // A copy: the handler may replace itself through opGelezen.
            const Gelezen gelezen = gelezen_;
            gelezen(verzoek.requestor);
        }
    }
}

bool X11Klembord::dien(Window aanvrager, Atom doel, Atom eigenschap) {
    if (doel == targets_) {
        std::vector<long> lijst{static_cast<long>(targets_), static_cast<long>(multiple_),
                                static_cast<long>(timestamp_)};
        for (const Doel& d : *eigen_) {
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
        std::find_if(eigen_->begin(), eigen_->end(), [&](const Doel& d) { return d.doel == doel; });
    if (it == eigen_->end()) {
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

bool X11Klembord::dienMultiple(Window aanvrager, Atom eigenschap) {
    const auto paren = verbinding_.leesEigenschap(aanvrager, eigenschap);
    if (!paren || paren->formaat != 32) {
        return false;
    }
    std::vector<long> lijst(paren->aantal);
    std::memcpy(lijst.data(), paren->bytes.data(), lijst.size() * sizeof(long));
    // A pair that cannot be served gets None for its property.
    for (std::size_t i = 0; i + 1 < lijst.size(); i += 2) {
        const auto doel = static_cast<Atom>(lijst[i]);
        if (doel == multiple_ || !dien(aanvrager, doel, static_cast<Atom>(lijst[i + 1]))) {
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
    if (!verbinding_.xtest()) {
        return;
    }
    wachtOpLosgelatenModifiers();
    bool terminal = false;
    plakClient_.reset();
    if (const auto actief = actiefVenster(verbinding_)) {
        plakClient_ = clientVan(display_, *actief);
        const auto klasse = leesWmKlasse(verbinding_, *actief);
        terminal = klasse && isTerminal(*klasse, terminals_);
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
    const KeyCode ctrl = code(XK_Control_L, 37);
    const KeyCode shift = code(XK_Shift_L, 50);
    const KeyCode v = code(XK_v, 55);
    XTestFakeKeyEvent(display_, ctrl, True, CurrentTime);
    if (terminal) {
        XTestFakeKeyEvent(display_, shift, True, CurrentTime);
    }
    XTestFakeKeyEvent(display_, v, True, CurrentTime);
    XTestFakeKeyEvent(display_, v, False, CurrentTime);
    if (terminal) {
        XTestFakeKeyEvent(display_, shift, False, CurrentTime);
    }
    XTestFakeKeyEvent(display_, ctrl, False, CurrentTime);
    XFlush(display_);
}

}  // namespace tolmo
