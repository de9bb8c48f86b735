#include "Tolmo/MacRegelaar/DictaatRegelaar.h"

#include <algorithm>
#include <string>

#include "TolmoKern/Tekst/Tekst.h"

// The controller's settings: every change is stored at once and announced to the shell.
namespace tolmo {

void DictaatRegelaar::zetKlembordHerstellen(bool aan) {
    inst_.zetKlembordHerstellen(aan);
    meld(Wijziging::macInstellingen);
    log(std::string("Klembord na plakken herstellen: ") + (aan ? "aan" : "uit"));
}

void DictaatRegelaar::zetToonBalk(bool aan) {
    inst_.zetToonBalk(aan);
    meld(Wijziging::macInstellingen);
}

void DictaatRegelaar::wijzigInstellingen(const std::function<void(TolmoInstellingen&)>& wijziging) {
    inst_.wijzig(wijziging);
    meld(Wijziging::instellingen);
}

void DictaatRegelaar::zetHoudToets(HoudToets toets) {
    MacInstellingen mac = inst_.mac();
    mac.houdToets = toets;
    inst_.zetMac(mac);
    // The monitor drops a hold it was following; a recording that hold started goes with it.
    if (toestand_ == Toestand::neemtOp && dictaat_ && dictaat_->bron == Bron::houdtoets) {
        annuleerOpname(false);
    }
    if (monitor_) {
        monitor_->zetHoudToets(toets);
    }
    meld(Wijziging::macInstellingen);
}

bool DictaatRegelaar::zetWisselSneltoets(const std::optional<Toetscombinatie>& combinatie) {
    if (!monitor_) {
        return false;
    }
    if (!monitor_->registreerWissel(combinatie) && combinatie) {
        const std::string tekst = "Sneltoets " + combinatie->weergave() + " is al in gebruik";
        log(tekst);
        toonMelding({tekst, true, std::nullopt});
        // The combination that worked before keeps working.
        if (inst_.mac().wisselSneltoets != combinatie) {
            monitor_->registreerWissel(inst_.mac().wisselSneltoets);
        }
        return false;
    }
    if (inst_.mac().wisselSneltoets != combinatie) {
        MacInstellingen mac = inst_.mac();
        mac.wisselSneltoets = combinatie;
        inst_.zetMac(mac);
        meld(Wijziging::macInstellingen);
    }
    return true;
}

void DictaatRegelaar::pauzeerWisselSneltoets(bool pauze) {
    if (!monitor_) {
        return;
    }
    if (pauze) {
        monitor_->verwijderWissel();
    } else {
        zetWisselSneltoets(inst_.mac().wisselSneltoets);
    }
}

void DictaatRegelaar::afsluiten() {
    if (toestand_ == Toestand::neemtOp) {
        annuleerOpname(false);
    } else {
        annuleer();
    }
    if (monitor_) {
        monitor_->stop();
        monitor_->verwijderWissel();
    }
    toestemmingTimer_.annuleer();
    aflevering_.rondAfNu();
}

void DictaatRegelaar::voegWoordToe(const std::string& woord) {
    // From the store, not the working copy: the phone may have added words since launch, and
    // the working copy carries the forced relay engine, which is not the user's choice.
    TolmoInstellingen opgeslagen = inst_.opgeslagen();
    const bool bekend = std::any_of(
        opgeslagen.woorden.begin(), opgeslagen.woorden.end(),
        [&woord](const std::string& term) { return Tekst::gelijkZonderHoofdletters(term, woord); });
    if (std::erase(woordVoorstellen_, woord) > 0) {
        meld(Wijziging::woordVoorstellen);
    }
    if (bekend) {
        toonMelding({"Staat al in de woordenlijst.", false, std::nullopt});
        return;
    }
    if (opgeslagen.woorden.size() >= maximumWoorden) {
        toonMelding({"De woordenlijst is vol (" + std::to_string(maximumWoorden) + " termen).",
                     true, std::nullopt});
        return;
    }
    const auto& nu = inst_.wijzig([&](TolmoInstellingen& t) {
        t.woorden.push_back(woord);
        t.herkomst[woord] = WoordHerkomst{"voorstel", o_.wandklok()};
    });
    meld(Wijziging::instellingen);
    log("Term toegevoegd aan de woordenlijst (" + std::to_string(nu.woorden.size()) + " termen)");
}

}  // namespace tolmo
