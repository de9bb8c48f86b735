#include "Tolmo/linux/portaal/PortaalToetsenbord.h"

#include <fcntl.h>
#include <gio/gio.h>
#include <unistd.h>

#include <fstream>

namespace tolmo {

namespace {

constexpr const char* interfaceNaam = "RemoteDesktop";
constexpr std::uint32_t toetsenbordApparaat = 1;
constexpr std::uint32_t bewaarTotIngetrokken = 2;
constexpr int controlL = 0xffe3;
constexpr int shiftL = 0xffe1;
constexpr int letterV = 0x0076;

}  // namespace

PortaalToetsenbord::PortaalToetsenbord(Portaal& portaal, std::filesystem::path tokenBestand,
                                       bool metKlembord)
    : portaal_(portaal),
      tokenBestand_(std::move(tokenBestand)),
      metKlembord_(metKlembord),
      versie_(portaal.versie(interfaceNaam)) {}

PortaalToetsenbord::~PortaalToetsenbord() {
    portaal_.sluit(sessie_);
}

bool PortaalToetsenbord::heeftToken() const {
    return !leesToken().empty();
}

std::string PortaalToetsenbord::leesToken() const {
    std::ifstream in(tokenBestand_);
    std::string token;
    std::getline(in, token);
    return token;
}

void PortaalToetsenbord::bewaarToken(const std::string& token) const {
    // Written beside and renamed over, readable by the user alone: whoever holds the token may
    // type into the user's session.
    std::error_code e;
    std::filesystem::create_directories(tokenBestand_.parent_path(), e);
    const auto nieuw = tokenBestand_.string() + ".nieuw";
    const int fd = ::open(nieuw.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (fd < 0) {
        return;
    }
    const std::string regel = token + "\n";
    const bool goed = ::write(fd, regel.data(), regel.size()) == static_cast<ssize_t>(regel.size());
    ::close(fd);
    if (goed) {
        std::filesystem::rename(nieuw, tokenBestand_, e);
    } else {
        std::filesystem::remove(nieuw, e);
    }
}

void PortaalToetsenbord::start(std::function<void(const std::string&)> klaar) {
    if (versie_ == 0) {
        klaar("het bureaublad heeft geen RemoteDesktop-portaal");
        return;
    }
    portaal_.maakSessie(
        interfaceNaam, nullptr,
        [this, klaar](const std::string& sessie, const Portaal::Antwoord& a) {
            if (sessie.empty()) {
                klaar("geen sessie voor toetsen" + (a.fout.empty() ? "" : " (" + a.fout + ")"));
                return;
            }
            sessie_ = sessie;
            gesloten_ = portaal_.volg(
                "Session", "Closed",
                [this](GVariant*) {
                    actief_ = false;
                    klembordActief_ = false;
                    if (opGesloten_) {
                        opGesloten_();
                    }
                },
                sessie_);
            if (metKlembord_) {
                eigenaar_ =
                    portaal_.volg("Clipboard", "SelectionOwnerChanged", [this](GVariant* p) {
                        const gchar* s = nullptr;
                        GVariant* opties = nullptr;
                        g_variant_get(p, "(&o@a{sv})", &s, &opties);
                        if (s != nullptr && sessie_ == s) {
                            gboolean ons = FALSE;
                            g_variant_lookup(opties, "session_is_owner", "b", &ons);
                            vanOns_ = ons != FALSE;
                            const gchar** typen = nullptr;
                            if (!vanOns_) {
                                typen_.clear();
                                if (g_variant_lookup(opties, "mime_types", "^a&s", &typen)) {
                                    for (const gchar** t = typen; *t != nullptr; ++t) {
                                        typen_.emplace_back(*t);
                                    }
                                    g_free(static_cast<gpointer>(typen));
                                }
                                if (opSelectie_) {
                                    opSelectie_();
                                }
                            }
                        }
                        g_variant_unref(opties);
                    });
                std::string fout;
                GVariant* r =
                    portaal_.roep("Clipboard", "RequestClipboard",
                                  g_variant_new("(oa{sv})", sessie_.c_str(), nullptr), fout);
                if (r != nullptr) {
                    g_variant_unref(r);
                }
            }
            // The portal hands out UUIDs and refuses the whole request for anything else, so a
            // damaged file would stop every later start; without it the desktop asks again and
            // the new token replaces the damage.
            std::string token = leesToken();
            if (!token.empty() && !g_uuid_string_is_valid(token.c_str())) {
                token.clear();
            }
            portaal_.vraag(
                interfaceNaam, "SelectDevices", g_variant_new("(o)", sessie_.c_str()),
                [token](GVariantBuilder* b) {
                    g_variant_builder_add(b, "{sv}", "types",
                                          g_variant_new_uint32(toetsenbordApparaat));
                    g_variant_builder_add(b, "{sv}", "persist_mode",
                                          g_variant_new_uint32(bewaarTotIngetrokken));
                    if (!token.empty()) {
                        g_variant_builder_add(b, "{sv}", "restore_token",
                                              g_variant_new_string(token.c_str()));
                    }
                },
                [this, klaar](const Portaal::Antwoord& gekozen) {
                    if (gekozen.code != 0) {
                        klaar("het bureaublad gaf geen toetsenbord" +
                              (gekozen.fout.empty() ? "" : " (" + gekozen.fout + ")"));
                        return;
                    }
                    portaal_.vraag(
                        interfaceNaam, "Start", g_variant_new("(os)", sessie_.c_str(), ""), nullptr,
                        [this, klaar](const Portaal::Antwoord& gestart) {
                            if (gestart.code == 1) {
                                klaar("je gaf Tolmo geen toestemming om te plakken");
                                return;
                            }
                            if (gestart.code != 0) {
                                klaar("het bureaublad startte de sessie niet" +
                                      (gestart.fout.empty() ? "" : " (" + gestart.fout + ")"));
                                return;
                            }
                            const gchar* nieuw = nullptr;
                            if (g_variant_lookup(gestart.resultaten, "restore_token", "&s",
                                                 &nieuw)) {
                                bewaarToken(nieuw);
                            }
                            gboolean klembord = FALSE;
                            g_variant_lookup(gestart.resultaten, "clipboard_enabled", "b",
                                             &klembord);
                            klembordActief_ = klembord != FALSE;
                            actief_ = true;
                            // GNOME drops the first key a new session sends, at first paste
                            // the chord's Control (and the paste is lost, or a bare "v" is
                            // typed). A Shift tap now, long before the first paste, takes that
                            // place; alone it does nothing in the app in front.
                            toets(shiftL, true);
                            toets(shiftL, false);
                            klaar("");
                        });
                });
        });
}

bool PortaalToetsenbord::toets(int keysym, bool omlaag) {
    std::string fout;
    GVariant* r = portaal_.roep(
        interfaceNaam, "NotifyKeyboardKeysym",
        g_variant_new("(oa{sv}iu)", sessie_.c_str(), nullptr, keysym, omlaag ? 1U : 0U), fout);
    if (r == nullptr) {
        return false;
    }
    g_variant_unref(r);
    return true;
}

bool PortaalToetsenbord::stuurPlakToets(bool terminal) {
    if (!actief_) {
        return false;
    }
    bool goed = toets(controlL, true);
    if (terminal) {
        goed = goed && toets(shiftL, true);
    }
    goed = goed && toets(letterV, true) && toets(letterV, false);
    // The modifiers go up whatever happened, so that no key stays down in the user's session.
    if (terminal) {
        toets(shiftL, false);
    }
    toets(controlL, false);
    return goed;
}

}  // namespace tolmo
