#include "Tolmo/linux/app/OpnameVenster.h"

#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <QRegion>
#include <QScreen>
#include <chrono>
#include <cmath>

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
    golf_.herstartKlok();
    show();
    raise();
    frames_.start();
}

void OpnameVenster::zetWeergave(Weergave weergave) {
    licht_ = weergave == Weergave::licht || (weergave == Weergave::automatisch &&
                                             palette().color(QPalette::Window).lightness() >= 128);
    golf_.zetThema(licht_ ? GolfAnimatie::Thema::lichtThema() : GolfAnimatie::Thema::donkerThema());
    update();
}

void OpnameVenster::verberg() {
    frames_.stop();
    hide();
}

void OpnameVenster::paintEvent(QPaintEvent* /*gebeurtenis*/) {
    const double nu =
        std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
    // Drawn at the screen's own pixels: on a HiDPI screen a frame at the logical size would be
    // scaled up, and blurred.
    const qreal schaal = devicePixelRatioF();
    const int b = static_cast<int>(std::lround(breedte * schaal));
    const int h = static_cast<int>(std::lround(hoogte * schaal));
    if (beeld_.breedte() != b || beeld_.hoogte() != h) {
        beeld_ = GolfBeeld(b, h);
    }
    beeld_.teken(golf_.beeld(static_cast<float>(b), static_cast<float>(h), nu));
    // The wave sits on a pill in the theme's colour, whose outline the window's mask gives.
    QPainter schilder(this);
    schilder.fillRect(rect(), licht_ ? QColor(246, 246, 248) : QColor(24, 24, 28));
    QImage golf(beeld_.pixels().data(), b, h, b * 4, QImage::Format_RGBA8888_Premultiplied);
    golf.setDevicePixelRatio(schaal);
    schilder.drawImage(QPointF(0, 0), golf);
}

}  // namespace tolmo
