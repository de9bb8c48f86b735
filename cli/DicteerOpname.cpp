#include "cli/DicteerOpname.h"

#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <string>

#include "Tolmo/AudioOpnemer/AudioOpnemer.h"
#include "Tolmo/AudioOpnemer/NiveauKanaal.h"
#include "Tolmo/linux/pulse/BestandSchrijvers.h"
#include "Tolmo/linux/pulse/PulseAudioEngine.h"
#include "Tolmo/linux/pulse/SoxrOmzetter.h"
#include "TolmoKern/Audio/OpnameFout.h"
#include "cli/BestandEngine.h"
#include "cli/Statusregel.h"

namespace tolmo::cli {
namespace {

namespace fs = std::filesystem;

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

}  // namespace

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

}  // namespace tolmo::cli
