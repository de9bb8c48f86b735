#include "Tolmo/linux/portaal/Portaal.h"

#include <gio/gio.h>

#include <algorithm>

namespace tolmo {

namespace {

constexpr const char* dienst = "org.freedesktop.portal.Desktop";
constexpr const char* objectPad = "/org/freedesktop/portal/desktop";

std::string interfaceNaam(const std::string& kort) {
    return "org.freedesktop.portal." + kort;
}

std::string foutTekst(GError* e) {
    std::string t = e != nullptr ? e->message : "onbekende fout";
    if (e != nullptr) {
        g_error_free(e);
    }
    return t;
}

// The tuple args with the options appended as its last member; takes both references.
GVariant* metOpties(GVariant* args, GVariant* opties) {
    GVariantBuilder b;
    g_variant_builder_init(&b, G_VARIANT_TYPE_TUPLE);
    if (args != nullptr) {
        g_variant_ref_sink(args);
        GVariantIter it;
        g_variant_iter_init(&it, args);
        while (GVariant* kind = g_variant_iter_next_value(&it)) {
            g_variant_builder_add_value(&b, kind);
            g_variant_unref(kind);
        }
        g_variant_unref(args);
    }
    g_variant_builder_add_value(&b, opties);
    return g_variant_builder_end(&b);
}

}  // namespace

// A request in flight: its Response subscription and the call that started it. The portal may
// be gone when either answers; levend says so.
struct Verzoek {
    std::weak_ptr<bool> levend;
    Portaal* portaal = nullptr;
    guint abonnement = 0;
    bool beantwoord = false;
    Portaal::OpAntwoord op;

    void beantwoord_(const Portaal::Antwoord& a) {
        if (beantwoord || levend.expired()) {
            return;
        }
        beantwoord = true;
        portaal->abonnementen_.erase(abonnement);
        op(a);
    }
};

Portaal::Portaal(const std::string& appId) {
    GError* e = nullptr;
    // A connection of our own rather than GLib's shared one, at the address that holds now.
    gchar* adres = g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SESSION, nullptr, &e);
    if (adres == nullptr) {
        fout_ = "geen sessiebus: " + foutTekst(e);
        return;
    }
    bus_ = g_dbus_connection_new_for_address_sync(
        adres,
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, nullptr, &e);
    g_free(adres);
    if (bus_ == nullptr) {
        fout_ = "geen sessiebus: " + foutTekst(e);
        return;
    }
    g_dbus_connection_set_exit_on_close(bus_, FALSE);
    std::string naam = g_dbus_connection_get_unique_name(bus_);
    naam.erase(0, 1);
    std::replace(naam.begin(), naam.end(), '.', '_');
    afzender_ = naam;
    // Desktops without the registry (older portals) know the app by its desktop file alone.
    GVariant* r =
        g_dbus_connection_call_sync(bus_, dienst, objectPad, "org.freedesktop.host.portal.Registry",
                                    "Register", g_variant_new("(sa{sv})", appId.c_str(), nullptr),
                                    nullptr, G_DBUS_CALL_FLAGS_NONE, 5000, nullptr, nullptr);
    if (r != nullptr) {
        g_variant_unref(r);
    }
}

Portaal::~Portaal() {
    levend_.reset();
    for (const guint id : abonnementen_) {
        g_dbus_connection_signal_unsubscribe(bus_, id);
    }
    if (bus_ != nullptr) {
        g_dbus_connection_flush_sync(bus_, nullptr, nullptr);
        g_object_unref(bus_);
    }
}

std::uint32_t Portaal::versie(const std::string& interface) {
    if (bus_ == nullptr) {
        return 0;
    }
    if (const auto v = versies_.find(interface); v != versies_.end()) {
        return v->second;
    }
    std::uint32_t versie = 0;
    GVariant* r = g_dbus_connection_call_sync(
        bus_, dienst, objectPad, "org.freedesktop.DBus.Properties", "Get",
        g_variant_new("(ss)", interfaceNaam(interface).c_str(), "version"), G_VARIANT_TYPE("(v)"),
        G_DBUS_CALL_FLAGS_NONE, 5000, nullptr, nullptr);
    if (r != nullptr) {
        GVariant* waarde = nullptr;
        g_variant_get(r, "(v)", &waarde);
        if (g_variant_is_of_type(waarde, G_VARIANT_TYPE_UINT32)) {
            versie = g_variant_get_uint32(waarde);
        }
        g_variant_unref(waarde);
        g_variant_unref(r);
    }
    versies_[interface] = versie;
    return versie;
}

std::string Portaal::nieuwToken() {
    return "tolmo" + std::to_string(++teller_);
}

void Portaal::vraag(const std::string& interface, const std::string& methode, GVariant* args,
                    std::function<void(GVariantBuilder*)> opties, OpAntwoord op) {
    if (bus_ == nullptr) {
        if (args != nullptr) {
            g_variant_unref(g_variant_ref_sink(args));
        }
        op({3, nullptr, fout_});
        return;
    }
    const std::string token = nieuwToken();
    const std::string pad = std::string(objectPad) + "/request/" + afzender_ + "/" + token;
    auto* v = new Verzoek{levend_, this, 0, false, std::move(op)};
    // The subscription owns the request: it ends with the Response or with the portal.
    v->abonnement = g_dbus_connection_signal_subscribe(
        bus_, dienst, "org.freedesktop.portal.Request", "Response", pad.c_str(), nullptr,
        G_DBUS_SIGNAL_FLAGS_NONE,
        [](GDBusConnection* bus, const gchar*, const gchar*, const gchar*, const gchar*,
           GVariant* parameters, gpointer data) {
            auto* verzoek = static_cast<Verzoek*>(data);
            guint32 code = 2;
            GVariant* resultaten = nullptr;
            g_variant_get(parameters, "(u@a{sv})", &code, &resultaten);
            verzoek->beantwoord_({code, resultaten, ""});
            g_variant_unref(resultaten);
            g_dbus_connection_signal_unsubscribe(bus, verzoek->abonnement);
        },
        v, [](gpointer data) { delete static_cast<Verzoek*>(data); });
    abonnementen_.insert(v->abonnement);

    GVariantBuilder b;
    g_variant_builder_init(&b, G_VARIANT_TYPE_VARDICT);
    g_variant_builder_add(&b, "{sv}", "handle_token", g_variant_new_string(token.c_str()));
    if (opties) {
        opties(&b);
    }
    struct Aanroep {
        std::weak_ptr<bool> levend;
        guint abonnement;
        Verzoek* verzoek;
    };
    g_dbus_connection_call(
        bus_, dienst, objectPad, interfaceNaam(interface).c_str(), methode.c_str(),
        metOpties(args, g_variant_builder_end(&b)), G_VARIANT_TYPE("(o)"), G_DBUS_CALL_FLAGS_NONE,
        -1, nullptr,
        [](GObject* bron, GAsyncResult* resultaat, gpointer data) {
            std::unique_ptr<Aanroep> a(static_cast<Aanroep*>(data));
            GError* e = nullptr;
            GVariant* r = g_dbus_connection_call_finish(G_DBUS_CONNECTION(bron), resultaat, &e);
            if (r != nullptr) {
                g_variant_unref(r);
                return;
            }
            const std::string fout = foutTekst(e);
            if (a->levend.expired()) {
                return;
            }
            // No Response will come: the request ends here.
            a->verzoek->beantwoord_({3, nullptr, fout});
            g_dbus_connection_signal_unsubscribe(G_DBUS_CONNECTION(bron), a->abonnement);
        },
        new Aanroep{levend_, v->abonnement, v});
}

void Portaal::maakSessie(const std::string& interface, std::function<void(GVariantBuilder*)> opties,
                         std::function<void(const std::string&, const Antwoord&)> op) {
    const std::string token = nieuwToken();
    vraag(
        interface, "CreateSession", nullptr,
        [token, opties = std::move(opties)](GVariantBuilder* b) {
            g_variant_builder_add(b, "{sv}", "session_handle_token",
                                  g_variant_new_string(token.c_str()));
            if (opties) {
                opties(b);
            }
        },
        [op = std::move(op)](const Antwoord& a) {
            std::string sessie;
            if (a.code == 0 && a.resultaten != nullptr) {
                const gchar* h = nullptr;
                if (g_variant_lookup(a.resultaten, "session_handle", "&s", &h) ||
                    g_variant_lookup(a.resultaten, "session_handle", "&o", &h)) {
                    sessie = h;
                }
            }
            op(sessie, a);
        });
}

GVariant* Portaal::roep(const std::string& interface, const std::string& methode, GVariant* args,
                        std::string& fout) {
    if (bus_ == nullptr) {
        g_variant_unref(g_variant_ref_sink(args));
        fout = fout_;
        return nullptr;
    }
    GError* e = nullptr;
    GVariant* r = g_dbus_connection_call_sync(
        bus_, dienst, objectPad, interfaceNaam(interface).c_str(), methode.c_str(), args, nullptr,
        G_DBUS_CALL_FLAGS_NONE, 5000, nullptr, &e);
    if (r == nullptr) {
        fout = foutTekst(e);
    }
    return r;
}

Portaal::Abonnement::~Abonnement() {
    g_dbus_connection_signal_unsubscribe(bus_, id_);
}

std::unique_ptr<Portaal::Abonnement> Portaal::volg(const std::string& interface,
                                                   const std::string& signaal, OpSignaal op,
                                                   const std::string& pad) {
    if (bus_ == nullptr) {
        return nullptr;
    }
    auto functie = std::make_unique<OpSignaal>(std::move(op));
    const guint id = g_dbus_connection_signal_subscribe(
        bus_, dienst, interfaceNaam(interface).c_str(), signaal.c_str(),
        pad.empty() ? objectPad : pad.c_str(), nullptr, G_DBUS_SIGNAL_FLAGS_NONE,
        [](GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar*,
           GVariant* parameters, gpointer data) { (*static_cast<OpSignaal*>(data))(parameters); },
        functie.get(), nullptr);
    return std::make_unique<Abonnement>(bus_, id, std::move(functie));
}

void Portaal::sluit(const std::string& sessie) {
    if (bus_ == nullptr || sessie.empty()) {
        return;
    }
    g_dbus_connection_call(bus_, dienst, sessie.c_str(), "org.freedesktop.portal.Session", "Close",
                           nullptr, nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr, nullptr);
}

}  // namespace tolmo
