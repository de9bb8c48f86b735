#include "Tolmo/linux/app/QtHoofdLus.h"

#include <QPointer>
#include <QTimer>
#include <chrono>
#include <cmath>
#include <utility>

namespace tolmo {
namespace {

int milliseconden(double seconden) {
    return seconden <= 0 ? 0 : static_cast<int>(std::lround(seconden * 1000));
}

}  // namespace

QtHoofdLus::QtHoofdLus() = default;

void QtHoofdLus::post(Taak taak) {
    // Queued into the receiver's thread from whichever thread calls.
    QMetaObject::invokeMethod(&ontvanger_, std::move(taak), Qt::QueuedConnection);
}

void QtHoofdLus::postNa(double vertraging, Taak taak) {
    QTimer::singleShot(milliseconden(vertraging), Qt::PreciseTimer, &ontvanger_, std::move(taak));
}

Timer QtHoofdLus::eenmalig(double vertraging, Taak taak) {
    return maakTimer(vertraging, true, std::move(taak));
}

Timer QtHoofdLus::herhalend(double interval, Taak taak) {
    return maakTimer(interval, false, std::move(taak));
}

Timer QtHoofdLus::maakTimer(double seconden, bool eenmaal, Taak taak) {
    auto* timer = new QTimer(&ontvanger_);
    timer->setTimerType(Qt::PreciseTimer);
    timer->setSingleShot(eenmaal);
    QObject::connect(timer, &QTimer::timeout, timer, [timer, eenmaal, taak = std::move(taak)] {
        if (eenmaal) {
            timer->deleteLater();
        }
        taak();
    });
    timer->start(milliseconden(seconden));
    // A task may cancel its own timer, so the timer is never deleted while it runs.
    return Timer([wacht = QPointer<QTimer>(timer)] {
        if (wacht) {
            wacht->stop();
            wacht->deleteLater();
        }
    });
}

double QtHoofdLus::uptime() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

}  // namespace tolmo
