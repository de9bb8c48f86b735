#include "Tolmo/linux/portaal/PortaalKlembord.h"

#include <gio/gio.h>
#include <gio/gunixfdlist.h>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>

namespace tolmo {

namespace {

constexpr const char* interfaceNaam = "Clipboard";
const std::string hintType = "x-kde-passwordManagerHint";
// How long one transfer or one read of a snapshot may take.
constexpr int termijnMs = 1000;

bool isTekstType(const std::string& mime) {
    return mime.starts_with("text/plain") || mime == "UTF8_STRING" || mime == "STRING" ||
           mime == "TEXT";
}

// The descriptor a call answers with (type h), taken out of the message's list; -1 without.
int descriptorUit(Portaal& portaal, const std::string& methode, GVariant* args) {
    GDBusConnection* bus = portaal.bus();
    if (bus == nullptr) {
        g_variant_unref(g_variant_ref_sink(args));
        return -1;
    }
    GUnixFDList* lijst = nullptr;
    GVariant* r = g_dbus_connection_call_with_unix_fd_list_sync(
        bus, "org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop",
        "org.freedesktop.portal.Clipboard", methode.c_str(), args, G_VARIANT_TYPE("(h)"),
        G_DBUS_CALL_FLAGS_NONE, termijnMs, nullptr, &lijst, nullptr, nullptr);
    int fd = -1;
    if (r != nullptr && lijst != nullptr) {
        gint32 index = -1;
        g_variant_get(r, "(h)", &index);
        fd = g_unix_fd_list_get(lijst, index, nullptr);
    }
    if (lijst != nullptr) {
        g_object_unref(lijst);
    }
    if (r != nullptr) {
        g_variant_unref(r);
    }
    return fd;
}

}  // namespace

PortaalKlembord::PortaalKlembord(PortaalToetsenbord& toetsenbord) : toetsenbord_(toetsenbord) {
    Portaal& portaal = toetsenbord_.portaal();
    const std::string sessie = toetsenbord_.sessie();
    toetsenbord_.zetOpSelectie([this] {
        eigen_.clear();
        ++teller_;
    });
    overdracht_ = portaal.volg(interfaceNaam, "SelectionTransfer", [this, sessie](GVariant* p) {
        const gchar* s = nullptr;
        const gchar* mime = nullptr;
        guint32 serienummer = 0;
        g_variant_get(p, "(&o&su)", &s, &mime, &serienummer);
        if (s != nullptr && sessie == s) {
            overdracht(mime, serienummer);
        }
    });
}

PortaalKlembord::~PortaalKlembord() {
    toetsenbord_.zetOpSelectie(nullptr);
}

void PortaalKlembord::overdracht(const std::string& mime, std::uint32_t serienummer) {
    Portaal& portaal = toetsenbord_.portaal();
    const std::string sessie = toetsenbord_.sessie();
    const auto paar =
        std::find_if(eigen_.begin(), eigen_.end(), [&](const auto& p) { return p.first == mime; });
    bool goed = false;
    const int fd = paar == eigen_.end()
                       ? -1
                       : descriptorUit(portaal, "SelectionWrite",
                                       g_variant_new("(ou)", sessie.c_str(), serienummer));
    if (fd >= 0) {
        // A reader that stops early must not end the app with SIGPIPE.
        sigset_t pijp;
        sigset_t oud;
        sigemptyset(&pijp);
        sigaddset(&pijp, SIGPIPE);
        ::pthread_sigmask(SIG_BLOCK, &pijp, &oud);
        const std::string& bytes = paar->second;
        std::size_t klaar = 0;
        while (klaar < bytes.size()) {
            const ssize_t n = ::write(fd, bytes.data() + klaar, bytes.size() - klaar);
            if (n > 0) {
                klaar += static_cast<std::size_t>(n);
            } else if (n < 0 && errno == EINTR) {
                continue;
            } else {
                break;
            }
        }
        goed = klaar == bytes.size();
        ::close(fd);
        const timespec nu{0, 0};
        while (::sigtimedwait(&pijp, nullptr, &nu) == SIGPIPE) {
        }
        ::pthread_sigmask(SIG_SETMASK, &oud, nullptr);
    }
    std::string fout;
    GVariant* r = portaal.roep(interfaceNaam, "SelectionWriteDone",
                               g_variant_new("(oub)", sessie.c_str(), serienummer, goed), fout);
    if (r != nullptr) {
        g_variant_unref(r);
    }
    if (goed && dictaat_ && plakGestuurd_ && isTekstType(mime) && opGelezen_) {
        opGelezen_();
    }
}

KlembordPoort::Momentopname PortaalKlembord::maakMomentopname() const {
    if (!eigen_.empty()) {
        return {eigen_};
    }
    Paren paren;
    Portaal& portaal = toetsenbord_.portaal();
    // Until the desktop names the types (GNOME names none for the selection the user had when
    // the session started), the ones a user's copy nearly always has are asked for: text, a web
    // page's markup, an image, copied files. A type the owner lacks answers nothing and is left
    // out.
    static const std::vector<std::string> gebruikelijk{
        "text/plain;charset=utf-8",    "text/plain", "text/html", "image/png", "text/uri-list",
        "x-special/gnome-copied-files"};
    const bool bekend = !toetsenbord_.selectieTypen().empty();
    for (const std::string& mime : bekend ? toetsenbord_.selectieTypen() : gebruikelijk) {
        const int fd =
            descriptorUit(portaal, "SelectionRead",
                          g_variant_new("(os)", toetsenbord_.sessie().c_str(), mime.c_str()));
        if (fd < 0) {
            continue;
        }
        std::string bytes;
        char blok[65536];
        for (;;) {
            pollfd p{fd, POLLIN, 0};
            if (::poll(&p, 1, termijnMs) <= 0) {
                break;
            }
            const ssize_t n = ::read(fd, blok, sizeof blok);
            if (n > 0) {
                bytes.append(blok, static_cast<std::size_t>(n));
            } else if (n == 0 || errno != EINTR) {
                break;
            }
        }
        ::close(fd);
        if (!bytes.empty() || bekend) {
            paren.emplace_back(mime, std::move(bytes));
        }
    }
    if (paren.empty()) {
        return {};
    }
    return {paren};
}

void PortaalKlembord::neem(Paren paren, bool dictaat) {
    eigen_ = std::move(paren);
    dictaat_ = dictaat;
    plakGestuurd_ = false;
    GVariantBuilder typen;
    g_variant_builder_init(&typen, G_VARIANT_TYPE_STRING_ARRAY);
    for (const auto& [mime, bytes] : eigen_) {
        g_variant_builder_add(&typen, "s", mime.c_str());
    }
    GVariantBuilder opties;
    g_variant_builder_init(&opties, G_VARIANT_TYPE_VARDICT);
    g_variant_builder_add(&opties, "{sv}", "mime_types", g_variant_builder_end(&typen));
    std::string fout;
    GVariant* r = toetsenbord_.portaal().roep(
        interfaceNaam, "SetSelection",
        g_variant_new("(o@a{sv})", toetsenbord_.sessie().c_str(), g_variant_builder_end(&opties)),
        fout);
    if (r != nullptr) {
        g_variant_unref(r);
    }
    ++teller_;
}

std::int64_t PortaalKlembord::schrijf(const std::string& tekst) {
    neem({{"text/plain;charset=utf-8", tekst}, {"text/plain", tekst}, {hintType, "secret"}}, true);
    // The desktop's clipboard keeper fetches a new selection at once: its transfers are served
    // now, before the keystroke, and so never count as the paste's.
    const auto einde = std::chrono::steady_clock::now() + beheerderStilte;
    while (std::chrono::steady_clock::now() < einde) {
        if (g_main_context_iteration(nullptr, FALSE) == FALSE) {
            g_usleep(2000);
        }
    }
    return teller_;
}

void PortaalKlembord::zetTekst(const std::string& tekst) {
    neem({{"text/plain;charset=utf-8", tekst}, {"text/plain", tekst}}, false);
}

void PortaalKlembord::herstel(const Momentopname& momentopname) {
    if (momentopname.empty() || momentopname.front().empty()) {
        neem({}, false);
        return;
    }
    neem(momentopname.front(), false);
}

void PortaalKlembord::stuurPlakToets() {
    plakGestuurd_ = true;
    toetsenbord_.stuurPlakToets(isTerminal_ && isTerminal_());
}

}  // namespace tolmo
