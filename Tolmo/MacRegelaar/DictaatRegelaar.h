#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>
#include "TolmoKern/Draad/Stop.h"

#include "Tolmo/AudioOpnemer/AudioEngine.h"
#include "Tolmo/AudioOpnemer/AudioOpnemer.h"
#include "Tolmo/AudioOpnemer/AudioSchrijver.h"
#include "Tolmo/AudioOpnemer/NiveauKanaal.h"
#include "Tolmo/AudioOpnemer/Omzetter.h"
#include "Tolmo/MacRegelaar/Aflevering.h"
#include "Tolmo/MacRegelaar/CloudToestemming.h"
#include "Tolmo/MacRegelaar/DictaatDiagnose.h"
#include "Tolmo/MacRegelaar/InstellingenBeheer.h"
#include "Tolmo/MacRegelaar/Logboek.h"
#include "Tolmo/Plakker/KlembordPoort.h"
#include "Tolmo/Plakker/Plakker.h"
#include "Tolmo/Poorten/EscBron.h"
#include "Tolmo/Poorten/Focus.h"
#include "Tolmo/Poorten/HoofdLus.h"
#include "Tolmo/Poorten/LogOpslag.h"
#include "Tolmo/Poorten/Meldingen.h"
#include "Tolmo/Poorten/OpnameIndicator.h"
#include "Tolmo/Poorten/Timer.h"
#include "Tolmo/Poorten/Toestemmingen.h"
#include "Tolmo/Poorten/ToestemmingsVraag.h"
#include "Tolmo/Poorten/Werker.h"
#include "Tolmo/Sneltoetsen/SneltoetsMonitor.h"
#include "Tolmo/Sneltoetsen/ToetsBron.h"
#include "TolmoKern/Audio/AudioFormaat.h"
#include "TolmoKern/Instellingen/GedeeldeOpslag.h"
#include "TolmoKern/Instellingen/MacInstellingen.h"
#include "TolmoKern/Instellingen/SleutelKluis.h"
#include "TolmoKern/Instellingen/SleutelWaardeOpslag.h"
#include "TolmoKern/Instellingen/TolmoInstellingen.h"
#include "TolmoKern/Keten/KetenResultaat.h"
#include "TolmoKern/Keten/TolmoKeten.h"
#include "TolmoKern/Opschonen/Stijl.h"
#include "TolmoKern/Transcriptie/HerkenningsFout.h"
#include "TolmoKern/Transcriptie/LopendeUpload.h"

namespace tolmo {

// Runs one dictation at a time from key press to pasted text: consent and permission checks,
// the recording, the chain on a worker thread, the paste, the user's messages and a log line
// for every step. The desktop shells compose it with their adapters.
//
// Lives on the main thread; everything it hands out (timers, the recorder's change callback,
// the chain's task, paste callbacks) reaches it through the main loop and holds it weakly. The
// audio file of a dictation is deleted when that dictation ends, however it ends.
class DictaatRegelaar {
  public:
    enum class Toestand { klaar, neemtOp, verwerken };
    enum class Bron { houdtoets, wisselsneltoets, menu };
    // What changed, for the shells: each is reported once, on the main thread, after the
    // controller's state already shows it; the listener reads the new value from the getters.
    enum class Wijziging {
        toestand,
        melding,
        logRegel,
        laatsteDictaat,
        woordVoorstellen,
        houdtoetsMechanisme,
        toestemmingen,
        instellingen,
        macInstellingen,
    };
    using Luisteraar = std::function<void(Wijziging)>;

    struct Toestemmingsstand {
        bool microfoon = false;
        bool invoermonitoring = false;
        bool toegankelijkheid = false;

        bool operator==(const Toestemmingsstand&) const = default;
        // "microfoon ja, invoermonitoring nee, toegankelijkheid ja"
        [[nodiscard]] std::string tekst() const;
    };

    struct LaatsteDictaat {
        std::string ruw;
        std::string tekst;
        bool operator==(const LaatsteDictaat&) const = default;
    };

    // Builds the chain for one dictation; throws HerkenningsFout when it cannot.
    using KetenMaker = std::function<TolmoKeten(const TolmoInstellingen&)>;

    // Every port must outlive the controller.
    struct Poorten {
        HoofdLus& lus;
        const Toestemmingen& toestemmingen;
        ToetsBron& toetsen;
        AudioEngine& engine;
        Omzetter::Maker& omzetters;
        AudioSchrijver::Maker& schrijvers;
        KlembordPoort& klembord;
        const Focus& focus;
        ToestemmingsVraag& vraag;
        OpnameIndicator& indicator;
        Meldingen& meldingen;
        LogOpslag& logOpslag;
        Werker& werker;
        // The app group's store (settings, consent) and the app's own (the "mac." keys).
        SleutelWaardeOpslag& groep;
        SleutelWaardeOpslag& standaard;
        const SleutelKluis& kluis;
        // Where the shell can watch Esc only while a recording runs; may be absent.
        EscBron* esc = nullptr;
    };

    struct Opties {
        std::string versie;
        // Where recordings are written, and where leftovers are looked for at launch.
        std::filesystem::path opnameMap = std::filesystem::temp_directory_path();
        // What recordings for the network engines are written in. The test engine reads only
        // the recording's measurement and always gets WAV, which costs no encoder.
        AudioFormaat formaat = AudioFormaat::wav;
        std::string logBron = "mac";
        // How the start line names the app: "<appNaam> gestart (<versie>)".
        std::string appNaam = "Mac-app";
        // Lines the shell logs right after the start line: what it chose at launch and why.
        std::vector<std::string> startRegels;
        // Empty: TolmoKeten::bouw with the key vault and the shared transport.
        KetenMaker ketenMaker;
        // Called once a recording runs, to open the connection its chain will use while the
        // user speaks. With the default chain maker: TolmoKeten::verwarm; otherwise none.
        std::function<void(const TolmoInstellingen&)> verwarm;
        // Called once a recording runs: an upload of the file while it is written, or nullptr
        // for a route that sends after the release. Empty: none.
        std::function<std::unique_ptr<LopendeUpload>(const TolmoInstellingen&,
                                                     const std::filesystem::path&, AudioFormaat)>
            upload;
        // Wall-clock milliseconds since 1970 for the log and stored dates; empty: the system's.
        std::function<std::int64_t()> wandklok;
        AudioOpnemer::Tijd opnemerTijd = AudioOpnemer::Tijd::echt();
        // The Mac app dictates through the relay server whatever the stored engine; a shell
        // where the user chooses the engine turns this off.
        bool altijdViaServer = true;
        PlakToets plakToets;
        // Styles for the platform's common apps, used when the user's rows name none of them.
        std::vector<AppStijl> platformApps;
        // What the consent question says: the Mac app's text unless the shell routes otherwise.
        CloudToestemming::Tekst toestemming{CloudToestemming::huidigeVersie,
                                            CloudToestemming::tekst};
    };

    // A recording stops by itself after ten minutes.
    static constexpr double maximumOpnameDuur = 600;
    static constexpr double toestemmingInterval = 2;
    // A microphone that switches or fails this soon after the start is part of starting up (a
    // Bluetooth headset changing profile), not a change in the middle of speaking.
    static constexpr double vlakNaStart = 1.0;
    static constexpr double meldingDuur = 6;
    // The list goes into every transcription prompt and every cleanup prompt; beyond this it
    // costs more in prompt length than it gains in spelling.
    static constexpr std::size_t maximumWoorden = 200;

    DictaatRegelaar(Poorten poorten, Opties opties);
    ~DictaatRegelaar();
    DictaatRegelaar(const DictaatRegelaar&) = delete;
    DictaatRegelaar& operator=(const DictaatRegelaar&) = delete;

    // At launch: settings, start-up log lines, leftover recordings, the hotkey monitor and the
    // permission poll.
    void opstarten();

    // The triggers. start and stop ignore a call in the wrong state.
    void start(Bron bron);
    void stop();
    // Esc or the menu: drops the recording, or stops the chain while it works.
    void annuleer();
    // The toggle combination and the menu item: start when idle, stop while recording.
    void wissel(Bron bron);

    // Quitting: drops a recording or the chain's work, stops watching keys, unregisters the
    // toggle combination and puts a clipboard that is waiting to be restored back now.
    void afsluiten();
    // A line from the shell's own adapters (the desktop's portals) in the log.
    void logExtern(const std::string& tekst) { log(tekst); }

    // Listeners live as long as the controller.
    void luister(Luisteraar luisteraar);

    // Settings, each persisted at once.
    void voegWoordToe(const std::string& woord);
    // Any field of the shared record.
    void wijzigInstellingen(const std::function<void(TolmoInstellingen&)>& wijziging);
    // A hold in progress is cancelled.
    void zetHoudToets(HoudToets toets);
    // Registered at once; when the system refuses it the user is told and the previous one
    // stays active (answers false then).
    bool zetWisselSneltoets(const std::optional<Toetscombinatie>& combinatie);
    // While a settings screen records a new combination the old one must not fire.
    void pauzeerWisselSneltoets(bool pauze);
    void zetKlembordHerstellen(bool aan);
    void zetToonBalk(bool aan);

    [[nodiscard]] Toestand toestand() const { return toestand_; }
    [[nodiscard]] const TolmoInstellingen& instellingen() const { return inst_.instellingen(); }
    [[nodiscard]] const MacInstellingen& macInstellingen() const { return inst_.mac(); }
    [[nodiscard]] const Toestemmingsstand& toestemmingen() const { return toestemmingen_; }
    [[nodiscard]] SneltoetsMonitor::Mechanisme houdtoetsMechanisme() const;
    [[nodiscard]] bool klembordHerstellen() const { return inst_.klembordHerstellen(); }
    [[nodiscard]] bool toonBalk() const { return inst_.toonBalk(); }
    [[nodiscard]] Stijl dictaatStijl() const { return dictaatStijl_; }
    [[nodiscard]] const std::optional<Melding>& melding() const { return melding_; }
    [[nodiscard]] const Logboek& logboek() const { return log_; }
    [[nodiscard]] const DictaatDiagnose& diagnose() const { return diagnose_; }
    [[nodiscard]] const std::optional<LaatsteDictaat>& laatsteDictaat() const {
        return laatsteDictaat_;
    }
    [[nodiscard]] const std::vector<std::string>& woordVoorstellen() const {
        return woordVoorstellen_;
    }
    [[nodiscard]] const std::optional<CloudToestemming>& cloudToestemming() const {
        return cloudToestemming_;
    }
    // The text the user is asked to agree to, and its version.
    [[nodiscard]] const CloudToestemming::Tekst& toestemmingsTekst() const {
        return o_.toestemming;
    }
    [[nodiscard]] std::optional<Bron> bron() const;
    [[nodiscard]] const std::optional<Doel>& plakDoel() const;
    // The running recording's level for the indicator's wave; readable from any thread.
    [[nodiscard]] const NiveauKanaal& niveau() const { return *niveau_; }

    static std::string_view tekst(Bron bron);

  private:
    struct Dictaat {
        std::uint64_t nummer = 0;
        Bron bron = Bron::menu;
        double begin = 0;
        std::optional<Doel> plakDoel;
        Stijl stijl = Stijl::neutraal;
        TolmoInstellingen instellingen;
        AudioFormaat formaat = AudioFormaat::wav;
        StopBron stop;
        DictaatDiagnose::Dictaat diagnose;
        // Goes with the dictation: dropped unfinished (a cancel), the server keeps nothing.
        std::unique_ptr<LopendeUpload> upload;
    };

    // What the chain's task hands back to the main thread.
    struct KetenUitkomst {
        std::optional<KetenResultaat> resultaat;
        std::optional<HerkenningsFout> fout;
        std::optional<std::string> andereFout;
        bool geannuleerd = false;
    };

    static Opties metStandaarden(Opties o, const SleutelKluis& kluis);
    // Wraps a member call so that it does nothing once the controller is gone.
    template <typename F>
    std::function<void()> zwak(F f);

    void meld(Wijziging w);
    void zetToestand(Toestand t);
    void log(const std::string& tekst);
    void toonMelding(Melding melding);
    [[nodiscard]] Toestemmingsstand leesToestemmingen() const;
    void peilToestemmingen();
    std::size_t ruimOpnamesOp();

    void houdActie(SneltoetsMonitor::Actie actie);
    void vraagToestemming();
    void toestemmingsAntwoord(int knop);
    void startMislukt(const std::string& regel, bool geenInvoer);
    void maximumBereikt(std::uint64_t nummer);
    void annuleerOpname(bool korteTikOfCombinatie);
    void audioGewijzigd(std::uint64_t nummer);
    void ketenKlaar(std::uint64_t nummer, KetenUitkomst uitkomst);
    void resultaat(KetenResultaat r);
    void geplakt(std::uint64_t nummer, std::vector<std::string> voorstellen);
    void fout(const std::string& melding);
    // Stores the running dictation's record with how it ended.
    void diagnoseer(std::string uitkomst, std::string reden);
    // Back to idle: no timer, no indicator, no dictation.
    void sluitAf();

    Poorten p_;
    Opties o_;
    std::shared_ptr<DictaatRegelaar*> anker_;
    InstellingenBeheer inst_;
    Logboek log_;
    DictaatDiagnose diagnose_;
    Plakker plakker_;
    Aflevering aflevering_;
    std::unique_ptr<SneltoetsMonitor> monitor_;
    std::unique_ptr<AudioOpnemer> opnemer_;
    std::shared_ptr<NiveauKanaal> niveau_ = std::make_shared<NiveauKanaal>();
    std::vector<Luisteraar> luisteraars_;

    Toestand toestand_ = Toestand::klaar;
    Toestemmingsstand toestemmingen_;
    Stijl dictaatStijl_ = Stijl::neutraal;
    std::optional<Melding> melding_;
    std::optional<LaatsteDictaat> laatsteDictaat_;
    std::vector<std::string> woordVoorstellen_;
    std::optional<CloudToestemming> cloudToestemming_;
    bool vraagOpen_ = false;

    std::optional<Dictaat> dictaat_;
    std::uint64_t dictaatTeller_ = 0;
    // The chain has delivered and the paster has the text: too late to cancel.
    bool plakt_ = false;

    Timer maximumTimer_;
    Timer toestemmingTimer_;
    Timer meldingTaak_;
};

}  // namespace tolmo
