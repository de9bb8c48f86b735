#pragma once

#include <QLabel>
#include <functional>

#include "Tolmo/Sneltoetsen/ToetsBron.h"
#include "Tolmo/linux/app/InstellingenTab.h"

namespace tolmo {

// What Tolmo can do on this desktop: record, watch keys, paste, follow the focused field, and
// whether the user agreed to send recordings to the speech service. X11 asks no permission for
// keys or pasting, so each row says whether the part it needs is there.
class ToestemmingenTab final : public InstellingenTab {
  public:
    // teksten: the key source's words for the hold-key mechanism. volgtVeld: whether AT-SPI
    // answers and the focused field is followed; without it that row is left out.
    ToestemmingenTab(DictaatRegelaar& regelaar, const ToetsBron::Teksten& teksten,
                     std::function<bool()> volgtVeld = {}, QWidget* ouder = nullptr);

    void ververs(DictaatRegelaar::Wijziging wijziging) override;

  private:
    void toon();

    DictaatRegelaar& r_;
    ToetsBron::Teksten teksten_;
    std::function<bool()> volgtVeld_;
    QLabel* microfoon_;
    QLabel* toetsen_;
    QLabel* plakken_;
    QLabel* veld_ = nullptr;
    QLabel* houdtoets_;
    QLabel* spraakdienst_;
};

}  // namespace tolmo
