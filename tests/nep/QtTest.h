#pragma once

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include "nep/XvfbServer.h"

namespace tolmo::nep {

// The one QApplication of a test program, on a private X server, made on first use: Qt allows a
// single application object per process, and the files of a test folder share one program. It is
// never destroyed, so it cannot outlive its X server at exit.
inline QApplication& qtApp() {
    static XvfbServer x;
    static int argc = 1;
    static char naam[] = "tolmo-test";
    static char* argv[] = {naam, nullptr};
    static QApplication* app = [] {
        if (x.naam().empty()) {
            throw std::runtime_error("Xvfb did not start");
        }
        ::setenv("QT_QPA_PLATFORM", "xcb", 1);
        return new QApplication(argc, argv);
    }();
    return *app;
}

// Every text the user reads in a widget, labels and buttons, each on a line of its own: a whole
// text is found as "\n" + text + "\n".
inline std::string teksten(const QWidget& w) {
    std::string alles = "\n";
    for (const QLabel* l : w.findChildren<QLabel*>()) {
        alles += l->text().toStdString() + "\n";
    }
    for (const QAbstractButton* k : w.findChildren<QAbstractButton*>()) {
        alles += k->text().toStdString() + "\n";
    }
    for (const QComboBox* c : w.findChildren<QComboBox*>()) {
        alles += c->currentText().toStdString() + "\n";
    }
    return alles;
}

// The first child of kind W whose text begins so.
template <class W>
W* metTekst(const QWidget& w, const QString& begin) {
    for (W* kind : w.findChildren<W*>()) {
        if (kind->text().startsWith(begin)) {
            return kind;
        }
    }
    ADD_FAILURE() << "geen widget met " << begin.toStdString();
    return nullptr;
}

}  // namespace tolmo::nep
