#include "Tolmo/MacRegelaar/DictaatRegelaar.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <system_error>
#include <utility>

#include "Tolmo/MacRegelaar/SysteemFout.h"
#include "Tolmo/MacRegelaar/WoordSuggesties.h"
#include "TolmoKern/Audio/OpnameFout.h"
#include "TolmoKern/Keten/Geannuleerd.h"
#include "TolmoKern/Opschonen/StijlBepaling.h"
#include "TolmoKern/Tekst/Tekst.h"

namespace tolmo {

namespace {

constexpr const char* geenMicrofoon = "Microfoon staat uit. Zie Instellingen > Toestemmingen.";
constexpr const char* geenInvoerMelding = "Opname starten mislukt. Is er een microfoon?";
constexpr const char* opnemenMislukt = "Opnemen lukte niet. Probeer het opnieuw.";
// Anything the chain throws that is not one of its own errors; never expected.
constexpr const char* verwerkenMislukt = "Verwerken mislukt. Probeer het opnieuw.";
constexpr const char* zonderToestemming = "Zonder toestemming kan Tolmo niet dicteren.";

std::string janee(bool b) {
    return b ? "ja" : "nee";
}

// The Dutch description of whatever a recorder or file call threw.
std::string omschrijving(const std::exception_ptr& fout) {
    try {
        std::rethrow_exception(fout);
    } catch (const OpnameFout& f) {
        return f.melding();
    } catch (const std::system_error& f) {
        return systeemFout(f.code());
    } catch (const std::exception& f) {
        return f.what();
    } catch (...) {
        return "onbekende fout";
    }
}

bool isGeenInvoer(const std::exception_ptr& fout) {
    try {
        std::rethrow_exception(fout);
    } catch (const OpnameFout& f) {
        return f.soort() == OpnameFout::Soort::geenInvoer;
    } catch (...) {
        return false;
    }
}

bool geheimVeld(const std::optional<Doel>& doel) {
    return doel && doel->veld && doel->veld->geheim();
}

// A row for the app is the user's (or the platform's) explicit choice and wins over the kind of
// field; without one the field decides (search and address fields literal). A password is taken
// down literally whatever the app.
Stijl stijlBijStart(const std::optional<Doel>& doel, const StijlBepaling& bepaling) {
    std::optional<Stijl> gekozen;
    if (doel && doel->bundleId) {
        const std::string app = Tekst::kleineLetters(*doel->bundleId);
        const auto rij = std::find_if(
            bepaling.stijlPerApp.begin(), bepaling.stijlPerApp.end(),
            [&app](const AppStijl& r) { return Tekst::kleineLetters(r.bundleId) == app; });
        if (rij != bepaling.stijlPerApp.end()) {
            gekozen = rij->stijl;
        }
    }
    if (geheimVeld(doel)) {
        gekozen = Stijl::letterlijk;
    }
    const InvoerSoort soort = doel && doel->veld ? doel->veld->soort() : InvoerSoort::gewoon;
    return stijlVoorVeld(soort, gekozen, bepaling);
}

void verwijder(const std::filesystem::path& bestand) {
    if (!bestand.empty()) {
        std::error_code genegeerd;
        std::filesystem::remove(bestand, genegeerd);
    }
}

}  // namespace

std::string DictaatRegelaar::Toestemmingsstand::tekst() const {
    return "microfoon " + janee(microfoon) + ", invoermonitoring " + janee(invoermonitoring) +
           ", toegankelijkheid " + janee(toegankelijkheid);
}

std::string_view DictaatRegelaar::tekst(Bron bron) {
    switch (bron) {
        case Bron::houdtoets:
            return "houdtoets";
        case Bron::wisselsneltoets:
            return "wisselsneltoets";
        case Bron::menu:
            return "menu";
    }
    return "menu";
}

template <typename F>
std::function<void()> DictaatRegelaar::zwak(F f) {
    return [w = std::weak_ptr<DictaatRegelaar*>(anker_), f = std::move(f)] {
        if (const auto p = w.lock()) {
            f(**p);
        }
    };
}

DictaatRegelaar::Opties DictaatRegelaar::metStandaarden(Opties o, const SleutelKluis& kluis) {
    if (!o.wandklok) {
        o.wandklok = [] {
            return std::chrono::duration_cast<std::chrono::milliseconds>(
                       std::chrono::system_clock::now().time_since_epoch())
                .count();
        };
    }
    if (!o.ketenMaker) {
        o.ketenMaker = [&kluis](const TolmoInstellingen& instellingen) {
            return TolmoKeten::bouw(instellingen, kluis, nullptr);
        };
        if (!o.verwarm) {
            o.verwarm = &TolmoKeten::verwarm;
        }
    }
    return o;
}

DictaatRegelaar::DictaatRegelaar(Poorten poorten, Opties opties)
    : p_(poorten),
      o_(metStandaarden(std::move(opties), poorten.kluis)),
      anker_(std::make_shared<DictaatRegelaar*>(this)),
      inst_(p_.groep, p_.standaard, o_.altijdViaServer),
      log_(p_.logOpslag, o_.logBron, o_.wandklok),
      diagnose_(p_.groep),
      plakker_(p_.klembord, p_.lus, p_.toestemmingen),
      aflevering_(
          plakker_, p_.focus, p_.toestemmingen, [this](const std::string& t) { log(t); },
          [this](Melding m) { toonMelding(std::move(m)); }, o_.plakToets) {}

DictaatRegelaar::~DictaatRegelaar() {
    anker_.reset();
    if (dictaat_) {
        dictaat_->stop.vraagStop();
    }
    if (opnemer_) {
        opnemer_->annuleer();
    }
}

SneltoetsMonitor::Mechanisme DictaatRegelaar::houdtoetsMechanisme() const {
    return monitor_ ? monitor_->mechanisme() : SneltoetsMonitor::Mechanisme::geen;
}

std::optional<DictaatRegelaar::Bron> DictaatRegelaar::bron() const {
    if (!dictaat_) {
        return std::nullopt;
    }
    return dictaat_->bron;
}

const std::optional<Doel>& DictaatRegelaar::plakDoel() const {
    static const std::optional<Doel> geen;
    return dictaat_ ? dictaat_->plakDoel : geen;
}

void DictaatRegelaar::luister(Luisteraar luisteraar) {
    luisteraars_.push_back(std::move(luisteraar));
}

void DictaatRegelaar::meld(Wijziging w) {
    for (const auto& l : luisteraars_) {
        l(w);
    }
}

void DictaatRegelaar::zetToestand(Toestand t) {
    if (toestand_ == t) {
        return;
    }
    toestand_ = t;
    // Esc means something only while recording; outside it the key belongs to the other apps.
    if (p_.esc != nullptr) {
        if (t == Toestand::neemtOp) {
            p_.esc->wacht(zwak([](DictaatRegelaar& r) { r.annuleer(); }));
        } else {
            p_.esc->stopWachten();
        }
    }
    meld(Wijziging::toestand);
}

void DictaatRegelaar::log(const std::string& tekst) {
    log_.schrijf(tekst);
    meld(Wijziging::logRegel);
}

void DictaatRegelaar::toonMelding(Melding melding) {
    melding_ = std::move(melding);
    p_.meldingen.toon(*melding_);
    meld(Wijziging::melding);
    meldingTaak_ = p_.lus.eenmalig(meldingDuur, zwak([](DictaatRegelaar& r) {
                                       r.melding_.reset();
                                       r.p_.meldingen.wis();
                                       r.meld(Wijziging::melding);
                                   }));
}

DictaatRegelaar::Toestemmingsstand DictaatRegelaar::leesToestemmingen() const {
    return {p_.toestemmingen.microfoon(), p_.toestemmingen.invoermonitoring(),
            p_.toestemmingen.toegankelijkheid()};
}

// ---------------------------------------------------------------------------------------------
// Launch

void DictaatRegelaar::opstarten() {
    log_.laad();
    diagnose_.laad();
    inst_.laad();
    cloudToestemming_ = CloudToestemming::laad(p_.groep);
    toestemmingen_ = leesToestemmingen();

    log(o_.appNaam + " gestart (" + o_.versie + ")");
    for (const std::string& regel : o_.startRegels) {
        log(regel);
    }
    log("Toestemmingen bij start: " + toestemmingen_.tekst());
    log(std::string("Klembord na plakken herstellen: ") +
        (inst_.klembordHerstellen() ? "aan" : "uit"));
    if (const std::size_t n = ruimOpnamesOp(); n > 0) {
        log(std::to_string(n) + " achtergebleven opname(s) verwijderd");
    }

    monitor_ = std::make_unique<SneltoetsMonitor>(p_.toetsen, p_.lus, inst_.mac().houdToets);
    monitor_->opLog = [this](const std::string& regel) { log(regel); };
    monitor_->opMechanisme = [this] { meld(Wijziging::houdtoetsMechanisme); };
    monitor_->opHoudActie = [this](SneltoetsMonitor::Actie actie) { houdActie(actie); };
    monitor_->opWissel = [this] { wissel(Bron::wisselsneltoets); };
    monitor_->start(toestemmingen_.invoermonitoring, toestemmingen_.toegankelijkheid);
    zetWisselSneltoets(inst_.mac().wisselSneltoets);

    toestemmingTimer_ = p_.lus.herhalend(toestemmingInterval,
                                         zwak([](DictaatRegelaar& r) { r.peilToestemmingen(); }));
}

std::size_t DictaatRegelaar::ruimOpnamesOp() {
    std::size_t n = 0;
    std::error_code ec;
    for (const auto& item : std::filesystem::directory_iterator(o_.opnameMap, ec)) {
        const auto& pad = item.path();
        const std::string naam = pad.filename().string();
        const std::string ext = pad.extension().string();
        if (!naam.starts_with("tolmo-") || (ext != ".m4a" && ext != ".wav") ||
            !item.is_regular_file(ec)) {
            continue;
        }
        if (std::filesystem::remove(pad, ec)) {
            ++n;
        }
    }
    return n;
}

void DictaatRegelaar::peilToestemmingen() {
    const Toestemmingsstand nu = leesToestemmingen();
    if (nu == toestemmingen_) {
        return;
    }
    const bool toetsenAnders = nu.invoermonitoring != toestemmingen_.invoermonitoring ||
                               nu.toegankelijkheid != toestemmingen_.toegankelijkheid;
    toestemmingen_ = nu;
    meld(Wijziging::toestemmingen);
    log("Toestemmingen gewijzigd: " + nu.tekst());
    // What the hold key can be watched with depends on these two.
    if (toetsenAnders && monitor_) {
        monitor_->start(nu.invoermonitoring, nu.toegankelijkheid);
    }
}

// ---------------------------------------------------------------------------------------------
// Starting

void DictaatRegelaar::houdActie(SneltoetsMonitor::Actie actie) {
    switch (actie) {
        case SneltoetsMonitor::Actie::begin:
            start(Bron::houdtoets);
            break;
        case SneltoetsMonitor::Actie::einde:
            if (dictaat_ && dictaat_->bron == Bron::houdtoets) {
                stop();
            }
            break;
        case SneltoetsMonitor::Actie::annuleer:
            if (toestand_ == Toestand::neemtOp && dictaat_ && dictaat_->bron == Bron::houdtoets) {
                annuleerOpname(true);
            }
            break;
    }
}

void DictaatRegelaar::wissel(Bron bron) {
    if (toestand_ == Toestand::klaar) {
        start(bron);
    } else if (toestand_ == Toestand::neemtOp) {
        stop();
    }
}

void DictaatRegelaar::vraagToestemming() {
    vraagOpen_ = true;
    p_.vraag.vraag("Voordat je dicteert",
                   std::string(o_.toestemming.tekst) + "\n\n" + zonderToestemming,
                   {"Akkoord", "Niet nu"}, [w = std::weak_ptr<DictaatRegelaar*>(anker_)](int knop) {
                       if (const auto p = w.lock()) {
                           (**p).toestemmingsAntwoord(knop);
                       }
                   });
}

void DictaatRegelaar::toestemmingsAntwoord(int knop) {
    vraagOpen_ = false;
    if (knop != 0) {
        log("Toestemming voor de spraakdienst: niet nu");
        toonMelding({zonderToestemming, true, std::nullopt});
        return;
    }
    CloudToestemming t;
    t.versie = o_.toestemming.versie;
    t.datum = o_.wandklok();
    t.bewaar(p_.groep);
    cloudToestemming_ = t;
    log("Toestemming gegeven voor de spraakdienst (versie " + std::to_string(t.versie) + ")");
    // The press that opened the dialog records nothing: the user has been reading, not talking.
    toonMelding({"Toestemming gegeven. Druk opnieuw om te dicteren.", false, std::nullopt});
}

void DictaatRegelaar::start(Bron bron) {
    if (toestand_ != Toestand::klaar || vraagOpen_) {
        return;
    }
    if (!cloudToestemming_ || !cloudToestemming_->geldig(o_.toestemming.versie)) {
        vraagToestemming();
        return;
    }
    if (!p_.toestemmingen.microfoon()) {
        if (toestemmingen_.microfoon) {
            toestemmingen_.microfoon = false;
            meld(Wijziging::toestemmingen);
        }
        log("Geen toestemming voor de microfoon, dictaat niet gestart");
        toonMelding({geenMicrofoon, true, std::nullopt});
        return;
    }

    Dictaat d;
    d.nummer = ++dictaatTeller_;
    d.bron = bron;
    d.instellingen = inst_.instellingen();
    d.formaat = d.instellingen.motor == Motor::test ? AudioFormaat::wav : o_.formaat;
    d.plakDoel = p_.focus.huidig();
    // The user's rows first, then what the platform knows of its common apps.
    StijlBepaling bepaling{d.instellingen.standaardStijl, d.instellingen.stijlPerApp};
    bepaling.stijlPerApp.insert(bepaling.stijlPerApp.end(), o_.platformApps.begin(),
                                o_.platformApps.end());
    d.stijl = stijlBijStart(d.plakDoel, bepaling);
    dictaatStijl_ = d.stijl;

    opnemer_ = std::make_unique<AudioOpnemer>(p_.engine, p_.omzetters, p_.schrijvers, o_.opnameMap,
                                              o_.opnemerTijd);
    opnemer_->zetNiveauKanaal(niveau_);
    try {
        opnemer_->startEngineMetRuisonderdrukking(d.instellingen.ruisonderdrukking);
    } catch (...) {
        const auto fout = std::current_exception();
        startMislukt("Opname starten mislukt: " + omschrijving(fout), isGeenInvoer(fout));
        return;
    }
    try {
        opnemer_->start(d.formaat);
    } catch (const OpnameFout& f) {
        startMislukt("Opname starten mislukt: " + f.melding(),
                     f.soort() == OpnameFout::Soort::geenInvoer);
        return;
    } catch (...) {
        // Anything else comes from creating the file.
        startMislukt("Audiobestand maken mislukt, dictaat niet gestart: " +
                         omschrijving(std::current_exception()),
                     false);
        return;
    }
    opnemer_->zetOpConfiguratieWijziging(
        [&lus = p_.lus, w = std::weak_ptr<DictaatRegelaar*>(anker_), n = d.nummer] {
            // On the audio thread with the engine's lock held: hop before touching anything.
            lus.post([w, n] {
                if (const auto p = w.lock()) {
                    (**p).audioGewijzigd(n);
                }
            });
        });

    d.begin = p_.lus.uptime();
    dictaat_ = std::move(d);
    plakt_ = false;
    zetToestand(Toestand::neemtOp);
    p_.indicator.toon();
    if (o_.verwarm) {
        o_.verwarm(dictaat_->instellingen);
    }
    if (const auto bestand = opnemer_->bestand(); o_.upload && bestand) {
        dictaat_->upload = o_.upload(dictaat_->instellingen, *bestand, dictaat_->formaat);
    }

    const char* ruis = "uit";
    if (dictaat_->instellingen.ruisonderdrukking &&
        !opnemer_->ruisonderdrukkingOvergeslagenBluetooth()) {
        ruis = opnemer_->ruisonderdrukkingActief() ? "actief" : "lukte niet";
    }
    log("Dictaat gestart (" + std::string(tekst(bron)) + ", stijl " +
        std::string(stijlWaarden.naam(dictaat_->stijl)) + ", ruisonderdrukking " + ruis + ")");
    dictaat_->diagnose = DictaatDiagnose::Dictaat::begonnen(
        o_.wandklok(), tekst(bron), stijlWaarden.naam(dictaat_->stijl), dictaat_->instellingen,
        o_.altijdViaServer, ruis);

    maximumTimer_ =
        p_.lus.eenmalig(maximumOpnameDuur,
                        zwak([n = dictaat_->nummer](DictaatRegelaar& r) { r.maximumBereikt(n); }));
}

void DictaatRegelaar::startMislukt(const std::string& regel, bool geenInvoer) {
    log(regel);
    if (opnemer_) {
        opnemer_->annuleer();
        opnemer_.reset();
    }
    toonMelding({geenInvoer ? geenInvoerMelding : opnemenMislukt, true, std::nullopt});
}

void DictaatRegelaar::maximumBereikt(std::uint64_t nummer) {
    if (toestand_ != Toestand::neemtOp || !dictaat_ || dictaat_->nummer != nummer) {
        return;
    }
    log("Opname gestopt na " + std::to_string(static_cast<int>(maximumOpnameDuur / 60)) +
        " minuten");
    stop();
}

// ---------------------------------------------------------------------------------------------
// Stopping and cancelling

void DictaatRegelaar::stop() {
    if (toestand_ != Toestand::neemtOp || !opnemer_ || !dictaat_) {
        return;
    }
    maximumTimer_.annuleer();
    const Opname opname = opnemer_->rondAf();
    if (dictaat_->upload) {
        dictaat_->upload->rondAf(opname);
    }
    p_.engine.verwijderTap();
    p_.engine.stop();
    const std::error_code schrijfFout = opnemer_->laatsteSchrijfFout();
    opnemer_.reset();

    if (opname.onvolledig) {
        // A file with a hole in it would be transcribed as if the user had said less.
        verwijder(opname.bestand);
        log("Schrijven audio mislukt, dictaat gaat niet door: " + systeemFout(schrijfFout));
        toonMelding({opnemenMislukt, true, std::nullopt});
        diagnoseer("fout", log_.regels().back().tekst);
        sluitAf();
        return;
    }
    std::error_code ec;
    const auto bytes = std::filesystem::file_size(opname.bestand, ec);
    log("Opname " + Tekst::getalNL("%.1f", opname.meting.duur()) + " s, " +
        std::to_string(ec ? 0 : bytes / 1024) + " kB");
    dictaat_->diagnose.maten["audioBytes"] = ec ? 0 : static_cast<std::int64_t>(bytes);
    dictaat_->diagnose.maten["audioMs"] = std::llround(opname.meting.duur() * 1000);
    zetToestand(Toestand::verwerken);

    std::shared_ptr<TolmoKeten> keten;
    try {
        keten = std::make_shared<TolmoKeten>(o_.ketenMaker(dictaat_->instellingen));
        if (dictaat_->upload) {
            keten->transcriptie = std::move(dictaat_->upload);
        }
    } catch (const HerkenningsFout& f) {
        verwijder(opname.bestand);
        fout(f.melding());
        return;
    } catch (const std::exception&) {
        verwijder(opname.bestand);
        fout(verwerkenMislukt);
        return;
    }
    p_.werker.start(
        [keten, opname, stijl = dictaat_->stijl, &lus = p_.lus,
         w = std::weak_ptr<DictaatRegelaar*>(anker_), n = dictaat_->nummer](StopToken stop) {
            KetenUitkomst u;
            try {
                u.resultaat = keten->verwerk(opname, stijl, stop);
            } catch (const Geannuleerd&) {
                u.geannuleerd = true;
            } catch (const HerkenningsFout& f) {
                u.fout = f;
            } catch (const std::exception& f) {
                u.andereFout = f.what();
            } catch (...) {
                u.andereFout = "onbekende fout";
            }
            // The chain is done with the file, whatever becomes of the result.
            verwijder(opname.bestand);
            lus.post([w, n, u = std::move(u)]() mutable {
                if (const auto p = w.lock()) {
                    (**p).ketenKlaar(n, std::move(u));
                }
            });
        },
        dictaat_->stop.token());
}

void DictaatRegelaar::annuleer() {
    if (toestand_ == Toestand::neemtOp) {
        annuleerOpname(false);
    } else if (toestand_ == Toestand::verwerken && !plakt_ && dictaat_) {
        // The chain stops at its next checkpoint or aborts its transfer; whatever it still
        // delivers is dropped, and nothing of it is shown.
        dictaat_->stop.vraagStop();
        log("Verwerking geannuleerd");
        diagnoseer("geannuleerd", "tijdens het verwerken");
        sluitAf();
    }
}

void DictaatRegelaar::annuleerOpname(bool korteTikOfCombinatie) {
    if (opnemer_) {
        opnemer_->annuleer();
        opnemer_.reset();
    }
    maximumTimer_.annuleer();
    p_.indicator.verberg();
    diagnoseer("geannuleerd", korteTikOfCombinatie ? "korte tik of toetscombinatie" : "opname");
    dictaat_.reset();
    zetToestand(Toestand::klaar);
    log(korteTikOfCombinatie ? "Opname geannuleerd (korte tik of toetscombinatie)"
                             : "Opname geannuleerd");
}

void DictaatRegelaar::audioGewijzigd(std::uint64_t nummer) {
    if (toestand_ != Toestand::neemtOp || !dictaat_ || dictaat_->nummer != nummer || !opnemer_) {
        return;
    }
    const bool vroeg = p_.lus.uptime() - dictaat_->begin < vlakNaStart;
    switch (opnemer_->herstartNaWijziging()) {
        case FormaatBesluit::geenDictaat:
            // The recorder had nothing running to decide about (its converter already gave up);
            // the microphone is back and stop reports what the file holds.
            log("Audio-instellingen veranderd, microfoon opnieuw gestart");
            return;
        case FormaatBesluit::ongewijzigd:
            log("Audio-instellingen veranderd, opname loopt door");
            return;
        case FormaatBesluit::omzetterVernieuwen:
            log(vroeg ? "Microfoon schakelde vlak na de start om (bijvoorbeeld Bluetooth), opnieuw "
                        "gestart met het nieuwe formaat"
                      : "Audio-instellingen veranderd, andere microfoonformaat: opname loopt door "
                        "in hetzelfde bestand");
            return;
        case FormaatBesluit::afrondenMetDeelopname:
            break;
    }
    const std::exception_ptr oorzaak = opnemer_->herstartFout();
    // No input to be found is the microphone gone; any other error is the restart failing.
    const bool onbruikbaar = !oorzaak || isGeenInvoer(oorzaak);
    if (!vroeg) {
        log(onbruikbaar ? "Audio-instellingen veranderd, microfoon niet meer bruikbaar: dictaat "
                          "afgerond met de audio tot nu toe"
                        : "Microfoon opnieuw starten mislukt, dictaat afgerond met de audio tot "
                          "nu toe: " +
                              omschrijving(oorzaak));
        stop();
        return;
    }
    // Hardly anything was said yet: sending a fraction of a second helps nobody.
    log(onbruikbaar ? "Opname onderbroken: de microfoon was vlak na de start niet bruikbaar, "
                      "niets verstuurd"
                    : "Microfoon opnieuw starten vlak na de start mislukt, niets verstuurd: " +
                          omschrijving(oorzaak));
    opnemer_->annuleer();
    opnemer_.reset();
    toonMelding({onbruikbaar ? geenInvoerMelding : opnemenMislukt, true, std::nullopt});
    diagnoseer("fout", log_.regels().back().tekst);
    sluitAf();
}

// ---------------------------------------------------------------------------------------------
// The result

void DictaatRegelaar::ketenKlaar(std::uint64_t nummer, KetenUitkomst u) {
    if (toestand_ != Toestand::verwerken || !dictaat_ || dictaat_->nummer != nummer) {
        return;  // cancelled meanwhile
    }
    if (u.geannuleerd) {
        diagnoseer("geannuleerd", "tijdens het verwerken");
        sluitAf();
    } else if (u.fout) {
        fout(u.fout->melding());
    } else if (u.andereFout) {
        fout(verwerkenMislukt);
    } else if (u.resultaat) {
        resultaat(std::move(*u.resultaat));
    }
}

void DictaatRegelaar::fout(const std::string& melding) {
    const double na = p_.lus.uptime() - dictaat_->begin;
    log("Fout: " + melding + " (na " + Tekst::getalNL("%.2f", na) + " s)");
    toonMelding({melding, true, std::nullopt});
    diagnoseer("fout", melding);
    sluitAf();
}

void DictaatRegelaar::resultaat(KetenResultaat r) {
    Dictaat& d = *dictaat_;
    r.tijden.totaal = p_.lus.uptime() - d.begin;
    if (r.opschoonProbleem) {
        log("Opschonen overgeslagen: " + *r.opschoonProbleem);
    }
    log(r.tijden.tekst());
    d.diagnose.voegTijdenToe(r.tijden);
    std::vector<std::string> voorstellen;
    if (geheimVeld(d.plakDoel)) {
        // A password goes to the clipboard only: its length stays out of the log, and it is
        // neither kept as the last dictation nor offered for the word list.
        log("Resultaat klaar voor een wachtwoordveld");
    } else {
        log("Resultaat klaar: " + std::to_string(Tekst::aantalTekens(r.ruw)) + " tekens ruw, " +
            std::to_string(Tekst::aantalTekens(r.tekst)) + " tekens klaar");
        d.diagnose.maten["tekensRuw"] = static_cast<std::int64_t>(Tekst::aantalTekens(r.ruw));
        d.diagnose.maten["tekensKlaar"] = static_cast<std::int64_t>(Tekst::aantalTekens(r.tekst));
        laatsteDictaat_ = LaatsteDictaat{r.ruw, r.tekst};
        meld(Wijziging::laatsteDictaat);
        voorstellen = WoordSuggesties::voorstellen(r.ruw, r.tekst, d.instellingen.woorden);
    }
    plakt_ = true;
    // Nothing of d is used after this call: the paster may answer at once (no accessibility).
    aflevering_.plak(r.tekst, d.plakDoel, inst_.klembordHerstellen(),
                     [this, n = d.nummer,
                      voorstellen = std::move(voorstellen)](const std::string& uitkomst) mutable {
                         if (dictaat_ && dictaat_->nummer == n) {
                             diagnoseer("afgeleverd", uitkomst);
                         }
                         geplakt(n, std::move(voorstellen));
                     });
}

void DictaatRegelaar::geplakt(std::uint64_t nummer, std::vector<std::string> voorstellen) {
    if (!voorstellen.empty()) {
        log(std::to_string(voorstellen.size()) + " voorstel(len) voor de woordenlijst");
        woordVoorstellen_ = std::move(voorstellen);
        meld(Wijziging::woordVoorstellen);
    }
    if (dictaat_ && dictaat_->nummer == nummer) {
        sluitAf();
    }
}

void DictaatRegelaar::diagnoseer(std::string uitkomst, std::string reden) {
    if (!dictaat_) {
        return;
    }
    auto& dg = dictaat_->diagnose;
    dg.stappen.emplace_back("totaal", p_.lus.uptime() - dictaat_->begin);
    dg.uitkomst = std::move(uitkomst);
    dg.reden = std::move(reden);
    diagnose_.bewaar(std::move(dg));
}

void DictaatRegelaar::sluitAf() {
    maximumTimer_.annuleer();
    p_.indicator.verberg();
    dictaat_.reset();
    plakt_ = false;
    zetToestand(Toestand::klaar);
}

}  // namespace tolmo
