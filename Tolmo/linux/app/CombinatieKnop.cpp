#include "Tolmo/linux/app/CombinatieKnop.h"

#include <QKeyEvent>

#include "Tolmo/linux/InstellingenKeuzes.h"
#include "Tolmo/linux/app/Opmaak.h"

// Last: Xlib's macros (None, Bool) clash with Qt's names.
#include <X11/X.h>
#include <X11/keysym.h>

namespace tolmo {
namespace {

// The X keysym of a key event. Under xcb Qt hands it over as the native virtual key; an event
// made inside the app (accessibility tools, tests) has none, and then the Qt key is translated:
// printable Latin-1 keys have the same number in both.
KeySym keysymVan(const QKeyEvent& e) {
    if (e.nativeVirtualKey() != 0) {
        return e.nativeVirtualKey();
    }
    const int k = e.key();
    if (k >= Qt::Key_Space && k <= Qt::Key_AsciiTilde) {
        return static_cast<KeySym>(k);
    }
    if (k >= Qt::Key_F1 && k <= Qt::Key_F20) {
        return XK_F1 + static_cast<KeySym>(k - Qt::Key_F1);
    }
    switch (k) {
        case Qt::Key_Escape:
            return XK_Escape;
        case Qt::Key_Tab:
            return XK_Tab;
        case Qt::Key_Return:
            return XK_Return;
        case Qt::Key_Shift:
            return XK_Shift_L;
        case Qt::Key_Control:
            return XK_Control_L;
        case Qt::Key_Alt:
            return XK_Alt_L;
        case Qt::Key_Meta:
        case Qt::Key_Super_L:
            return XK_Super_L;
        default:
            return NoSymbol;
    }
}

unsigned int xModificaties(Qt::KeyboardModifiers m) {
    unsigned int x = 0;
    x |= m.testFlag(Qt::ShiftModifier) ? ShiftMask : 0U;
    x |= m.testFlag(Qt::ControlModifier) ? ControlMask : 0U;
    x |= m.testFlag(Qt::AltModifier) ? Mod1Mask : 0U;
    x |= m.testFlag(Qt::MetaModifier) ? Mod4Mask : 0U;
    return x;
}

}  // namespace

CombinatieKnop::CombinatieKnop(DictaatRegelaar& regelaar, QLabel& melding, QWidget* ouder)
    : QPushButton(ouder), regelaar_(regelaar), melding_(melding) {
    setMinimumWidth(220);
    QObject::connect(this, &QPushButton::clicked, this, [this] {
        if (!neemtOp_) {
            begin();
        }
    });
    ververs();
}

void CombinatieKnop::ververs() {
    if (neemtOp_) {
        return;
    }
    const auto& c = regelaar_.macInstellingen().wisselSneltoets;
    setText(c ? opmaak::q(InstellingenKeuzes::combinatieNaam(*c)) : QStringLiteral("Geen"));
}

void CombinatieKnop::begin() {
    neemtOp_ = true;
    opmaak::toonMelding(melding_, {}, false);
    setText(QStringLiteral("Druk de nieuwe combinatie (Esc breekt af)"));
    regelaar_.pauzeerWisselSneltoets(true);
    setFocus(Qt::OtherFocusReason);
    if (isVisible()) {
        grabKeyboard();
    }
}

void CombinatieKnop::eindig() {
    neemtOp_ = false;
    releaseKeyboard();
    regelaar_.pauzeerWisselSneltoets(false);
    ververs();
}

void CombinatieKnop::keyPressEvent(QKeyEvent* e) {
    if (!neemtOp_) {
        QPushButton::keyPressEvent(e);
        return;
    }
    e->accept();
    const auto opname = InstellingenKeuzes::opname(keysymVan(*e), xModificaties(e->modifiers()));
    if (!opname) {
        return;
    }
    switch (opname->uitkomst) {
        case CombinatieOpname::Uitkomst::afgebroken:
            eindig();
            break;
        case CombinatieOpname::Uitkomst::ongeldig:
            eindig();
            // The keyboard's names, not the Mac's.
            opmaak::toonMelding(melding_, QStringLiteral("Gebruik ook Ctrl, Alt of Super."), true);
            break;
        case CombinatieOpname::Uitkomst::geldig:
            // The old one comes back first, so a refused new one leaves it working.
            eindig();
            if (!regelaar_.zetWisselSneltoets(opname->combinatie)) {
                opmaak::toonMelding(
                    melding_,
                    opmaak::q("Sneltoets " +
                              InstellingenKeuzes::combinatieNaam(*opname->combinatie) +
                              " is al in gebruik"),
                    true);
            }
            ververs();
            break;
    }
}

void CombinatieKnop::focusOutEvent(QFocusEvent* e) {
    // Clicking elsewhere gives up, as Escape does: the old combination must not stay paused.
    if (neemtOp_) {
        eindig();
    }
    QPushButton::focusOutEvent(e);
}

}  // namespace tolmo
