#include "Tolmo/linux/app/OpnameVenster.h"

#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <QRegion>
#include <QScreen>
#include <chrono>

namespace tolmo {

OpnameVenster::OpnameVenster(GolfAnimatie& golf)
    : QWidget(nullptr, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                           Qt::WindowDoesNotAcceptFocus | Qt::X11BypassWindowManagerHint),
      golf_(golf),
      beeld_(breedte, hoogte) {
    setAttribute(Qt::WA_ShowWithoutActivating);
    setFocusPolicy(Qt::NoFocus);
    setFixedSize(breedte, hoogte);
    // Without a compositor a window cannot be see-through: the X shape extension cuts the
    // window to the pill instead, so no square corners show around it.
    QPainterPath pil;
    pil.addRoundedRect(rect(), hoogte / 2.0, hoogte / 2.0);
    setMask(QRegion(pil.toFillPolygon().toPolygon()));
    setWindowTitle(QStringLiteral("Tolmo"));
    frames_.setTimerType(Qt::PreciseTimer);
    frames_.setInterval(16);
    QObject::connect(&frames_, &QTimer::timeout, this, [this] { update(); });
}

void OpnameVenster::toon() {
    if (const QScreen* scherm = QGuiApplication::primaryScreen()) {
        const QRect vlak = scherm->availableGeometry();
        move(vlak.center().x() - breedte / 2, vlak.bottom() - hoogte - 48);
    }
    show();
    raise();
    frames_.start();
}

void OpnameVenster::verberg() {
    frames_.stop();
    hide();
}

void OpnameVenster::paintEvent(QPaintEvent* /*gebeurtenis*/) {
    const double nu =
        std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
    beeld_.teken(golf_.beeld(breedte, hoogte, nu));
    // The wave sits on a dark pill, whose outline the window's mask gives.
    QPainter schilder(this);
    schilder.fillRect(rect(), QColor(24, 24, 28));
    const QImage golf(beeld_.pixels().data(), breedte, hoogte, breedte * 4,
                      QImage::Format_RGBA8888_Premultiplied);
    schilder.drawImage(0, 0, golf);
}

}  // namespace tolmo
