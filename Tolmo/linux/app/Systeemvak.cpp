#include "Tolmo/linux/app/Systeemvak.h"

#include <QGuiApplication>
#include <QPainter>
#include <QPixmap>
#include <QPushButton>
#include <exception>
#include <iostream>
#include <string>

#include "Tolmo/linux/InstellingenKeuzes.h"
#include "Tolmo/linux/app/Opmaak.h"
#include "Tolmo/linux/freedesktop/Bureaubladmelding.h"

namespace tolmo {
namespace {

// Grey at rest, red while recording, amber while the text is being made.
QIcon icoonVoor(MenuStand::Actie actie) {
    const QColor kleur = actie == MenuStand::Actie::stop       ? QColor(220, 50, 47)
                         : actie == MenuStand::Actie::annuleer ? QColor(230, 160, 30)
                                                               : QColor(140, 140, 150);
    QPixmap beeld(32, 32);
    beeld.fill(Qt::transparent);
    QPainter schilder(&beeld);
    schilder.setRenderHint(QPainter::Antialiasing);
    schilder.setPen(Qt::NoPen);
    schilder.setBrush(kleur);
    schilder.drawEllipse(4, 4, 24, 24);
    schilder.setBrush(Qt::white);
    // A microphone: capsule and stand.
    schilder.drawRoundedRect(13, 8, 6, 11, 3, 3);
    schilder.drawRect(15, 20, 2, 4);
    return QIcon(beeld);
}

}  // namespace

Systeemvak::Systeemvak(Handelingen handelingen) : h_(std::move(handelingen)) {
    status_ = menu_.addAction(QString());
    status_->setEnabled(false);
    actie_ = menu_.addAction(QString());
    QObject::connect(actie_, &QAction::triggered, &menu_, [this] { h_.actie(huidigeActie_); });
    menu_.addSeparator();
    routeMenu_ = menu_.addMenu(QStringLiteral("Route"));
    routes_.setExclusive(true);
    auto routeItem = [this](const QString& naam, Motor motor) {
        QAction* a = routeMenu_->addAction(naam);
        a->setCheckable(true);
        a->setData(static_cast<int>(motor));
        routes_.addAction(a);
        QObject::connect(a, &QAction::triggered, &menu_, [this, motor] {
            h_.wijzigInstellingen([motor](TolmoInstellingen& t) { t.motor = motor; });
        });
        return a;
    };
    for (const RouteKeuze r : InstellingenKeuzes::routes) {
        routeItem(opmaak::q(titel(r)), InstellingenKeuzes::motor(r));
    }
    serverRoute_ = routeItem(QStringLiteral("Tolmo-server"), Motor::tolmo);
    opschonen_ = menu_.addAction(QStringLiteral("Opschonen"));
    opschonen_->setCheckable(true);
    QObject::connect(opschonen_, &QAction::triggered, &menu_, [this](bool aan) {
        h_.wijzigInstellingen([aan](TolmoInstellingen& t) { t.opschonen = aan; });
    });
    menu_.addSeparator();
    QObject::connect(menu_.addAction(QStringLiteral("Instellingen…")), &QAction::triggered, &menu_,
                     [this] { h_.toonInstellingen({}); });
    QObject::connect(menu_.addAction(QStringLiteral("Logboek")), &QAction::triggered, &menu_,
                     [this] { h_.toonInstellingen(QStringLiteral("Logboek")); });
    inloggen_ = menu_.addAction(QStringLiteral("Starten bij inloggen"));
    inloggen_->setCheckable(true);
    inloggen_->setChecked(h_.startBijInloggen());
    // triggered, not toggled: only the user's click writes the file, not the menu catching up
    // with it.
    QObject::connect(inloggen_, &QAction::triggered, &menu_, [this](bool aan) {
        try {
            h_.zetStartBijInloggen(aan);
        } catch (const std::exception& e) {
            toon({std::string("Starten bij inloggen instellen lukte niet: ") + e.what(), true,
                  std::nullopt});
        }
        inloggen_->setChecked(h_.startBijInloggen());
    });
    QObject::connect(menu_.addAction(QStringLiteral("Afsluiten")), &QAction::triggered, &menu_,
                     [this] { h_.afsluiten(); });
    // The menu is brought up to date as it opens, so it never shows a state already left.
    // The session's own startup settings may change the autostart entry while we run.
    QObject::connect(&menu_, &QMenu::aboutToShow, &menu_, [this] {
        ververs();
        inloggen_->setChecked(h_.startBijInloggen());
    });
    icoon_.setContextMenu(&menu_);
    QObject::connect(&icoon_, &QSystemTrayIcon::activated, &menu_,
                     [this](QSystemTrayIcon::ActivationReason reden) {
                         if (reden == QSystemTrayIcon::Trigger) {
                             h_.actie(huidigeActie_);
                         }
                     });
    icoon_.setIcon(icoonVoor(huidigeActie_));
    icoon_.show();
}

void Systeemvak::toon(const Melding& melding) {
    std::cerr << "Tolmo: " << melding.tekst << std::endl;
    if (QSystemTrayIcon::isSystemTrayAvailable()) {
        icoon_.showMessage(
            QString::fromStdString(melding.titel.value_or("Tolmo")),
            QString::fromStdString(melding.tekst),
            melding.isFout ? QSystemTrayIcon::Warning : QSystemTrayIcon::Information);
    } else {
        // Without a tray (GNOME) the desktop's notifications are the only place a message
        // reaches the user: a failed dictation or a text left on the clipboard must not go
        // unsaid.
        stuurBureaubladmelding(melding.titel.value_or("Tolmo"), melding.tekst);
    }
    ververs();
}

void Systeemvak::toonStand() {
    const MenuStand stand = h_.stand();
    toon({"Tolmo draait al. " + stand.status, false, std::nullopt});
}

void Systeemvak::meldZonderSysteemvak() {
    if (QSystemTrayIcon::isSystemTrayAvailable()) {
        return;
    }
    const std::string tekst =
        "Tolmo draait. Dit bureaublad heeft geen systeemvak, dus je ziet Tolmo pas als je "
        "dicteert: houd de houdtoets ingedrukt en spreek. De instellingen open je door tolmo-app "
        "nog een keer te starten.";
    std::cerr << "Tolmo: " << tekst << std::endl;
    // A Wayland desktop gives a new window the keyboard whatever the window asks, and would
    // take it from the app the user types in; its notifications never do.
    if (QGuiApplication::platformName() == QStringLiteral("wayland") &&
        stuurBureaubladmelding("Tolmo draait", tekst)) {
        return;
    }
    zonderVak_ =
        std::make_unique<QMessageBox>(QMessageBox::Information, QStringLiteral("Tolmo draait"),
                                      QString::fromStdString(tekst), QMessageBox::Ok);
    QPushButton* open =
        zonderVak_->addButton(QStringLiteral("Instellingen openen"), QMessageBox::ActionRole);
    QObject::connect(open, &QPushButton::clicked, zonderVak_.get(),
                     [this] { h_.toonInstellingen({}); });
    // Without an escape button a message box refuses to close, and Qt 6 quits only once every
    // window has closed: quitting would hang on it.
    zonderVak_->setEscapeButton(zonderVak_->button(QMessageBox::Ok));
    zonderVak_->setAttribute(Qt::WA_ShowWithoutActivating);
    zonderVak_->setModal(false);
    zonderVak_->show();
}

void Systeemvak::wis() {
    ververs();
}

void Systeemvak::ververs() {
    const MenuStand stand = h_.stand();
    huidigeActie_ = stand.actie;
    status_->setText(QString::fromStdString(stand.status));
    actie_->setText(
        QString::fromStdString(InstellingenKeuzes::actieTitel(stand, h_.wisselSneltoets())));
    const TolmoInstellingen& inst = h_.instellingen();
    for (QAction* a : routes_.actions()) {
        a->setChecked(a->data().toInt() == static_cast<int>(inst.motor));
    }
    serverRoute_->setVisible(h_.serverBekend() || inst.motor == Motor::tolmo);
    routeMenu_->setTitle(QString::fromStdString(stand.route));
    opschonen_->setChecked(inst.opschonen);
    icoon_.setToolTip(QString::fromStdString("Tolmo — " + stand.status));
    icoon_.setIcon(icoonVoor(stand.actie));
}

}  // namespace tolmo
