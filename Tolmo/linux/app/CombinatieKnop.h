#pragma once

#include <QLabel>
#include <QPushButton>

#include "Tolmo/MacRegelaar/DictaatRegelaar.h"

namespace tolmo {

// Shows the toggle combination and records a new one: a click starts recording, the next key
// with its modifiers ends it. Escape gives up, a combination without Control, Alt or Super is
// refused; either way the previous one stays. While recording, the old combination is
// unregistered, so pressing it here does not start a dictation.
class CombinatieKnop final : public QPushButton {
  public:
    // melding is the line beside the button for what went wrong.
    CombinatieKnop(DictaatRegelaar& regelaar, QLabel& melding, QWidget* ouder);

    [[nodiscard]] bool neemtOp() const { return neemtOp_; }
    // Shows the stored combination.
    void ververs();

  protected:
    void keyPressEvent(QKeyEvent* gebeurtenis) override;
    void focusOutEvent(QFocusEvent* gebeurtenis) override;

  private:
    void begin();
    void eindig();

    DictaatRegelaar& regelaar_;
    QLabel& melding_;
    bool neemtOp_ = false;
};

}  // namespace tolmo
