#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "Tolmo/Plakker/KlembordPoort.h"
#include "Tolmo/Poorten/HoofdLus.h"
#include "Tolmo/Poorten/Toestemmingen.h"
#include "TolmoKern/Plakken/KlembordTransacties.h"

namespace tolmo {

// Puts a finished dictation into the app the user works in: writes the clipboard, posts the
// paste keystroke and, when asked, puts the user's clipboard back afterwards. Pastes run strictly
// one after another, each including its restore, so a restore never meets a later paste halfway.
// Lives on the main thread.
class Plakker {
  public:
    enum class Uitkomst { verstuurd, opKlembord, doelGewijzigd };

    // How long the target app gets to read the clipboard before it is restored, where reads
    // cannot be seen.
    static constexpr double herstelVertraging = 0.6;
    // Where reads can be seen: the restore follows the last read after this quiet time (an app
    // asks for the list of types before the text itself), and a paste that nobody read within
    // the longest wait is left on the clipboard (the keystroke was swallowed).
    static constexpr double stilteNaLezen = 0.1;
    static constexpr double langsteWachtOpLezen = 2.0;
    // How long a text meant for a password field waits on the clipboard for the user's own
    // paste before their clipboard comes back.
    static constexpr double geheimBewaartijd = 30.0;

    using DoelKlopt = std::function<bool()>;
    using Klaar = std::function<void(Uitkomst)>;

    Plakker(KlembordPoort& klembord, HoofdLus& lus, const Toestemmingen& toestemmingen);
    ~Plakker();
    Plakker(const Plakker&) = delete;
    Plakker& operator=(const Plakker&) = delete;

    // doelKlopt runs just before pasting and answers whether the target is still the one of the
    // dictation's start. klaar gets the outcome as soon as it is known (before the restore).
    void plak(const std::string& tekst, bool herstelKlembord, DoelKlopt doelKlopt, Klaar klaar);
    // Text for a field that is never pasted into (a password field): it goes on the clipboard
    // marked, so clipboard managers keep it out of their history, and with herstelKlembord the
    // user's own clipboard comes back after geheimBewaartijd (or at the next paste, or at quit).
    // klaar gets opKlembord.
    void bewaarGeheim(const std::string& tekst, bool herstelKlembord, Klaar klaar);

    // Quitting: a clipboard still waiting to be restored is restored now, and the text of pastes
    // that have not started is left on the clipboard for the user (one per line, in order), or
    // it would go with the app. Answers how many were left.
    int rondAfNu();

    [[nodiscard]] bool bezig() const { return bezig_; }
    // The paste chord of the frontmost app, where the platform knows one per app.
    [[nodiscard]] std::optional<std::string> plakToetsNaam() const {
        return klembord_.plakToetsNaam();
    }

    // Told when a paste was never read and its text stays on the clipboard instead.
    void zetOpNietGelezen(std::function<void()> opNietGelezen) {
        opNietGelezen_ = std::move(opNietGelezen);
    }

  private:
    struct Opdracht {
        std::string tekst;
        bool herstel = false;
        DoelKlopt doelKlopt;
        Klaar klaar;
        bool geheim = false;
    };

    void volgende();
    void voerUit(Opdracht opdracht);
    void wachtOpLezen(std::int64_t token, std::string tekst);
    // The end of a watched paste: restored after a read, or the text left when nobody read it.
    void sluitLezenAf(std::int64_t token, bool gelezen, const std::string& tekst);

    KlembordPoort& klembord_;
    HoofdLus& lus_;
    const Toestemmingen& toestemmingen_;
    KlembordTransacties<KlembordPoort> transacties_;
    std::deque<Opdracht> wachtrij_;
    std::optional<std::int64_t> openHerstel_;
    bool bezig_ = false;
    Timer leesTimer_;
    // The restore after a text for a password field, while it waits.
    std::optional<std::int64_t> geheimHerstel_;
    Timer geheimTimer_;
    std::function<void()> opNietGelezen_;
    // Tasks left on the main loop check this before touching a paster that is gone.
    std::shared_ptr<Plakker*> anker_;
};

}  // namespace tolmo
