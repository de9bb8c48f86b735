// The AT-SPI test's window: "gewoon" or "wachtwoord" on standard input focuses that line edit.
// Without a window manager under Xvfb it makes itself the active window.
#include <unistd.h>

#include <QtGui/qguiapplication_platform.h>
#include <QApplication>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QSocketNotifier>
#include <QWindow>
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
    auto* gewoon = new QLineEdit(&venster);
    auto* wachtwoord = new QLineEdit(&venster);
    wachtwoord->setEchoMode(QLineEdit::Password);
    wachtwoord->move(0, 40);
    venster.show();
    // Focus can only go to a viewable window: "klaar" waits until the server shows it, and a
    // refused focus is no reason to die.
    QElapsedTimer klok;
    klok.start();
    while (!(venster.windowHandle() != nullptr && venster.windowHandle()->isExposed()) &&
           klok.elapsed() < 5000) {
        QApplication::processEvents(QEventLoop::AllEvents, 20);
    }
    XSetErrorHandler([](Display*, XErrorEvent*) { return 0; });
    Display* d = app.nativeInterface<QNativeInterface::QX11Application>()->display();
    const auto w = static_cast<Window>(venster.winId());
    XChangeProperty(d, DefaultRootWindow(d), XInternAtom(d, "_NET_ACTIVE_WINDOW", False), XA_WINDOW,
                    32, PropModeReplace, reinterpret_cast<const unsigned char*>(&w), 1);
    XSync(d, False);

    QSocketNotifier invoer(STDIN_FILENO, QSocketNotifier::Read);
    int keer = 0;
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
        // Numbered, so that a test can wait for this very focus and not an earlier one.
        std::cerr << "focus " << regel << " " << ++keer << std::endl;
    });
    std::cerr << "klaar" << std::endl;
    return QApplication::exec();
}
