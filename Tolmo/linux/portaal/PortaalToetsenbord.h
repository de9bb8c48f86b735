#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Tolmo/linux/portaal/Portaal.h"

namespace tolmo {

// The paste keystroke through the desktop's RemoteDesktop portal (GNOME, KDE): one keyboard-only
// session, kept open for the app's life, which the desktop lets the app use after asking the user
// once. The session is restorable (persist_mode 2): the desktop answers its start with a restore
// token, which is kept in a file only the user can read and replaced after every start, because the
// portal lets a token work once (GNOME 48 hands back the same one). With a valid token the desktop
// starts the session without asking again.
//
// Kept open rather than opened per paste. Measured on GNOME 48 (bench_PortaalSessie): a session
// opened for one paste costs about 25 ms against 4.5 ms for the chord on an open one, but mainly
// the shell drops the first key a session sends right after its start, so the Ctrl+V was lost or
// typed a bare "v" into the user's text (0 of 60 arrived), and its shared-screen icon stays 5 s
// after each close, so it would blink on every paste instead of going away. An open session costs
// nothing while idle; GNOME shows its icon meanwhile, which the README explains.
//
// The clipboard portal lives inside the same session and must be asked for before it starts
// (metKlembord); PortaalKlembord then uses it.
class PortaalToetsenbord {
  public:
    // tokenBestand: where the restore token is kept (the state directory).
    PortaalToetsenbord(Portaal& portaal, std::filesystem::path tokenBestand, bool metKlembord);
    ~PortaalToetsenbord();
    PortaalToetsenbord(const PortaalToetsenbord&) = delete;
    PortaalToetsenbord& operator=(const PortaalToetsenbord&) = delete;

    [[nodiscard]] bool beschikbaar() const { return versie_ > 0; }
    // Whether a token from an earlier start is there: then the desktop will not ask.
    [[nodiscard]] bool heeftToken() const;
    // Opens the session: the first time the desktop asks the user. klaar reports the outcome
    // (empty when the session runs, else why not, in Dutch). A session that starts sends a
    // Shift tap at once, which the desktop may swallow instead of the first paste's Control.
    void start(std::function<void(const std::string& fout)> klaar);
    [[nodiscard]] bool actief() const { return actief_; }
    [[nodiscard]] bool klembordActief() const { return klembordActief_; }
    [[nodiscard]] const std::string& sessie() const { return sessie_; }
    // Called when the desktop closes the session (the user stopped it, the desktop ended).
    void zetOpGesloten(std::function<void()> op) { opGesloten_ = std::move(op); }

    // The types the owner of the selection offers, as the desktop last said, and whether that
    // owner is this session. Followed from before the session starts, so that nothing the
    // desktop says at the start is missed.
    [[nodiscard]] const std::vector<std::string>& selectieTypen() const { return typen_; }
    [[nodiscard]] bool selectieVanOns() const { return vanOns_; }
    // Called when another app takes the selection.
    void zetOpSelectie(std::function<void()> op) { opSelectie_ = std::move(op); }

    // Ctrl+V, or Ctrl+Shift+V for a terminal; false when there is no session.
    bool stuurPlakToets(bool terminal);

    [[nodiscard]] Portaal& portaal() { return portaal_; }

  private:
    bool toets(int keysym, bool omlaag);
    void bewaarToken(const std::string& token) const;
    [[nodiscard]] std::string leesToken() const;

    Portaal& portaal_;
    std::filesystem::path tokenBestand_;
    bool metKlembord_;
    std::uint32_t versie_ = 0;
    std::string sessie_;
    bool actief_ = false;
    bool klembordActief_ = false;
    std::function<void()> opGesloten_;
    std::function<void()> opSelectie_;
    std::vector<std::string> typen_;
    bool vanOns_ = false;
    std::unique_ptr<Portaal::Abonnement> gesloten_, eigenaar_;
};

}  // namespace tolmo
