#include "cli/DicteerOpdracht.h"

#include <atomic>
#include <chrono>
#include <exception>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>

#include <nlohmann/json.hpp>

#include "Tolmo/linux/freedesktop/Sleutelopslag.h"
#include "TolmoKern/Audio/FormaatKeuze.h"
#include "TolmoKern/Keten/Geannuleerd.h"
#include "TolmoKern/Keten/TolmoKeten.h"
#include "TolmoKern/Opschonen/StijlBepaling.h"
#include "TolmoKern/Tekst/Tekst.h"
#include "TolmoKern/Transcriptie/CurlTransport.h"
#include "TolmoKern/Transcriptie/HerkenningsFout.h"
#include "TolmoKern/Transcriptie/NetwerkTranscriptie.h"
#include "TolmoKern/Transcriptie/StroomUpload.h"
#include "cli/CliOpslag.h"
#include "cli/DicteerOpname.h"
#include "cli/Onderbreking.h"
#include "cli/Statusregel.h"
#include "cli/VoortgangTransport.h"

namespace tolmo::cli {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

struct Keuzes {
    std::optional<fs::path> bestand;
    bool microfoon = false;
    std::optional<Motor> motor;
    std::optional<Aanbieder> aanbieder;
    std::optional<Stijl> stijl;
    std::optional<std::string> app;
    std::optional<Opschoonniveau> niveau;
    std::optional<AudioFormaat> formaat;
    bool zonderOpschonen = false;
    bool json = false;
};

// "openai, mistral, test of tolmo"
template <typename E, std::size_t N>
std::string opsomming(const RuweWaarden<E, N>& waarden) {
    std::string s;
    for (std::size_t i = 0; i < N; ++i) {
        s += (i == 0 ? "" : i + 1 == N ? " of " : ", ");
        s += waarden.rijen[i].second;
    }
    return s;
}

template <typename E, std::size_t N>
E kies(const std::string& optie, const std::string& waarde, const RuweWaarden<E, N>& waarden) {
    if (const auto e = waarden.zoek(waarde)) {
        return *e;
    }
    throw GebruiksFout("Ongeldige waarde \"" + waarde + "\" voor " + optie + ". Kies " +
                       opsomming(waarden) + ".");
}

Keuzes leesKeuzes(const std::vector<std::string>& args) {
    Keuzes k;
    bool alleenBestanden = false;
    const auto zetBestand = [&k](const std::string& a) {
        if (k.bestand) {
            throw GebruiksFout("Geef één audiobestand, niet meer. Zie tolmo dicteer --help.");
        }
        k.bestand = a;
    };
    for (std::size_t i = 0; i < args.size(); ++i) {
        std::string optie = args[i];
        if (alleenBestanden || !optie.starts_with("-") || optie == "-") {
            zetBestand(optie);
            continue;
        }
        if (optie == "--") {
            alleenBestanden = true;
            continue;
        }
        // Both --motor test and --motor=test.
        std::optional<std::string> waarde;
        if (const auto is = optie.find('='); optie.starts_with("--") && is != std::string::npos) {
            waarde = optie.substr(is + 1);
            optie.resize(is);
        }
        const auto neemWaarde = [&](const std::string& mogelijk) {
            if (waarde) {
                return *waarde;
            }
            if (i + 1 >= args.size()) {
                throw GebruiksFout("De optie " + optie + " heeft een waarde nodig: " + mogelijk +
                                   ".");
            }
            return args[++i];
        };
        const auto zonderWaarde = [&] {
            if (waarde) {
                throw GebruiksFout("De optie " + optie + " heeft geen waarde.");
            }
        };
        if (optie == "--motor") {
            k.motor = kies(optie, neemWaarde(opsomming(motorWaarden)), motorWaarden);
        } else if (optie == "--aanbieder") {
            k.aanbieder = kies(optie, neemWaarde(opsomming(aanbiederWaarden)), aanbiederWaarden);
        } else if (optie == "--stijl") {
            k.stijl = kies(optie, neemWaarde(opsomming(stijlWaarden)), stijlWaarden);
        } else if (optie == "--niveau") {
            k.niveau =
                kies(optie, neemWaarde(opsomming(opschoonniveauWaarden)), opschoonniveauWaarden);
        } else if (optie == "--formaat") {
            k.formaat =
                kies(optie, neemWaarde(opsomming(audioFormaatWaarden)), audioFormaatWaarden);
        } else if (optie == "--app") {
            k.app = neemWaarde("de bundle-id van een app, zoals com.apple.mail");
            if (k.app->empty()) {
                throw GebruiksFout(
                    "De optie --app heeft een bundle-id nodig, zoals "
                    "com.apple.mail.");
            }
        } else if (optie == "--microfoon") {
            zonderWaarde();
            k.microfoon = true;
        } else if (optie == "--zonder-opschonen") {
            zonderWaarde();
            k.zonderOpschonen = true;
        } else if (optie == "--json") {
            zonderWaarde();
            k.json = true;
        } else {
            throw GebruiksFout("Onbekende optie \"" + optie + "\". Zie tolmo dicteer --help.");
        }
    }
    if (k.microfoon && k.bestand) {
        throw GebruiksFout("Geef een audiobestand of --microfoon, niet allebei.");
    }
    if (!k.microfoon && !k.bestand) {
        throw GebruiksFout("Geef een audiobestand of --microfoon. Zie tolmo dicteer --help.");
    }
    return k;
}

TolmoInstellingen laadInstellingen(CliOmgeving& o) {
    return CliOpslag(o).gedeeld().laad();
}

// Deletes the temporary recording whatever happens after it was made.
struct TijdelijkBestand {
    fs::path pad;
    ~TijdelijkBestand() {
        std::error_code ec;
        if (!pad.empty()) {
            fs::remove(pad, ec);
        }
    }
};

// A file that cannot be a dictation gets a message about the file, not about a recording.
void controleerBestand(const Opname& opname, const fs::path& pad) {
    const AudioMeting& m = opname.meting;
    if (m.aantalSamples == 0) {
        throw InvoerFout("Het bestand " + pad.string() + " bevat geen audio.");
    }
    if (m.duur() < NetwerkTranscriptie::minimaleDuur) {
        throw InvoerFout("Het bestand " + pad.string() + " is te kort om te dicteren (" +
                         Tekst::getalNL("%.2f", m.duur()) + " s; minstens " +
                         Tekst::getalNL("%.1f", NetwerkTranscriptie::minimaleDuur) + " s nodig).");
    }
    if (m.niveauDB() <= AudioMeting::vloerDB) {
        throw InvoerFout("Het bestand " + pad.string() + " is helemaal stil.");
    }
}

template <typename T>
nlohmann::json ofNull(const std::optional<T>& w) {
    return w ? nlohmann::json(*w) : nlohmann::json(nullptr);
}

nlohmann::json alsJson(const KetenResultaat& r) {
    const Tijden& t = r.tijden;
    return {
        {"tekst", r.tekst},
        {"ruw", r.ruw},
        {"tijden",
         {{"opname", t.opname},
          {"transcriptie", ofNull(t.transcriptie)},
          {"opschonen", ofNull(t.opschonen)},
          {"opschonenOvergeslagen", ofNull(t.opschonenOvergeslagen)},
          {"opschonenHerhaald", ofNull(t.opschonenHerhaald)},
          {"opschoonVerwerking", ofNull(t.opschoonVerwerking)},
          {"opschoonDienstTijd", ofNull(t.opschoonDienstTijd)},
          {"totaal", ofNull(t.totaal)},
          {"tekst", t.tekst()}}},
        {"opschoonProbleem", ofNull(r.opschoonProbleem)},
        {"toepassingen", r.toepassingen},
    };
}

void meldKetenFout(CliOmgeving& o, const HerkenningsFout& f) {
    o.fout << f.melding() << "\n";
    // The message is written for the app; here the key lives in the command's own vault.
    if (f.soort() == HerkenningsFout::Soort::geenSleutel && f.aanbieder()) {
        o.fout << "Bewaar hem hier met: tolmo sleutel zet " << aanbiederCode(*f.aanbieder())
               << ".\n";
    } else if (f.soort() == HerkenningsFout::Soort::geenToegangscode) {
        o.fout << "Bewaar hem hier met: tolmo sleutel zet server.\n";
    }
}

// Opens the key store when the chain first asks for a key: the test engine needs none, and a
// keyring costs a round trip to another process (and may move the file's keys) on opening.
class KluisBijGebruik final : public SleutelKluis {
  public:
    explicit KluisBijGebruik(const CliOmgeving& omgeving) : omgeving_(omgeving) {}
    [[nodiscard]] std::optional<std::string> sleutel(Aanbieder aanbieder) const override {
        return open().sleutel(aanbieder);
    }
    [[nodiscard]] std::optional<std::string> toegangscode() const override {
        return open().toegangscode();
    }

  private:
    const Sleutelbeheer& open() const {
        if (!kluis_) {
            kluis_ = openSleutelbeheer(omgeving_.configMap, omgeving_.omgeving);
        }
        return *kluis_;
    }
    const CliOmgeving& omgeving_;
    mutable std::unique_ptr<Sleutelbeheer> kluis_;
};

}  // namespace

const char* DicteerOpdracht::hulp() {
    return "Gebruik: tolmo dicteer BESTAND [OPTIES]\n"
           "        tolmo dicteer --microfoon [OPTIES]\n"
           "\n"
           "Stuurt een audiobestand (elk formaat dat libsndfile leest: wav, flac, ogg, …) of een\n"
           "opname van de microfoon door de hele dicteerketen en drukt de tekst af. Het geluid\n"
           "wordt eerst omgezet naar 16 kHz mono, net als een opname in de app. Instellingen en\n"
           "sleutels komen uit tolmo instellingen en tolmo sleutel.\n"
           "\n"
           "  --microfoon            neemt de standaardmicrofoon op; Enter stopt, Ctrl-C "
           "annuleert\n"
           "                         (dan wordt er niets verstuurd)\n"
           "  --motor MOTOR          openai, mistral, test (geen netwerk) of tolmo (de "
           "Tolmo-server)\n"
           "  --aanbieder AANBIEDER  openai of mistral: de dienst achter de Tolmo-server\n"
           "  --stijl STIJL          zakelijk, neutraal, los of letterlijk\n"
           "  --app BUNDLEID         de stijl die een dictaat in die app krijgt (--stijl gaat "
           "voor)\n"
           "  --niveau NIVEAU        licht of strak opschonen\n"
           "  --formaat FORMAAT      m4a (AAC, een achtste van de bytes; standaard bij elke "
           "motor\n"
           "                         behalve test) of wav (16-bit, geen codering); via de "
           "Tolmo-server\n"
           "                         stroomt m4a al tijdens het opnemen of omzetten naar de "
           "server\n"
           "  --zonder-opschonen     geen opschoning door het taalmodel\n"
           "  --json                 het hele resultaat als één JSON-object, met alle tijden\n"
           "\n"
           "Een fout in de keten geeft haar melding en afsluitstatus 1; een verkeerde optie 2;\n"
           "annuleren met Ctrl-C 130.\n";
}

int DicteerOpdracht::voerUit(const std::vector<std::string>& args, CliOmgeving& omgeving) {
    const Keuzes k = leesKeuzes(args);

    TolmoInstellingen instellingen = laadInstellingen(omgeving);
    if (k.motor) {
        instellingen.motor = *k.motor;
    }
    if (k.aanbieder) {
        instellingen.serverAanbieder = *k.aanbieder;
    }
    if (k.niveau) {
        instellingen.opschoonNiveau = *k.niveau;
    }
    if (k.zonderOpschonen) {
        instellingen.opschonen = false;
    }
    const Stijl stijl = k.stijl ? *k.stijl
                                : stijlVoorApp(k.app, StijlBepaling{instellingen.standaardStijl,
                                                                    instellingen.stijlPerApp});

    // The chain first: a missing key is reported before anyone speaks or a file is converted.
    const KluisBijGebruik kluis(omgeving);
    const auto transport = std::make_shared<VoortgangTransport>(CurlTransport::gedeeld());
    std::optional<TolmoKeten> keten;
    try {
        keten.emplace(TolmoKeten::bouw(instellingen, kluis, transport));
    } catch (const HerkenningsFout& f) {
        meldKetenFout(omgeving, f);
        return 1;
    } catch (const std::runtime_error& e) {
        // The keyring was locked and stayed so, or did not answer.
        throw InvoerFout(e.what());
    }

    std::error_code ec;
    const fs::path map = fs::temp_directory_path(ec);
    if (ec) {
        throw InvoerFout("Er is geen tijdelijke map om de opname in te zetten (" + ec.message() +
                         ").");
    }

    const AudioFormaat formaat = k.formaat.value_or(opnameFormaat(instellingen.motor));
    // Through the relay an m4a recording goes out while it is made or converted, so that at its
    // end only the tail is left to send. Dropped unfinished (Ctrl-C, a bad file), the relay
    // keeps nothing of it.
    std::unique_ptr<LopendeUpload> upload;
    const NaStart naStart = [&](const fs::path& bestand) {
        if (instellingen.motor == Motor::tolmo && formaat == AudioFormaat::m4a) {
            upload =
                StroomUpload::begin(TolmoKeten::bouw(instellingen, kluis, transport).transcriptie,
                                    bestand, formaat, instellingen.woorden);
        }
    };
    Onderbreking onderbreking;
    std::optional<Opname> opname;
    if (k.microfoon) {
        opname = neemMicrofoonOp(omgeving, onderbreking, instellingen, formaat, map, naStart);
        if (!opname) {
            omgeving.fout << "Opname geannuleerd. Er is niets verstuurd.\n";
            return onderbreking.afsluitstatus();
        }
    } else {
        opname = zetBestandOm(*k.bestand, formaat, map, naStart);
    }
    const TijdelijkBestand weg{opname->bestand};
    if (opname->onvolledig) {
        throw InvoerFout("Het omzetten naar 16 kHz mono ging mis; er is niets verstuurd.");
    }
    if (onderbreking.signaal() != 0) {
        omgeving.fout << "Dicteren geannuleerd. Er is niets verstuurd.\n";
        return onderbreking.afsluitstatus();
    }
    if (k.bestand) {
        controleerBestand(*opname, *k.bestand);
    }
    if (upload) {
        upload->rondAf(*opname);
        keten->transcriptie = std::move(upload);
    }

    // The chain runs on a worker so that this thread can draw progress and turn Ctrl-C into a
    // stop request, which aborts a transfer at once.
    StopBron stop;
    std::optional<KetenResultaat> resultaat;
    std::exception_ptr fout;
    std::atomic<bool> klaar{false};
    {
        Draad werker([&] {
            try {
                resultaat = keten->verwerk(*opname, stijl, stop.token());
            } catch (...) {
                fout = std::current_exception();
            }
            klaar = true;
            onderbreking.wek();
        });
        Statusregel regel(omgeving.fout, omgeving.foutIsTerminal);
        const auto begin = Klok::now();
        while (!klaar) {
            if (onderbreking.wacht(100ms)) {
                stop.vraagStop();
            }
            // Short dictations finish before anything would be worth showing.
            if (!klaar && Klok::now() - begin > 400ms) {
                regel.toon(voortgangsregel(transport->stand(), begin));
            }
        }
    }

    if (fout) {
        try {
            std::rethrow_exception(fout);
        } catch (const Geannuleerd&) {
            omgeving.fout << "Dicteren geannuleerd.\n";
            return onderbreking.afsluitstatus();
        } catch (const HerkenningsFout& f) {
            meldKetenFout(omgeving, f);
            return 1;
        } catch (const std::exception& e) {
            throw InvoerFout("Dicteren ging mis (" + std::string(e.what()) + ").");
        }
    }
    if (k.json) {
        // One line, so that a script reads one result per line.
        omgeving.uit
            << alsJson(*resultaat).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace)
            << "\n";
        return 0;
    }
    omgeving.uit << resultaat->tekst << "\n";
    if (const auto& p = resultaat->opschoonProbleem) {
        std::string reden = *p;
        if (reden.ends_with(".")) {
            reden.pop_back();
        }
        omgeving.fout << "De tekst is niet opgeschoond (" << reden << ").\n";
    }
    return 0;
}

}  // namespace tolmo::cli
