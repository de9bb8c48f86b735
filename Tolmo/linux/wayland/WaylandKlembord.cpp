#include "Tolmo/linux/wayland/WaylandKlembord.h"

#include <fcntl.h>
#include <linux/input-event-codes.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <sys/mman.h>
#include <unistd.h>
#include <wayland-client.h>
#include <xkbcommon/xkbcommon.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>

#include "ext-data-control-v1-client-protocol.h"
#include "virtual-keyboard-unstable-v1-client-protocol.h"
#include "wlr-data-control-unstable-v1-client-protocol.h"

namespace tolmo {

// The two data-control protocols have the same requests and events in the same order; only
// their names differ. One set of code serves both by sending each request with the interfaces
// of the protocol that was bound.
struct DataControl {
    const char* naam;
    const wl_interface* beheerder;
    const wl_interface* apparaat;
    const wl_interface* bron;
    std::uint32_t versie;
    std::uint32_t minimum;
};

namespace {

const DataControl extDataControl{"ext-data-control-v1",
                                 &ext_data_control_manager_v1_interface,
                                 &ext_data_control_device_v1_interface,
                                 &ext_data_control_source_v1_interface,
                                 1,
                                 1};
// Version 2 brings the primary selection, whose events a version-1 device does not expect;
// compositors that offer only version 1 predate the read-only clients this needs.
const DataControl wlrDataControl{"zwlr-data-control-unstable-v1",
                                 &zwlr_data_control_manager_v1_interface,
                                 &zwlr_data_control_device_v1_interface,
                                 &zwlr_data_control_source_v1_interface,
                                 2,
                                 2};

// Request numbers, equal in both protocols.
enum : std::uint32_t { maakBron = 0, geefApparaat = 1, beheerderWeg = 2 };
enum : std::uint32_t { zetSelectie = 0, apparaatWeg = 1 };
enum : std::uint32_t { biedAan = 0, bronWeg = 1 };
enum : std::uint32_t { ontvang = 0, aanbodWeg = 1 };

std::uint32_t versie(wl_proxy* p) {
    return wl_proxy_get_version(p);
}

void vernietig(wl_proxy* p, std::uint32_t opcode) {
    wl_proxy_marshal_flags(p, opcode, nullptr, versie(p), WL_MARSHAL_FLAG_DESTROY);
}

const std::string hintType = "x-kde-passwordManagerHint";

bool isTekstType(std::string_view mime) {
    return mime.starts_with("text/plain") || mime == "UTF8_STRING" || mime == "STRING" ||
           mime == "TEXT";
}

WaylandKlembord* van(void* data) {
    return static_cast<WaylandKlembord*>(data);
}

using Klok = std::chrono::steady_clock;

int overMs(Klok::time_point einde) {
    const auto rest = std::chrono::duration_cast<std::chrono::milliseconds>(einde - Klok::now());
    return static_cast<int>(std::max<std::int64_t>(0, rest.count()));
}

}  // namespace

// One data source of ours and what it answers per type.
struct WaylandKlembord::Bron {
    WaylandKlembord* eigenaar = nullptr;
    wl_proxy* proxy = nullptr;
    Paren paren;
    bool dictaat = false;
};

namespace {

const zwlr_data_control_offer_v1_listener aanbodLuisteraar = {
    .offer = [](void* data, zwlr_data_control_offer_v1* aanbod, const char* mime) {
        (void)data;
        auto* p = reinterpret_cast<wl_proxy*>(aanbod);
        // The list lives in aanbiedingen_ until the offer becomes the selection.
        if (auto* lijst = static_cast<std::vector<std::string>*>(wl_proxy_get_user_data(p))) {
            lijst->emplace_back(mime);
        }
    }};

}  // namespace

WaylandKlembord::WaylandKlembord(WaylandVerbinding& verbinding, const WaylandFocus& focus)
    : verbinding_(verbinding), focus_(focus) {
    for (const DataControl* p : {&extDataControl, &wlrDataControl}) {
        beheerder_ = static_cast<wl_proxy*>(verbinding_.bind(*p->beheerder, p->versie, p->minimum));
        if (beheerder_ != nullptr) {
            protocol_ = p;
            break;
        }
    }
    if (beheerder_ != nullptr && verbinding_.seat() != nullptr) {
        apparaat_ = wl_proxy_marshal_flags(beheerder_, geefApparaat, protocol_->apparaat,
                                           versie(beheerder_), 0, nullptr, verbinding_.seat());
        static const zwlr_data_control_device_v1_listener luisteraar = {
            .data_offer =
                [](void* data, zwlr_data_control_device_v1*, zwlr_data_control_offer_v1* a) {
                    auto* k = van(data);
                    auto* p = reinterpret_cast<wl_proxy*>(a);
                    auto& lijst = k->aanbiedingen_[p];
                    wl_proxy_add_listener(
                        p,
                        reinterpret_cast<void (**)(void)>(
                            const_cast<zwlr_data_control_offer_v1_listener*>(&aanbodLuisteraar)),
                        &lijst);
                },
            .selection =
                [](void* data, zwlr_data_control_device_v1*, zwlr_data_control_offer_v1* a) {
                    van(data)->nieuweSelectie(reinterpret_cast<wl_proxy*>(a));
                },
            .finished =
                [](void* data, zwlr_data_control_device_v1*) {
                    auto* k = van(data);
                    vernietig(k->apparaat_, apparaatWeg);
                    k->apparaat_ = nullptr;
                },
            .primary_selection =
                [](void* data, zwlr_data_control_device_v1*, zwlr_data_control_offer_v1* a) {
                    // The primary selection is not ours to keep; its offer is let go at once.
                    if (a != nullptr) {
                        auto* k = van(data);
                        auto* p = reinterpret_cast<wl_proxy*>(a);
                        k->aanbiedingen_.erase(p);
                        vernietig(p, aanbodWeg);
                    }
                },
        };
        wl_proxy_add_listener(apparaat_,
                              reinterpret_cast<void (**)(void)>(
                                  const_cast<zwlr_data_control_device_v1_listener*>(&luisteraar)),
                              this);
    }
    maakToetsenbord();
    // The seat's selection as it is now.
    verbinding_.rondreis();
}

WaylandKlembord::~WaylandKlembord() {
    for (auto& b : bronnen_) {
        vernietig(b->proxy, bronWeg);
    }
    for (auto& [p, typen] : aanbiedingen_) {
        vernietig(p, aanbodWeg);
    }
    if (selectie_ != nullptr) {
        vernietig(selectie_, aanbodWeg);
    }
    if (apparaat_ != nullptr) {
        vernietig(apparaat_, apparaatWeg);
    }
    if (beheerder_ != nullptr) {
        vernietig(beheerder_, beheerderWeg);
    }
    if (toetsenbord_ != nullptr) {
        zwp_virtual_keyboard_v1_destroy(toetsenbord_);
    }
    wl_display_flush(verbinding_.display());
}

std::string_view WaylandKlembord::protocol() const {
    return protocol_ != nullptr ? protocol_->naam : "";
}

void WaylandKlembord::nieuweSelectie(wl_proxy* aanbod) {
    ++teller_;
    if (selectie_ != nullptr) {
        vernietig(selectie_, aanbodWeg);
        selectie_ = nullptr;
    }
    selectieTypen_.clear();
    if (aanbod != nullptr) {
        const auto it = aanbiedingen_.find(aanbod);
        if (it != aanbiedingen_.end()) {
            selectieTypen_ = std::move(it->second);
            aanbiedingen_.erase(it);
            wl_proxy_set_user_data(aanbod, nullptr);
        }
        selectie_ = aanbod;
    }
}

std::int64_t WaylandKlembord::wijzigingsTeller() const {
    // Changes the compositor has reported but the loop has not handled yet count too.
    const_cast<WaylandVerbinding&>(verbinding_).verwerk();
    return teller_;
}

KlembordPoort::Momentopname WaylandKlembord::maakMomentopname() const {
    auto& zelf = const_cast<WaylandKlembord&>(*this);
    zelf.verbinding_.verwerk();
    if (bron_ != nullptr) {
        // Our own source holds the selection: its data is here already.
        return {bron_->paren};
    }
    if (selectie_ == nullptr) {
        return {};
    }
    const wl_proxy* aanbod = selectie_;
    const std::vector<std::string> typen = selectieTypen_;
    const auto einde = Klok::now() + momentopnameTermijn;
    Paren paren;
    for (const std::string& mime : typen) {
        int pijp[2];
        if (::pipe2(pijp, O_CLOEXEC | O_NONBLOCK) != 0) {
            break;
        }
        wl_proxy_marshal_flags(selectie_, ontvang, nullptr, versie(selectie_), 0, mime.c_str(),
                               pijp[1]);
        ::close(pijp[1]);
        wl_display_flush(verbinding_.display());
        std::string bytes;
        bool compleet = false;
        while (overMs(einde) > 0) {
            pollfd p[2] = {{pijp[0], POLLIN, 0}, {verbinding_.descriptor(), POLLIN, 0}};
            if (::poll(p, 2, overMs(einde)) < 0 && errno != EINTR) {
                break;
            }
            if (p[1].revents != 0) {
                // The compositor may have more to say meanwhile (a new selection replaces the
                // one being read: what was read of it stays).
                zelf.verbinding_.verwerk();
            }
            if (p[0].revents == 0) {
                continue;
            }
            char buf[65536];
            const ssize_t n = ::read(pijp[0], buf, sizeof buf);
            if (n > 0) {
                bytes.append(buf, static_cast<std::size_t>(n));
            } else if (n == 0 || (errno != EAGAIN && errno != EINTR)) {
                compleet = n == 0;
                break;
            }
        }
        ::close(pijp[0]);
        if (compleet) {
            paren.emplace_back(mime, std::move(bytes));
        }
        if (selectie_ != aanbod) {
            break;
        }
    }
    if (paren.empty()) {
        return {};
    }
    return {std::move(paren)};
}

void WaylandKlembord::neem(Paren paren, bool dictaat) {
    if (apparaat_ == nullptr) {
        return;
    }
    auto bron = std::make_unique<Bron>();
    bron->eigenaar = this;
    bron->paren = std::move(paren);
    bron->dictaat = dictaat;
    bron->proxy = wl_proxy_marshal_flags(beheerder_, maakBron, protocol_->bron, versie(beheerder_),
                                         0, nullptr);
    static const zwlr_data_control_source_v1_listener luisteraar = {
        .send =
            [](void* data, zwlr_data_control_source_v1*, const char* mime, std::int32_t fd) {
                auto* b = static_cast<Bron*>(data);
                b->eigenaar->dien(*b, mime, fd);
            },
        .cancelled =
            [](void* data, zwlr_data_control_source_v1*) {
                auto* b = static_cast<Bron*>(data);
                b->eigenaar->vergeetBron(b);
            },
    };
    wl_proxy_add_listener(bron->proxy,
                          reinterpret_cast<void (**)(void)>(
                              const_cast<zwlr_data_control_source_v1_listener*>(&luisteraar)),
                          bron.get());
    for (const auto& [mime, bytes] : bron->paren) {
        wl_proxy_marshal_flags(bron->proxy, biedAan, nullptr, versie(bron->proxy), 0, mime.c_str());
    }
    wl_proxy_marshal_flags(apparaat_, zetSelectie, nullptr, versie(apparaat_), 0, bron->proxy);
    plakGestuurd_ = false;
    bron_ = bron.get();
    bronnen_.push_back(std::move(bron));
    // Our own selection event comes back, so the count includes this change when we answer.
    verbinding_.rondreis();
    verbinding_.verwerk();
}

void WaylandKlembord::dien(Bron& bron, const char* mime, int fd) {
    const auto paar = std::find_if(bron.paren.begin(), bron.paren.end(),
                                   [&](const auto& p) { return p.first == mime; });
    if (paar != bron.paren.end()) {
        // A reader that does not empty its pipe may not hold the app up for long.
        const std::string& bytes = paar->second;
        ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) | O_NONBLOCK);
        // A reader that closes its end early (a clipboard manager that wanted only the start)
        // must not end the app with SIGPIPE: the signal is held back while we write and a
        // pending one is taken away before it is let through again.
        sigset_t pijp;
        sigset_t oud;
        sigemptyset(&pijp);
        sigaddset(&pijp, SIGPIPE);
        ::pthread_sigmask(SIG_BLOCK, &pijp, &oud);
        const auto einde = Klok::now() + schrijfTermijn;
        std::size_t klaar = 0;
        while (klaar < bytes.size()) {
            const ssize_t n = ::write(fd, bytes.data() + klaar, bytes.size() - klaar);
            if (n > 0) {
                klaar += static_cast<std::size_t>(n);
                continue;
            }
            if (n < 0 && errno != EAGAIN && errno != EINTR) {
                break;
            }
            pollfd p{fd, POLLOUT, 0};
            if (overMs(einde) == 0 || ::poll(&p, 1, overMs(einde)) <= 0) {
                break;
            }
        }
        const timespec nu{0, 0};
        while (::sigtimedwait(&pijp, nullptr, &nu) == SIGPIPE) {
        }
        ::pthread_sigmask(SIG_SETMASK, &oud, nullptr);
    }
    ::close(fd);
    // The paste's read: the text of a dictation, asked for after the keystroke went out. The
    // hint and the types clipboard managers fetch before the keystroke do not count.
    if (bron.dictaat && &bron == bron_ && plakGestuurd_ && isTekstType(mime) && opGelezen_) {
        opGelezen_();
    }
}

void WaylandKlembord::vergeetBron(Bron* bron) {
    vernietig(bron->proxy, bronWeg);
    if (bron_ == bron) {
        bron_ = nullptr;
    }
    std::erase_if(bronnen_, [bron](const auto& b) { return b.get() == bron; });
}

std::int64_t WaylandKlembord::schrijf(const std::string& tekst) {
    neem({{"text/plain;charset=utf-8", tekst},
          {"text/plain", tekst},
          {"UTF8_STRING", tekst},
          {"TEXT", tekst},
          {"STRING", tekst},
          {hintType, "secret"}},
         true);
    // Clipboard managers fetch a new selection as soon as they hear of it; their reads come
    // now, before the keystroke, and so never count as the paste's.
    const auto einde = Klok::now() + beheerderStilte;
    while (overMs(einde) > 0) {
        pollfd p{verbinding_.descriptor(), POLLIN, 0};
        if (::poll(&p, 1, overMs(einde)) > 0) {
            verbinding_.verwerk();
        }
    }
    return teller_;
}

void WaylandKlembord::zetTekst(const std::string& tekst) {
    neem({{"text/plain;charset=utf-8", tekst},
          {"text/plain", tekst},
          {"UTF8_STRING", tekst},
          {"TEXT", tekst},
          {"STRING", tekst}},
         false);
}

void WaylandKlembord::herstel(const Momentopname& momentopname) {
    if (momentopname.empty() || momentopname.front().empty()) {
        if (apparaat_ != nullptr) {
            wl_proxy_marshal_flags(apparaat_, zetSelectie, nullptr, versie(apparaat_), 0, nullptr);
            bron_ = nullptr;
            verbinding_.rondreis();
            verbinding_.verwerk();
        }
        return;
    }
    neem(momentopname.front(), false);
}

void WaylandKlembord::maakToetsenbord() {
    auto* beheerder = static_cast<zwp_virtual_keyboard_manager_v1*>(
        verbinding_.bind(zwp_virtual_keyboard_manager_v1_interface, 1));
    if (beheerder == nullptr || verbinding_.seat() == nullptr) {
        return;
    }
    // Only Ctrl, Shift and V are ever sent, so the keymap is the default one (the evdev rules'
    // US layout), whatever the user types with.
    xkb_context* context = xkb_context_new(XKB_CONTEXT_NO_ENVIRONMENT_NAMES);
    xkb_keymap* keymap = context != nullptr ? xkb_keymap_new_from_names(context, nullptr,
                                                                        XKB_KEYMAP_COMPILE_NO_FLAGS)
                                            : nullptr;
    char* tekst =
        keymap != nullptr ? xkb_keymap_get_as_string(keymap, XKB_KEYMAP_FORMAT_TEXT_V1) : nullptr;
    if (tekst != nullptr) {
        const std::size_t grootte = std::strlen(tekst) + 1;
        const int fd = ::memfd_create("tolmo-toetsen", MFD_CLOEXEC);
        if (fd >= 0 && ::write(fd, tekst, grootte) == static_cast<ssize_t>(grootte)) {
            ctrl_ = 1U << xkb_keymap_mod_get_index(keymap, XKB_MOD_NAME_CTRL);
            shift_ = 1U << xkb_keymap_mod_get_index(keymap, XKB_MOD_NAME_SHIFT);
            // One device for the app's whole life: a compositor may drop the first key of a
            // keyboard it has only just added.
            toetsenbord_ = zwp_virtual_keyboard_manager_v1_create_virtual_keyboard(
                beheerder, verbinding_.seat());
            zwp_virtual_keyboard_v1_keymap(toetsenbord_, WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1, fd,
                                           static_cast<std::uint32_t>(grootte));
        }
        if (fd >= 0) {
            ::close(fd);
        }
        std::free(tekst);
    }
    xkb_keymap_unref(keymap);
    xkb_context_unref(context);
    // The keyboard lives on without its manager.
    wl_proxy_destroy(reinterpret_cast<wl_proxy*>(beheerder));
}

void WaylandKlembord::toets(std::uint32_t code, bool omlaag, std::uint32_t modifiers) {
    const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(Klok::now() - begin_);
    zwp_virtual_keyboard_v1_key(
        toetsenbord_, static_cast<std::uint32_t>(ms.count()), code,
        omlaag ? WL_KEYBOARD_KEY_STATE_PRESSED : WL_KEYBOARD_KEY_STATE_RELEASED);
    zwp_virtual_keyboard_v1_modifiers(toetsenbord_, modifiers, 0, 0, 0);
}

void WaylandKlembord::stuurPlakToets() {
    if (toetsenbord_ == nullptr) {
        // The keystroke comes from elsewhere (the desktop's portal); the reads after it are
        // the paste's all the same.
        verbinding_.verwerk();
        plakGestuurd_ = true;
        return;
    }
    // Reads that were on their way before the keystroke are not the paste's.
    verbinding_.verwerk();
    const auto venster = focus_.actief();
    const bool terminal = venster && isTerminal(venster->appId);
    const std::uint32_t mods = terminal ? ctrl_ | shift_ : ctrl_;
    toets(KEY_LEFTCTRL, true, ctrl_);
    if (terminal) {
        toets(KEY_LEFTSHIFT, true, mods);
    }
    toets(KEY_V, true, mods);
    toets(KEY_V, false, mods);
    if (terminal) {
        toets(KEY_LEFTSHIFT, false, ctrl_);
    }
    toets(KEY_LEFTCTRL, false, 0);
    wl_display_flush(verbinding_.display());
    plakGestuurd_ = true;
}

bool WaylandKlembord::isTerminal(std::string_view appId) {
    static const std::vector<std::string_view> terminals = {
        "foot",           "footclient", "kitty",  "alacritty",  "wezterm",    "ptyxis",
        "console",        "konsole",    "xterm",  "terminal",   "terminator", "tilix",
        "gnome-terminal", "urxvt",      "st",     "blackbox",   "contour",    "rio",
        "ghostty",        "termite",    "sakura", "lxterminal", "qterminal",  "yakuake"};
    auto laatsteDeel =
        appId.substr(appId.rfind('.') == std::string_view::npos ? 0 : appId.rfind('.') + 1);
    auto gelijk = [](std::string_view a, std::string_view b) {
        return a.size() == b.size() &&
               std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
                   return std::tolower(static_cast<unsigned char>(x)) ==
                          std::tolower(static_cast<unsigned char>(y));
               });
    };
    return std::any_of(terminals.begin(), terminals.end(), [&](std::string_view t) {
        return gelijk(appId, t) || gelijk(laatsteDeel, t);
    });
}

}  // namespace tolmo
