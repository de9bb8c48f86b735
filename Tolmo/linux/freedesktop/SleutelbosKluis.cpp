#include "Tolmo/linux/freedesktop/SleutelbosKluis.h"

#include <gio/gio.h>
#include <libsecret/secret.h>

#include <functional>
#include <mutex>
#include <utility>

namespace tolmo {
namespace {

constexpr const char* dienstNaam = "org.freedesktop.secrets";

struct GVrij {
    void operator()(gpointer o) const { g_object_unref(o); }
    void operator()(GError* e) const { g_error_free(e); }
    void operator()(GHashTable* t) const { g_hash_table_unref(t); }
    void operator()(GVariant* v) const { g_variant_unref(v); }
    void operator()(SecretValue* w) const { secret_value_unref(w); }
    void operator()(GMainContext* c) const { g_main_context_unref(c); }
};
template <typename T>
using GEigen = std::unique_ptr<T, GVrij>;

const SecretSchema& schema() {
    static const SecretSchema s = [] {
        SecretSchema t{};
        t.name = "app.tolmo.Sleutel";
        t.flags = SECRET_SCHEMA_NONE;
        t.attributes[0].name = "soort";
        t.attributes[0].type = SECRET_SCHEMA_ATTRIBUTE_STRING;
        return t;
    }();
    return s;
}

const char* label(Sleutelbeheer::Soort soort) {
    switch (soort) {
        case Sleutelbeheer::Soort::openai:
            return "Tolmo: OpenAI-sleutel";
        case Sleutelbeheer::Soort::mistral:
            return "Tolmo: Mistral-sleutel";
        case Sleutelbeheer::Soort::server:
            return "Tolmo: toegangscode van de Tolmo-server";
    }
    return "Tolmo";
}

// The attributes that find one kind of secret; the strings live as long as the program.
GEigen<GHashTable> attributen(Sleutelbeheer::Soort soort) {
    GEigen<GHashTable> t(g_hash_table_new(g_str_hash, g_str_equal));
    g_hash_table_insert(t.get(), const_cast<char*>("soort"),
                        const_cast<char*>(Sleutelbeheer::naam(soort).data()));
    return t;
}

using Begin = std::function<void(GCancellable*, GAsyncReadyCallback, gpointer)>;

}  // namespace

struct SleutelbosKluis::Staat {
    GEigen<GMainContext> context{g_main_context_new()};
    GEigen<GDBusConnection> verbinding;
    GEigen<SecretService> dienst;
    std::chrono::milliseconds geduld{};
    // One call at a time: a main context runs in one thread only.
    mutable std::mutex bezig;

    Staat() = default;
    Staat(const Staat&) = delete;
    Staat& operator=(const Staat&) = delete;
    ~Staat() {
        dienst.reset();
        verbinding.reset();
        // GDBus hands what the proxy's signal subscriptions held back through the context they
        // were made in, ours; without this last round it would never be freed.
        while (g_main_context_iteration(context.get(), FALSE) != FALSE) {
        }
    }

    // Runs one asynchronous call on our own context and waits for its result. After `tijd` the
    // call is cancelled (its callback still comes, with G_IO_ERROR_CANCELLED): an unlock prompt
    // nobody answers must not hold the app or the command forever.
    GEigen<GAsyncResult> wacht(const Begin& begin, std::chrono::milliseconds tijd) const {
        const std::lock_guard<std::mutex> slot(bezig);
        g_main_context_push_thread_default(context.get());
        const GEigen<GCancellable> stop(g_cancellable_new());
        GAsyncResult* klaar = nullptr;
        GSource* klok = g_timeout_source_new(static_cast<guint>(tijd.count()));
        g_source_set_callback(
            klok,
            [](gpointer c) -> gboolean {
                g_cancellable_cancel(static_cast<GCancellable*>(c));
                return G_SOURCE_REMOVE;
            },
            stop.get(), nullptr);
        g_source_attach(klok, context.get());
        begin(
            stop.get(),
            [](GObject*, GAsyncResult* r, gpointer uit) {
                *static_cast<GAsyncResult**>(uit) = static_cast<GAsyncResult*>(g_object_ref(r));
            },
            &klaar);
        while (klaar == nullptr) {
            g_main_context_iteration(context.get(), TRUE);
        }
        g_source_destroy(klok);
        g_source_unref(klok);
        g_main_context_pop_thread_default(context.get());
        return GEigen<GAsyncResult>(klaar);
    }

    // The user's message for a failed call; GLib's own text says what went wrong, never the
    // secret, which no error of the service carries.
    [[nodiscard]] std::runtime_error fout(const std::string& wat, GError* f) const {
        const GEigen<GError> eigen(f);
        if (f != nullptr && g_error_matches(f, G_IO_ERROR, G_IO_ERROR_CANCELLED)) {
            return std::runtime_error(wat + ": de sleutelbos antwoordde niet op tijd.");
        }
        std::string reden = f != nullptr ? f->message : "onbekende fout";
        if (!reden.empty() && reden.back() != '.') {
            reden += '.';
        }
        return std::runtime_error(wat + ": " + reden);
    }

    [[nodiscard]] bool naamHeeftEigenaarOfStart(std::chrono::milliseconds snel) const {
        const auto vraag = [&](const char* methode, GVariant* args, const char* type) {
            GError* f = nullptr;
            const auto r = wacht(
                [&](GCancellable* c, GAsyncReadyCallback cb, gpointer d) {
                    g_dbus_connection_call(
                        verbinding.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus",
                        "org.freedesktop.DBus", methode, args, G_VARIANT_TYPE(type),
                        G_DBUS_CALL_FLAGS_NO_AUTO_START, static_cast<int>(snel.count()), c, cb, d);
                },
                snel);
            GEigen<GVariant> antwoord(g_dbus_connection_call_finish(verbinding.get(), r.get(), &f));
            if (!antwoord) {
                throw fout("De sessiebus gaf geen antwoord", f);
            }
            return antwoord;
        };
        const auto eigenaar = vraag("NameHasOwner", g_variant_new("(s)", dienstNaam), "(b)");
        gboolean heeft = FALSE;
        g_variant_get(eigenaar.get(), "(b)", &heeft);
        if (heeft != FALSE) {
            return true;
        }
        const auto namen = vraag("ListActivatableNames", nullptr, "(as)");
        GVariantIter* it = nullptr;
        const gchar* naam = nullptr;
        bool gevonden = false;
        g_variant_get(namen.get(), "(as)", &it);
        while (g_variant_iter_loop(it, "&s", &naam) != FALSE) {
            gevonden = gevonden || std::string(naam) == dienstNaam;
        }
        g_variant_iter_free(it);
        return gevonden;
    }
};

SleutelbosKluis::SleutelbosKluis(const std::string& busAdres, BestandsKluis::Omgeving omgeving,
                                 std::optional<std::filesystem::path> oudeMap,
                                 std::chrono::milliseconds snel, std::chrono::milliseconds geduld)
    : s_(std::make_unique<Staat>()), omgeving_(std::move(omgeving)) {
    s_->geduld = geduld;
    if (oudeMap) {
        oud_.emplace(*oudeMap, BestandsKluis::Omgeving{});
    }
    GError* f = nullptr;
    auto r = s_->wacht(
        [&](GCancellable* c, GAsyncReadyCallback cb, gpointer d) {
            g_dbus_connection_new_for_address(
                busAdres.c_str(),
                static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                  G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
                nullptr, c, cb, d);
        },
        snel);
    s_->verbinding.reset(g_dbus_connection_new_for_address_finish(r.get(), &f));
    if (!s_->verbinding) {
        throw s_->fout("Geen verbinding met de sessiebus", f);
    }
    if (!s_->naamHeeftEigenaarOfStart(snel)) {
        throw GeenDienst("Er draait geen sleutelbos (Secret Service) op de sessiebus.");
    }
    // libsecret speaks over the process's session bus, which GLib finds from the same
    // environment as busAdres. (A proxy of its own over our connection is refused: the service
    // object insists on the session bus.) Starting the service may take a moment; no prompt is
    // involved yet, so a service that hangs is given up long before `geduld`.
    r = s_->wacht(
        [&](GCancellable* c, GAsyncReadyCallback cb, gpointer d) {
            secret_service_open(SECRET_TYPE_SERVICE, nullptr, SECRET_SERVICE_NONE, c, cb, d);
        },
        snel * 10);
    s_->dienst.reset(secret_service_open_finish(r.get(), &f));
    if (!s_->dienst) {
        throw s_->fout("De sleutelbos is niet te bereiken", f);
    }
    // GLib ends the whole process when its session bus goes away; a keyring that disappears
    // should cost the keys, not the app.
    g_dbus_connection_set_exit_on_close(g_dbus_proxy_get_connection(G_DBUS_PROXY(s_->dienst.get())),
                                        FALSE);
}

SleutelbosKluis::~SleutelbosKluis() = default;

std::optional<SleutelbosKluis::Gevonden> SleutelbosKluis::zoek(Soort soort) const {
    const std::string variabele(omgevingsvariabele(soort));
    if (omgeving_) {
        if (auto w = omgeving_(variabele.c_str()); w && !w->empty()) {
            return Gevonden{std::move(*w), variabele};
        }
    }
    if (auto w = uitSleutelbos(soort)) {
        return Gevonden{std::move(*w), "sleutelbos"};
    }
    return oud_ ? oud_->zoek(soort) : std::nullopt;
}

std::optional<std::string> SleutelbosKluis::uitSleutelbos(Soort soort) const {
    const auto attr = attributen(soort);
    const auto r = s_->wacht(
        [&](GCancellable* c, GAsyncReadyCallback cb, gpointer d) {
            secret_service_lookup(s_->dienst.get(), &schema(), attr.get(), c, cb, d);
        },
        s_->geduld);
    GError* f = nullptr;
    const GEigen<SecretValue> waarde(secret_service_lookup_finish(s_->dienst.get(), r.get(), &f));
    if (f != nullptr) {
        throw s_->fout("De sleutel voor " + std::string(naam(soort)) + " kon niet worden gelezen",
                       f);
    }
    if (!waarde) {
        return std::nullopt;
    }
    gsize lengte = 0;
    const gchar* tekst = secret_value_get(waarde.get(), &lengte);
    return lengte > 0 ? std::optional<std::string>(std::string(tekst, lengte)) : std::nullopt;
}

std::string SleutelbosKluis::plek() const {
    if (uitgeweken_ && oud_) {
        return oud_->plek() + ", omdat " + *uitgeweken_;
    }
    return "de sleutelbos";
}

std::optional<std::string> SleutelbosKluis::geenStandaardVerzameling(bool vraag,
                                                                     const std::string& wat) const {
    GError* f = nullptr;
    auto r = s_->wacht(
        [&](GCancellable* c, GAsyncReadyCallback cb, gpointer d) {
            secret_collection_for_alias(s_->dienst.get(), SECRET_COLLECTION_DEFAULT,
                                        SECRET_COLLECTION_NONE, c, cb, d);
        },
        s_->geduld);
    GEigen<SecretCollection> verzameling(secret_collection_for_alias_finish(r.get(), &f));
    if (f != nullptr) {
        throw s_->fout(wat, f);
    }
    if (verzameling && secret_collection_get_locked(verzameling.get()) == FALSE) {
        return std::nullopt;
    }
    if (!vraag) {
        return verzameling ? "de standaardverzameling van de sleutelbos op slot zit"
                           : "de sleutelbos geen standaardverzameling heeft";
    }
    if (!verzameling) {
        // The keyring asks for the new collection's password itself, as it does at first login.
        r = s_->wacht(
            [&](GCancellable* c, GAsyncReadyCallback cb, gpointer d) {
                secret_collection_create(s_->dienst.get(), "Login", SECRET_COLLECTION_DEFAULT,
                                         SECRET_COLLECTION_CREATE_NONE, c, cb, d);
            },
            s_->geduld);
        verzameling.reset(secret_collection_create_finish(r.get(), &f));
        if (!verzameling) {
            const GEigen<GError> weg(f);
            return "de sleutelbos geen standaardverzameling heeft en er geen kon maken";
        }
        return std::nullopt;
    }
    GList lijst{verzameling.get(), nullptr, nullptr};
    r = s_->wacht([&](GCancellable* c, GAsyncReadyCallback cb,
                      gpointer d) { secret_service_unlock(s_->dienst.get(), &lijst, c, cb, d); },
                  s_->geduld);
    const gint ontgrendeld = secret_service_unlock_finish(s_->dienst.get(), r.get(), nullptr, &f);
    const GEigen<GError> weg(f);
    if (ontgrendeld < 1) {
        return "de standaardverzameling van de sleutelbos op slot bleef";
    }
    return std::nullopt;
}

void SleutelbosKluis::zet(Soort soort, const std::string& waarde) {
    uitgeweken_.reset();
    const std::string wat =
        "De sleutel voor " + std::string(naam(soort)) + " kon niet in de sleutelbos worden bewaard";
    if (auto reden = geenStandaardVerzameling(true, wat)) {
        if (!oud_) {
            throw std::runtime_error(wat + ", omdat " + *reden + ".");
        }
        oud_->zet(soort, waarde);
        uitgeweken_ = std::move(reden);
        return;
    }
    bewaarInSleutelbos(soort, waarde);
}

void SleutelbosKluis::bewaarInSleutelbos(Soort soort, const std::string& waarde) {
    const auto attr = attributen(soort);
    const GEigen<SecretValue> geheim(
        secret_value_new(waarde.data(), static_cast<gssize>(waarde.size()), "text/plain"));
    const auto r = s_->wacht(
        [&](GCancellable* c, GAsyncReadyCallback cb, gpointer d) {
            secret_service_store(s_->dienst.get(), &schema(), attr.get(), SECRET_COLLECTION_DEFAULT,
                                 label(soort), geheim.get(), c, cb, d);
        },
        s_->geduld);
    GError* f = nullptr;
    if (secret_service_store_finish(s_->dienst.get(), r.get(), &f) == FALSE) {
        throw s_->fout("De sleutel voor " + std::string(naam(soort)) +
                           " kon niet in de sleutelbos worden bewaard",
                       f);
    }
    // The keyring holds it now; an older copy in the file must not linger there.
    if (oud_) {
        oud_->wis(soort);
    }
}

bool SleutelbosKluis::wis(Soort soort) {
    const auto attr = attributen(soort);
    const auto r = s_->wacht(
        [&](GCancellable* c, GAsyncReadyCallback cb, gpointer d) {
            secret_service_clear(s_->dienst.get(), &schema(), attr.get(), c, cb, d);
        },
        s_->geduld);
    GError* f = nullptr;
    const bool gewist = secret_service_clear_finish(s_->dienst.get(), r.get(), &f) != FALSE;
    if (f != nullptr) {
        throw s_->fout("De sleutel voor " + std::string(naam(soort)) + " kon niet worden gewist",
                       f);
    }
    const bool uitBestand = oud_ && oud_->wis(soort);
    return gewist || uitBestand;
}

int SleutelbosKluis::neemBestandOver() {
    int verhuisd = 0;
    if (!oud_) {
        return 0;
    }
    for (const Soort soort : {Soort::openai, Soort::mistral, Soort::server}) {
        const auto g = oud_->zoek(soort);
        if (!g) {
            continue;
        }
        try {
            // A key the keyring already holds was stored later than the file's copy.
            if (uitSleutelbos(soort)) {
                oud_->wis(soort);
            } else if (geenStandaardVerzameling(false, "De sleutelbos is niet te lezen")) {
                // No prompt at every start: the key stays in the file until the keyring has a
                // place for it.
                continue;
            } else {
                bewaarInSleutelbos(soort, g->waarde);
            }
            ++verhuisd;
        } catch (const std::exception&) {
            // It stays in the file, where zoek still finds it; the next start tries again.
        }
    }
    return verhuisd;
}

}  // namespace tolmo
