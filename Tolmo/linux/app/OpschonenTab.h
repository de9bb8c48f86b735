#pragma once

#include <QButtonGroup>
#include <QCheckBox>
#include <QLabel>
#include <QPlainTextEdit>
#include <array>

#include "Tolmo/linux/app/InstellingenTab.h"
#include "TolmoKern/Opschonen/Schrijfstijl.h"

namespace tolmo {

// Cleanup by the language model, its level, spoken commands and the user's own writing samples.
class OpschonenTab final : public InstellingenTab {
  public:
    explicit OpschonenTab(DictaatRegelaar& regelaar);

    void ververs(DictaatRegelaar::Wijziging wijziging) override;

    // Stores the samples as they stand in the fields (also done when a field loses focus).
    void bewaarVoorbeelden();

  private:
    void toonStand();

    DictaatRegelaar& regelaar_;
    QCheckBox* opschonen_;
    QButtonGroup niveau_;
    QCheckBox* opdrachten_;
    std::array<QPlainTextEdit*, Schrijfstijl::aantalVoorbeelden> voorbeelden_{};
    std::array<QLabel*, Schrijfstijl::aantalVoorbeelden> tellers_{};
};

}  // namespace tolmo
