#pragma once

#include <QApplication>
#include <cstdlib>
#include <stdexcept>

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

}  // namespace tolmo::nep
