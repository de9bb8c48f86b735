#pragma once

#include <functional>

#include "TolmoKern/Instellingen/GedeeldeOpslag.h"
#include "TolmoKern/Instellingen/MacInstellingen.h"
#include "TolmoKern/Instellingen/TolmoInstellingen.h"

namespace tolmo {

// The settings the controller works with and their two stores. Every change is persisted at
// once. Changes to the shared record always start from what is stored, not from the working
// copy: the phone may have changed the word list since launch, and on the Mac the working copy
// carries the forced relay engine, which is not the user's own choice.
class InstellingenBeheer {
  public:
    InstellingenBeheer(SleutelWaardeOpslag& groep, SleutelWaardeOpslag& standaard,
                       bool altijdViaServer);

    void laad();

    // One operation for every field of the shared record: the settings screens and the
    // command-line tool change it the same way. Answers the stored record after the change.
    const TolmoInstellingen& wijzig(const std::function<void(TolmoInstellingen&)>& wijziging);
    void zetMac(const MacInstellingen& mac);
    void zetKlembordHerstellen(bool aan);
    void zetToonBalk(bool aan);

    [[nodiscard]] const TolmoInstellingen& instellingen() const { return werkkopie_; }
    [[nodiscard]] const MacInstellingen& mac() const { return mac_; }
    [[nodiscard]] bool klembordHerstellen() const { return klembordHerstellen_; }
    [[nodiscard]] bool toonBalk() const { return toonBalk_; }
    // The record as stored, without the forced engine.
    [[nodiscard]] TolmoInstellingen opgeslagen() const { return gedeeld_.laad(); }

  private:
    void neemOver(const TolmoInstellingen& opgeslagen);

    GedeeldeOpslag gedeeld_;
    bool altijdViaServer_;
    TolmoInstellingen werkkopie_;
    MacInstellingen mac_;
    bool klembordHerstellen_ = true;
    bool toonBalk_ = true;
};

}  // namespace tolmo
