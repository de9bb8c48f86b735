#pragma once

#include <QWidget>

#include "Tolmo/MacRegelaar/DictaatRegelaar.h"

namespace tolmo {

// One tab of the settings window. Every change the user makes goes to the controller at once;
// the window passes each change the controller reports, so a tab always shows what is stored.
class InstellingenTab : public QWidget {
  public:
    using QWidget::QWidget;
    virtual void ververs(DictaatRegelaar::Wijziging wijziging) = 0;
};

}  // namespace tolmo
