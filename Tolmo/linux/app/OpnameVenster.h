#pragma once

#include <QTimer>
#include <QWidget>

#include "Tolmo/GolfView/GolfAnimatie.h"
#include "Tolmo/GolfView/GolfBeeld.h"
#include "Tolmo/Poorten/OpnameIndicator.h"
#include "TolmoKern/Instellingen/TolmoInstellingen.h"

namespace tolmo {

// The recording indicator: a small strip at the bottom of the screen, above other windows, that
// never takes focus (the paste must land where the user was). It draws the wave on the CPU at the
// display's pace only while it is shown, so an idle app runs no frame timer.
class OpnameVenster final : public QWidget, public OpnameIndicator {
  public:
    explicit OpnameVenster(GolfAnimatie& golf);

    void toon() override;
    void verberg() override;
    // Light or dark as the settings say; automatisch follows the desktop's palette.
    void zetWeergave(Weergave weergave);
    [[nodiscard]] bool licht() const { return licht_; }

    static constexpr int breedte = 280;
    static constexpr int hoogte = 56;

  protected:
    void paintEvent(QPaintEvent* gebeurtenis) override;

  private:
    GolfAnimatie& golf_;
    GolfBeeld beeld_;
    QTimer frames_;
    bool licht_ = false;
};

}  // namespace tolmo
