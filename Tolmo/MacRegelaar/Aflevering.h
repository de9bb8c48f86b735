#pragma once

#include <functional>
#include <optional>
#include <string>

#include "Tolmo/Plakker/Plakker.h"
#include "Tolmo/Poorten/Focus.h"
#include "Tolmo/Poorten/Meldingen.h"
#include "Tolmo/Poorten/Toestemmingen.h"
#include "TolmoKern/Plakken/PlakDoel.h"

namespace tolmo {

// Delivers a finished dictation's text: pastes it into the app and field that had focus when
// the dictation started, or leaves it on the clipboard when that target is gone or pasting is
// not allowed, logs which it was and tells the user where the text is. Nothing is ever lost:
// whatever happens, the text ends up in the target or on the clipboard. A password field is
// never pasted into: what was said may not be what the user wants typed there unseen. Main
// thread.
// How messages and the log name the paste shortcut of the platform.
struct PlakToets {
    std::string teken = "⌘V";
    std::string log = "Cmd+V";
};

class Aflevering {
  public:
    using Log = std::function<void(const std::string&)>;
    using Toon = std::function<void(Melding)>;

    // The ports must outlive this object; the paster's callbacks reach it only while the
    // paster lives.
    Aflevering(Plakker& plakker, const Focus& focus, const Toestemmingen& toestemmingen, Log log,
               Toon toon, PlakToets plakToets);

    // klaar runs once the outcome is known and reported, possibly before plak returns, with the
    // log line that reported it.
    using Klaar = std::function<void(const std::string& uitkomst)>;
    void plak(const std::string& tekst, const std::optional<Doel>& plakDoel, bool herstel,
              Klaar klaar);
    // Quitting: pastes still waiting leave their text on the clipboard, and the user is told.
    void rondAfNu();

  private:
    // Answers the log line it wrote.
    std::string meldUitkomst(Plakker::Uitkomst uitkomst, bool herstel,
                             std::optional<Doel::Reden> geweigerd);
    // The chord sent to the frontmost app, or the one the user pastes with there.
    [[nodiscard]] PlakToets toets() const;

    Plakker& plakker_;
    const Focus& focus_;
    const Toestemmingen& toestemmingen_;
    Log log_;
    Toon toon_;
    PlakToets plakToets_;
};

}  // namespace tolmo
