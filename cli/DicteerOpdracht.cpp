#include "cli/DicteerOpdracht.h"

#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <exception>
#include <filesystem>
#include <functional>
#include <iostream>
#include <memory>
#include <optional>
#include <thread>

#include <nlohmann/json.hpp>

#include "Tolmo/AudioOpnemer/AudioOpnemer.h"
#include "Tolmo/linux/freedesktop/Sleutelopslag.h"
#include "Tolmo/linux/pulse/BestandSchrijvers.h"
#include "Tolmo/linux/pulse/PulseAudioEngine.h"
#include "Tolmo/linux/pulse/SoxrOmzetter.h"
#include "TolmoKern/Audio/FormaatKeuze.h"
#include "TolmoKern/Audio/OpnameFout.h"
#include "TolmoKern/Keten/Geannuleerd.h"
#include "TolmoKern/Keten/TolmoKeten.h"
#include "TolmoKern/Opschonen/StijlBepaling.h"
#include "TolmoKern/Tekst/Tekst.h"
#include "TolmoKern/Transcriptie/CurlTransport.h"
#include "TolmoKern/Transcriptie/HerkenningsFout.h"
#include "TolmoKern/Transcriptie/NetwerkTranscriptie.h"
#include "TolmoKern/Transcriptie/StroomUpload.h"
#include "cli/BestandEngine.h"
#include "cli/CliOpslag.h"
#include "cli/Onderbreking.h"
#include "cli/VoortgangTransport.h"

namespace tolmo::cli {
namespace {

namespace fs = std::filesystem;
using Klok = std::chrono::steady_clock;
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

// One line on a terminal, rewritten in place; on anything else it stays silent, so logs and
// pipes get no carriage returns or escape codes.
class Statusregel {
  public:
    Statusregel(std::ostream& uit, bool actief) : uit_(uit), actief_(actief) {}
    ~Statusregel() { wis(); }
    Statusregel(const Statusregel&) = delete;
    Statusregel& operator=(const Statusregel&) = delete;

    void toon(const std::string& regel) {
        if (actief_) {
            uit_ << "\r" << regel << "\033[K" << std::flush;
            getekend_ = true;
        }
    }
    void wis() {
        if (getekend_) {
            uit_ << "\r\033[K" << std::flush;
            getekend_ = false;
        }
    }

  private:
    std::ostream& uit_;
    bool actief_;
    bool getekend_ = false;
};

double secondenSinds(Klok::time_point t) {
    return std::chrono::duration<double>(Klok::now() - t).count();
}

std::string grootte(std::int64_t bytes) {
    if (bytes < 1'000'000) {
        return Tekst::getalNL("%.0f", static_cast<double>(bytes) / 1000.0) + " kB";
    }
    return Tekst::getalNL("%.1f", static_cast<double>(bytes) / 1'000'000.0) + " MB";
}

char draaier(Klok::time_point begin) {
    static constexpr char tekens[] = {'|', '/', '-', '\\'};
    const auto stap = static_cast<std::size_t>(secondenSinds(begin) * 8);
    return tekens[stap % 4];
}

std::string voortgangsregel(const VoortgangTransport::Stand& s, Klok::time_point begin) {
    if (!s.bezig) {
        return std::string(1, draaier(begin)) + " Verwerken…";
    }
    if (!s.opschonen && s.totaal > 0 && s.verstuurd < s.totaal) {
        const auto procent = s.verstuurd * 100 / s.totaal;
        return "Versturen: " + grootte(s.verstuurd) + " van " + grootte(s.totaal) + " (" +
               std::to_string(procent) + "%)";
    }
    const std::string wat = s.opschonen ? "Opschonen" : "Wachten op de spraakdienst";
    return std::string(1, draaier(begin)) + " " + wat + "… " +
           std::to_string(static_cast<long long>(secondenSinds(begin))) + " s";
}

std::string meterregel(float niveau, Klok::time_point begin) {
    constexpr int breedte = 24;
    const int vol = static_cast<int>(niveau * breedte + 0.5F);
    std::string balk;
    for (int i = 0; i < breedte; ++i) {
        balk += i < vol ? '#' : '-';
    }
    return "Opname " + Tekst::getalNL("%.1f", secondenSinds(begin)) + " s [" + balk + "]";
}

// While the meter runs on a terminal, the Enter that stops it must not echo a new line and push
// the meter up a line; the terminal gets its settings back however the recording ends.
class ZonderEcho {
  public:
    ZonderEcho() {
        if (::isatty(STDIN_FILENO) == 1 && ::tcgetattr(STDIN_FILENO, &oud_) == 0) {
            termios nieuw = oud_;
            nieuw.c_lflag &= ~static_cast<tcflag_t>(ECHO);
            actief_ = ::tcsetattr(STDIN_FILENO, TCSANOW, &nieuw) == 0;
        }
    }
    ~ZonderEcho() {
        if (actief_) {
            ::tcsetattr(STDIN_FILENO, TCSANOW, &oud_);
        }
    }
    ZonderEcho(const ZonderEcho&) = delete;
    ZonderEcho& operator=(const ZonderEcho&) = delete;

  private:
    termios oud_{};
    bool actief_ = false;
};

// Cancels the recording (and so deletes its file) unless it was finished properly.
struct OpnameWacht {
    AudioOpnemer& opnemer;
    bool klaar = false;
    ~OpnameWacht() {
        if (!klaar) {
            opnemer.annuleer();
        }
    }
};

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

// Told the recording's file as soon as it exists, so that an upload can follow it.
using NaStart = std::function<void(const fs::path&)>;

void startOpname(AudioOpnemer& opnemer, AudioFormaat formaat, bool ruisonderdrukking,
                 const std::string& bron, const fs::path& map, const NaStart& naStart) {
    try {
        opnemer.startEngineMetRuisonderdrukking(ruisonderdrukking);
        opnemer.start(formaat);
    } catch (const OpnameFout& f) {
        if (f.soort() == OpnameFout::Soort::omzetten) {
            throw InvoerFout(bron + " kan niet worden omgezet naar 16 kHz mono.");
        }
        throw InvoerFout(f.melding());
    } catch (const std::exception& e) {
        throw InvoerFout("Er kon geen tijdelijk opnamebestand worden gemaakt in " + map.string() +
                         " (" + e.what() + ").");
    }
    if (const auto bestand = opnemer.bestand()) {
        naStart(*bestand);
    }
}

// The file through the recorder's own conversion and measurement, into a 16 kHz mono file in
// the temporary directory.
Opname zetBestandOm(const fs::path& pad, AudioFormaat formaat, const fs::path& map,
                    const NaStart& naStart) {
    BestandEngine engine(pad);
    SoxrOmzetter::Maker omzetters;
    // The file is read far faster than it plays: the writer waits for its encoder.
    BestandSchrijvers schrijvers(M4aSchrijver::Tempo::bestand);
    AudioOpnemer opnemer(engine, omzetters, schrijvers, map);
    startOpname(opnemer, formaat, false, "Het bestand " + pad.string(), map, naStart);
    OpnameWacht wacht{opnemer};
    engine.speelAf();
    Opname opname = opnemer.rondAf();
    wacht.klaar = true;
    return opname;
}

// Records the default input until Enter (or the end of standard input); nothing when the user
// cancelled with Ctrl-C, in which case the file is already gone.
std::optional<Opname> neemMicrofoonOp(CliOmgeving& o, Onderbreking& onderbreking,
                                      const TolmoInstellingen& instellingen, AudioFormaat formaat,
                                      const fs::path& map, const NaStart& naStart) {
    std::unique_ptr<PulseAudioEngine> engine;
    try {
        engine = std::make_unique<PulseAudioEngine>("tolmo");
    } catch (const std::exception& e) {
        throw InvoerFout("Er is geen verbinding met de geluidsserver (" + std::string(e.what()) +
                         "). Controleer of PulseAudio of PipeWire draait.");
    }
    SoxrOmzetter::Maker omzetters;
    BestandSchrijvers schrijvers;
    AudioOpnemer opnemer(*engine, omzetters, schrijvers, map);
    auto kanaal = std::make_shared<NiveauKanaal>();
    opnemer.zetNiveauKanaal(kanaal);
    startOpname(opnemer, formaat, instellingen.ruisonderdrukking, "De microfoon", map, naStart);
    OpnameWacht wacht{opnemer};

    o.fout << "Opname loopt. Druk op Enter om te stoppen of op Ctrl-C om te annuleren."
           << std::endl;
    const ZonderEcho zonderEcho;
    Statusregel regel(o.fout, o.foutIsTerminal);
    const auto begin = Klok::now();
    pollfd fds[2] = {{STDIN_FILENO, POLLIN, 0}, {onderbreking.fd(), POLLIN, 0}};
    for (;;) {
        regel.toon(meterregel(kanaal->lees().niveau, begin));
        const int n = ::poll(fds, 2, 50);
        if (onderbreking.signaal() != 0) {
            regel.wis();
            return std::nullopt;  // the guard cancels and deletes
        }
        if (n <= 0 || fds[0].revents == 0) {
            continue;
        }
        if ((fds[0].revents & POLLNVAL) != 0) {
            // No standard input at all: only Ctrl-C can end this.
            fds[0].fd = -1;
            continue;
        }
        char buf[256];
        const ssize_t r = ::read(STDIN_FILENO, buf, sizeof buf);
        if (r < 0 && (errno == EINTR || errno == EAGAIN)) {
            continue;
        }
        // Enter, or an input that has ended and so can never bring one.
        if (r <= 0 || std::memchr(buf, '\n', static_cast<std::size_t>(r)) != nullptr) {
            break;
        }
    }
    regel.wis();
    Opname opname = opnemer.rondAf();
    wacht.klaar = true;
    engine->stop();
    engine->verwijderTap();
    return opname;
}

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
