// A Qt window with an ordinary line edit and a password one, for the AT-SPI test. It reads
// "gewoon" or "wachtwoord" on standard input, focuses that field and answers "focus <naam>" on
// standard error. With no window manager under Xvfb it publishes itself as the active window.
#include <unistd.h>

#include <QtGui/qguiapplication_platform.h>
#include <QApplication>
#include <QLineEdit>
#include <QSocketNotifier>
#include <QVBoxLayout>
#include <QWidget>
#include <iostream>
#include <string>

// Xlib after Qt: its macros (None, Bool, Status) break Qt's headers.
#include <X11/Xatom.h>
#include <X11/Xlib.h>

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "xcb");
    qputenv("QT_LINUX_ACCESSIBILITY_ALWAYS_ON", "1");
    QApplication app(argc, argv);
    QWidget venster;
    auto* laag = new QVBoxLayout(&venster);
    auto* gewoon = new QLineEdit(&venster);
    auto* wachtwoord = new QLineEdit(&venster);
    wachtwoord->setEchoMode(QLineEdit::Password);
    laag->addWidget(gewoon);
    laag->addWidget(wachtwoord);
    venster.show();

    auto* x11 = app.nativeInterface<QNativeInterface::QX11Application>();
    Display* d = x11 != nullptr ? x11->display() : nullptr;
    if (d == nullptr) {
        std::cerr << "geen X11\n";
        return 1;
    }
    const auto w = static_cast<Window>(venster.winId());
    XChangeProperty(d, DefaultRootWindow(d), XInternAtom(d, "_NET_ACTIVE_WINDOW", False), XA_WINDOW,
                    32, PropModeReplace, reinterpret_cast<const unsigned char*>(&w), 1);
    XSync(d, False);

    QSocketNotifier invoer(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&invoer, &QSocketNotifier::activated, [&] {
        std::string regel;
        if (!std::getline(std::cin, regel)) {
            QApplication::quit();
            return;
        }
        XSetInputFocus(d, w, RevertToParent, CurrentTime);
        XSync(d, False);
        venster.activateWindow();
        (regel == "wachtwoord" ? wachtwoord : gewoon)->setFocus(Qt::OtherFocusReason);
        std::cerr << "focus " << regel << std::endl;
    });
    std::cerr << "klaar" << std::endl;
    return QApplication::exec();
}
