#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>

#include "Tolmo/linux/app/ToestemmingenTab.h"

namespace tolmo {

class DictaatRegelaar;
class Systeemvak;
class ToestemmingsVraag;
class WaylandAdapters;

// GNOME and KDE: the desktop's shortcuts and its RemoteDesktop session, started with the app, and
// the checks that a press of the desktop's shortcut reaches the app (some desktops bind the keys
// and never report them).
class BureaubladPortalen {
  public:
    // log writes a line to the user's log. Everything given must outlive this.
    BureaubladPortalen(WaylandAdapters& adapters, DictaatRegelaar& regelaar,
                       ToestemmingsVraag& vraag, Systeemvak& vak,
                       std::function<void(const std::string& regel)> log);

    // Binds the shortcuts and opens the session. The first time the desktop will ask the user to
    // let Tolmo type; Tolmo says first, in its own words, what that question is and why, and
    // once all is answered asks for one press of the shortcut.
    void start();
    // The settings window's group for the desktop's keys; empty without them.
    [[nodiscard]] std::optional<ToestemmingenTab::BureaubladToetsen> instellingen();
    // The controller is idle again: a hold the desktop will not release (KWin 6.3) ends with its
    // dictation, however that ended.
    void dictaatKlaar();

  private:
    void probeerBijEersteStart();
    // Waits duur (said as binnen in the log) for one press and logs what came of it. A check
    // that a later one replaced says nothing.
    void probeer(std::chrono::milliseconds duur, const std::string& binnen,
                 std::function<void(bool gehoord)> klaar);

    WaylandAdapters& adapters_;
    DictaatRegelaar& regelaar_;
    ToestemmingsVraag& vraag_;
    Systeemvak& vak_;
    std::function<void(const std::string&)> log_;
    // Checks started so far: the last one is the one that counts.
    unsigned int proeven_ = 0;
};

}  // namespace tolmo
