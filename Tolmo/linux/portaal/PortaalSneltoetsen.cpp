#include "Tolmo/linux/portaal/PortaalSneltoetsen.h"

#include <gio/gio.h>

#include <utility>

namespace tolmo {

namespace {

constexpr const char* interfaceNaam = "GlobalShortcuts";

// The flags while the hold key is down: its own device bit and its kind's.
ToetsVlaggen vlaggenVan(HoudToets h) {
    return ToetsVlaggen{apparaatVlag(h) | algemeneVlag(h)};
}

}  // namespace

PortaalSneltoetsen::PortaalSneltoetsen(Portaal& portaal, std::function<HoudToets()> houdToets)
    : portaal_(portaal), houdToets_(std::move(houdToets)), versie_(portaal.versie(interfaceNaam)) {
    if (versie_ == 0) {
        return;
    }
    // The signals carry the session; only ours count.
    const auto vanOns = [this](GVariant* p) {
        const gchar* sessie = nullptr;
        g_variant_get_child(p, 0, "&o", &sessie);
        return sessie != nullptr && sessie == sessie_;
    };
    // Activated and Deactivated carry the same: the session, the shortcut and a time stamp.
    const auto volgToets = [this, vanOns](const char* signaal, bool omlaag) {
        return portaal_.volg(interfaceNaam, signaal, [this, vanOns, omlaag](GVariant* p) {
            const gchar* id = nullptr;
            guint64 stempel = 0;
            g_variant_get_child(p, 1, "&s", &id);
            g_variant_get_child(p, 2, "t", &stempel);
            if (vanOns(p)) {
                geactiveerd(id, omlaag, stempel);
            }
        });
    };
    geactiveerd_ = volgToets("Activated", true);
    gedeactiveerd_ = volgToets("Deactivated", false);
    gewijzigd_ = portaal_.volg(interfaceNaam, "ShortcutsChanged", [this, vanOns](GVariant* p) {
        if (vanOns(p)) {
            GVariant* lijst = g_variant_get_child_value(p, 1);
            leesTriggers(lijst);
            g_variant_unref(lijst);
        }
    });
}

PortaalSneltoetsen::~PortaalSneltoetsen() {
    if (controleKlok_ != 0) {
        g_source_remove(controleKlok_);
    }
    portaal_.sluit(sessie_);
}

void PortaalSneltoetsen::bind(const PortaalTriggers& voorstel,
                              std::function<void(const std::string&)> klaar) {
    if (versie_ == 0) {
        klaar("het bureaublad heeft geen GlobalShortcuts-portaal");
        return;
    }
    const auto bindIn = [this, voorstel, klaar](const std::string& sessie) {
        GVariantBuilder lijst;
        g_variant_builder_init(&lijst, G_VARIANT_TYPE("a(sa{sv})"));
        const auto voeg = [&](const char* id, const char* beschrijving,
                              const std::optional<std::string>& trigger) {
            GVariantBuilder e;
            g_variant_builder_init(&e, G_VARIANT_TYPE_VARDICT);
            g_variant_builder_add(&e, "{sv}", "description", g_variant_new_string(beschrijving));
            if (trigger) {
                g_variant_builder_add(&e, "{sv}", "preferred_trigger",
                                      g_variant_new_string(trigger->c_str()));
            }
            g_variant_builder_add(&lijst, "(s@a{sv})", id, g_variant_builder_end(&e));
        };
        voeg(houdId, "Dicteren (vasthouden)", voorstel.houd);
        voeg(wisselId, "Dicteren aan/uit", voorstel.wissel);
        portaal_.vraag(
            interfaceNaam, "BindShortcuts",
            g_variant_new("(o@a(sa{sv})s)", sessie.c_str(), g_variant_builder_end(&lijst), ""),
            nullptr, [this, klaar](const Portaal::Antwoord& a) {
                // A desktop may answer "ended" and still have bound them: the
                // shortcuts in the answer decide.
                GVariant* gebonden = nullptr;
                if (a.resultaten != nullptr &&
                    g_variant_lookup(a.resultaten, "shortcuts", "@a(sa{sv})", &gebonden)) {
                    leesTriggers(gebonden);
                    g_variant_unref(gebonden);
                }
                if (triggers_.count(houdId) != 0 || triggers_.count(wisselId) != 0) {
                    klaar("");
                } else if (a.code == 1) {
                    klaar("je weigerde de sneltoetsen");
                } else {
                    klaar("het bureaublad bond de sneltoetsen niet" +
                          (a.fout.empty() ? "" : " (" + a.fout + ")"));
                }
            });
    };
    if (!sessie_.empty()) {
        bindIn(sessie_);
        return;
    }
    portaal_.maakSessie(
        interfaceNaam, nullptr,
        [this, bindIn, klaar](const std::string& sessie, const Portaal::Antwoord& a) {
            if (sessie.empty()) {
                klaar("geen sessie voor sneltoetsen" + (a.fout.empty() ? "" : " (" + a.fout + ")"));
                return;
            }
            sessie_ = sessie;
            bindIn(sessie);
        });
}

void PortaalSneltoetsen::leesTriggers(GVariant* shortcuts) {
    Triggers nieuw;
    GVariantIter it;
    g_variant_iter_init(&it, shortcuts);
    const gchar* id = nullptr;
    GVariant* eigenschappen = nullptr;
    while (g_variant_iter_next(&it, "(&s@a{sv})", &id, &eigenschappen)) {
        const gchar* trigger = nullptr;
        nieuw[id] =
            g_variant_lookup(eigenschappen, "trigger_description", "&s", &trigger) ? trigger : "";
        g_variant_unref(eigenschappen);
    }
    const bool anders = nieuw != triggers_;
    triggers_ = std::move(nieuw);
    if (anders && opGewijzigd_) {
        opGewijzigd_();
    }
}

bool PortaalSneltoetsen::openInstellingen() {
    if (versie_ < 2 || sessie_.empty()) {
        return false;
    }
    std::string fout;
    GVariant* r = portaal_.roep(interfaceNaam, "ConfigureShortcuts",
                                g_variant_new("(osa{sv})", sessie_.c_str(), "", nullptr), fout);
    if (r != nullptr) {
        g_variant_unref(r);
    }
    return r != nullptr;
}

void PortaalSneltoetsen::controleer(std::chrono::milliseconds duur,
                                    std::function<void(bool)> klaar) {
    rondControleAf(false);
    controle_ = std::move(klaar);
    controleGehoord_ = false;
    zetControleKlok(duur);
}

void PortaalSneltoetsen::zetControleKlok(std::chrono::milliseconds duur) {
    if (controleKlok_ != 0) {
        g_source_remove(controleKlok_);
    }
    controleKlok_ = g_timeout_add(
        static_cast<guint>(duur.count()),
        [](gpointer data) {
            auto* bron = static_cast<PortaalSneltoetsen*>(data);
            bron->controleKlok_ = 0;
            bron->rondControleAf(bron->controleGehoord_);
            return G_SOURCE_REMOVE;
        },
        this);
}

void PortaalSneltoetsen::rondControleAf(bool gehoord) {
    if (controleKlok_ != 0) {
        g_source_remove(controleKlok_);
        controleKlok_ = 0;
    }
    auto klaar = std::exchange(controle_, nullptr);
    if (!klaar) {
        return;
    }
    stil_ = !gehoord;
    klaar(gehoord);
}

void PortaalSneltoetsen::geactiveerd(const std::string& id, bool omlaag, std::uint64_t stempel) {
    stil_ = false;
    const auto nu = std::chrono::steady_clock::now();
    // A release no key could make: it came with the press. KWin 6.3 reports every shortcut so,
    // whatever the key does; a stalled loop can also read a real tap's two signals at once,
    // but then a desktop that stamps them tells them apart.
    const bool meteen =
        id == houdId && !omlaag && nu - omlaagOp_ < gelijktijdig && stempel == omlaagStempel_;
    if (id == houdId) {
        // A held key repeats its Activated (GNOME, every 30 ms): only the first is the press.
        if (omlaag && !inDruk_) {
            omlaagOp_ = nu;
            omlaagStempel_ = stempel;
        }
        inDruk_ = omlaag;
    }
    zonderLoslaten_ = zonderLoslaten_ || meteen;
    if (controle_) {
        // The check is answered by the press, and ends with its release (or a moment after the
        // press, where no release comes), so that the answer knows whether releases come. That
        // release finds the key up already and is dropped too.
        if (omlaag && !controleGehoord_) {
            controleGehoord_ = true;
            zetControleKlok(std::chrono::milliseconds(50));
        } else if (!omlaag && controleGehoord_) {
            rondControleAf(true);
        }
        return;
    }
    if (id == wisselId) {
        if (omlaag && opWissel_) {
            opWissel_();
        }
        return;
    }
    if (id != houdId) {
        return;
    }
    if (omlaag) {
        if (vergrendeld_) {
            // The press that ends a hold whose release the desktop did not report; its own
            // release follows and means nothing.
            vergrendeld_ = false;
            negeerLoslaten_ = true;
            geef(false);
        } else if (!houdOmlaag_) {
            geef(true);
        }
        return;
    }
    if (std::exchange(negeerLoslaten_, false) || !houdOmlaag_) {
        return;
    }
    if (meteen) {
        // Held until the next press: on such a desktop a press starts and the next one ends.
        vergrendeld_ = true;
        return;
    }
    geef(false);
}

void PortaalSneltoetsen::laatLos() {
    if (std::exchange(vergrendeld_, false)) {
        geef(false);
    }
}

void PortaalSneltoetsen::geef(bool omlaag) {
    houdOmlaag_ = omlaag;
    const HoudToets h = houdToets_();
    const auto code = toetscode(h);
    if (tap_ != nullptr && code) {
        tap_->geef({Soort::modificatie, *code, omlaag ? vlaggenVan(h) : ToetsVlaggen{}, false});
    }
}

std::unique_ptr<ToetsBron::Tap> PortaalSneltoetsen::maakTap(
    OpGebeurtenis opGebeurtenis, std::function<void(TapUit)> /*opUitgezet*/) {
    if (versie_ == 0) {
        return nullptr;
    }
    return std::make_unique<DoorgeefTap>(tap_, std::move(opGebeurtenis));
}

std::unique_ptr<ToetsBron::Registratie> PortaalSneltoetsen::installeerWisselHandler(
    std::function<void()> opIngedrukt) {
    opWissel_ = std::move(opIngedrukt);
    return std::make_unique<Afmelding>([this] { opWissel_ = nullptr; });
}

std::unique_ptr<ToetsBron::Registratie> PortaalSneltoetsen::registreerWissel(
    const Toetscombinatie& /*combinatie*/) {
    if (versie_ == 0) {
        return nullptr;
    }
    return std::make_unique<Afmelding>([] {});
}

ToetsVlaggen PortaalSneltoetsen::sessieVlaggen() const {
    return houdOmlaag_ ? vlaggenVan(houdToets_()) : ToetsVlaggen{};
}

const ToetsBron::Teksten& PortaalSneltoetsen::teksten() const {
    static const Teksten portaal{
        .tap = "GlobalShortcuts-portaal",
        .tapGemaakt = "sneltoetsen van het bureaublad (",
        .viaTap = "sneltoetsen van het bureaublad (GlobalShortcuts-portaal)",
        .viaMonitor = "sneltoetsen van het bureaublad (GlobalShortcuts-portaal)",
        .geen = "niets (het bureaublad heeft geen GlobalShortcuts-portaal)",
        .nietActief = "Houdtoets niet actief: het bureaublad bond de sneltoets niet",
        .tapLevertNiets = "het bureaublad meldt de sneltoets niet",
    };
    return portaal;
}

}  // namespace tolmo
