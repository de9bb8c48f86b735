#pragma once

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <functional>

#include "Tolmo/linux/app/CombinatieKnop.h"
#include "Tolmo/linux/app/InstellingenTab.h"

namespace tolmo {

// The keys (hold key, toggle combination), the clipboard, start at login and noise suppression.
class AlgemeenTab final : public InstellingenTab {
  public:
    AlgemeenTab(DictaatRegelaar& regelaar, std::function<bool()> startBijInloggen,
                std::function<void(bool)> zetStartBijInloggen);

    void ververs(DictaatRegelaar::Wijziging wijziging) override;

  private:
    void toonStand();

    DictaatRegelaar& regelaar_;
    std::function<bool()> startBijInloggen_;
    std::function<void(bool)> zetStartBijInloggen_;
    QComboBox* houdToets_;
    QLabel* combinatieMelding_;
    CombinatieKnop* combinatie_;
    QCheckBox* klembord_;
    QCheckBox* inloggen_;
    QLabel* inloggenMelding_;
    QCheckBox* ruis_;
};

}  // namespace tolmo
