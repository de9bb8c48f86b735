#include "Tolmo/MacRegelaar/Aflevering.h"

#include <utility>

namespace tolmo {

namespace {

std::string redenTekst(Doel::Reden reden) {
    switch (reden) {
        case Doel::Reden::onbekendDoel:
            return "doel onbekend";
        case Doel::Reden::andereApp:
            return "andere app";
        case Doel::Reden::anderVeld:
            return "ander veld";
    }
    return "doel onbekend";
}

bool geheim(const std::optional<Doel>& doel) {
    return doel && doel->veld && doel->veld->geheim();
}

}  // namespace

Aflevering::Aflevering(Plakker& plakker, const Focus& focus, const Toestemmingen& toestemmingen,
                       Log log, Toon toon, PlakToets plakToets)
    : plakker_(plakker),
      focus_(focus),
      toestemmingen_(toestemmingen),
      log_(std::move(log)),
      toon_(std::move(toon)),
      plakToets_(std::move(plakToets)) {
    plakker_.zetOpNietGelezen([this] {
        log_("Plakken niet gelezen door de app: tekst blijft op het klembord");
        toon_({"Tekst staat op je klembord. Plak met " + toets().teken + ".", false, std::nullopt});
    });
}

PlakToets Aflevering::toets() const {
    if (const auto naam = plakker_.plakToetsNaam()) {
        return {*naam, *naam};
    }
    return plakToets_;
}

void Aflevering::plak(const std::string& tekst, const std::optional<Doel>& plakDoel, bool herstel,
                      Klaar klaar) {
    // The target is judged twice: now, against a switch while the chain worked, and again by
    // the paster just before it pastes (it may wait for an earlier paste's restore).
    // A password field never gets a paste, at the start or now: the text waits on the clipboard
    // for the user to decide, for a while (Plakker::geheimBewaartijd) when their own clipboard
    // is to come back.
    bool wachtwoord = geheim(plakDoel);
    std::optional<Doel::Reden> geweigerd;
    Plakker::DoelKlopt doelKlopt;
    if (!wachtwoord && toestemmingen_.toegankelijkheid()) {
        const auto doelNu = focus_.huidig();
        const auto nu = Doel::beslis(plakDoel, doelNu);
        wachtwoord = geheim(doelNu);
        if (!nu.plakken) {
            geweigerd = nu.reden;
            doelKlopt = [] { return false; };
        } else {
            doelKlopt = [&focus = focus_, start = plakDoel] {
                const auto later = focus.huidig();
                return Doel::beslis(start, later).plakken && !geheim(later);
            };
        }
    }
    if (wachtwoord) {
        // Never logged or kept anywhere but on the clipboard, marked for clipboard managers.
        plakker_.bewaarGeheim(tekst, herstel, [this, klaar = std::move(klaar)](Plakker::Uitkomst) {
            const std::string regel = "Wachtwoordveld: niet geplakt, tekst op het klembord gezet";
            log_(regel);
            toon_(
                {"Wachtwoordveld: de tekst staat op het klembord en is niet "
                 "geplakt. Plak zelf met " +
                     toets().teken + " als je dat wilt.",
                 false, std::nullopt});
            klaar(regel);
        });
        return;
    }
    plakker_.plak(tekst, herstel, std::move(doelKlopt),
                  [this, herstel, geweigerd, klaar = std::move(klaar)](Plakker::Uitkomst u) {
                      klaar(meldUitkomst(u, herstel, geweigerd));
                  });
}

void Aflevering::rondAfNu() {
    if (const int aantal = plakker_.rondAfNu(); aantal > 0) {
        log_("Afsluiten: " +
             (aantal == 1 ? std::string("1 dictaat") : std::to_string(aantal) + " dictaten") +
             " niet geplakt, tekst op het klembord gezet");
        toon_({"Tekst staat op je klembord. Plak met " + toets().teken + ".", false, std::nullopt});
    }
}

std::string Aflevering::meldUitkomst(Plakker::Uitkomst uitkomst, bool herstel,
                                     std::optional<Doel::Reden> geweigerd) {
    std::string regel;
    std::optional<Melding> melding;
    switch (uitkomst) {
        case Plakker::Uitkomst::verstuurd:
            regel = toets().log + (herstel ? " verstuurd, vorig klembord wordt teruggezet"
                                           : " verstuurd, tekst blijft op het klembord");
            break;
        case Plakker::Uitkomst::opKlembord:
            regel = "Geen Toegankelijkheid: tekst op het klembord gezet";
            melding = Melding(
                {"Plak met " + toets().teken + ". Sta Toegankelijkheid toe, dan plakt Tolmo zelf.",
                 false, "Tekst staat op het klembord"});
            break;
        case Plakker::Uitkomst::doelGewijzigd:
            if (geweigerd) {
                regel = "Niet geplakt (" + redenTekst(*geweigerd) +
                        " dan bij de start): tekst op het klembord gezet";
                melding = Melding({"Je wisselde van app of veld tijdens het verwerken. Plak met " +
                                       toets().teken + " waar je wilt.",
                                   false, "Tekst staat op je klembord"});
            } else {
                regel =
                    "Niet geplakt (doel veranderd vlak voor plakken): tekst op het klembord gezet";
                melding = Melding({"Tekst staat op je klembord. Plak met " + toets().teken + ".",
                                   false, std::nullopt});
            }
            break;
    }
    log_(regel);
    if (melding) {
        toon_(std::move(*melding));
    }
    return regel;
}

}  // namespace tolmo
