#include "Tolmo/linux/app/AlgemeenTab.h"

#include <QHBoxLayout>
#include <QSignalBlocker>
#include <exception>

#include "Tolmo/linux/InstellingenKeuzes.h"
#include "Tolmo/linux/app/Opmaak.h"

namespace tolmo {

using opmaak::q;

AlgemeenTab::AlgemeenTab(DictaatRegelaar& regelaar, std::function<bool()> startBijInloggen,
                         std::function<void(bool)> zetStartBijInloggen)
    : regelaar_(regelaar),
      startBijInloggen_(std::move(startBijInloggen)),
      zetStartBijInloggen_(std::move(zetStartBijInloggen)) {
    QVBoxLayout* k = opmaak::kolom(*this);
    QWidget* vlak = k->parentWidget();

    k->addWidget(opmaak::kop(QStringLiteral("Houdtoets"), vlak));
    houdToets_ = new QComboBox(vlak);
    for (const HoudToets t : InstellingenKeuzes::houdToetsen) {
        houdToets_->addItem(q(InstellingenKeuzes::houdToetsNaam(t)), static_cast<int>(t));
    }
    houdToets_->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    auto* rij = new QHBoxLayout;
    rij->addWidget(houdToets_);
    rij->addStretch();
    k->addLayout(rij);
    k->addWidget(opmaak::hulpTekst(
        QStringLiteral("Houd de toets vast terwijl je praat en laat los om te plakken. Een korte "
                       "tik of een combinatie met een andere toets (zoals Alt+E) start niets."),
        vlak));
    QObject::connect(houdToets_, &QComboBox::activated, this, [this](int i) {
        regelaar_.zetHoudToets(static_cast<HoudToets>(houdToets_->itemData(i).toInt()));
    });

    k->addWidget(opmaak::kop(QStringLiteral("Sneltoets om te starten en te stoppen"), vlak));
    combinatieMelding_ = opmaak::meldingsRegel(vlak);
    combinatie_ = new CombinatieKnop(regelaar_, *combinatieMelding_, vlak);
    auto* combinatieRij = new QHBoxLayout;
    combinatieRij->addWidget(combinatie_);
    combinatieRij->addWidget(combinatieMelding_, 1);
    combinatieRij->addStretch();
    k->addLayout(combinatieRij);
    k->addWidget(opmaak::hulpTekst(
        QStringLiteral("Klik en druk de nieuwe combinatie, met Ctrl, Alt of Super erin."), vlak));

    k->addWidget(opmaak::kop(QStringLiteral("Plakken en opnemen"), vlak));
    klembord_ = new QCheckBox(QStringLiteral("Klembord na plakken herstellen"), vlak);
    k->addWidget(klembord_);
    k->addWidget(
        opmaak::hulpTekst(QStringLiteral("Zet je vorige klembord terug na het plakken."), vlak));
    QObject::connect(klembord_, &QCheckBox::clicked, this,
                     [this](bool aan) { regelaar_.zetKlembordHerstellen(aan); });

    ruis_ = new QCheckBox(QStringLiteral("Ruisonderdrukking"), vlak);
    k->addWidget(ruis_);
    k->addWidget(opmaak::hulpTekst(
        QStringLiteral("Dempt geluid om je heen, zoals een ventilator of toetsenbord, voordat de "
                       "opname wordt herkend. Zet hem uit als je stem dof of afgeknepen klinkt."),
        vlak));
    QObject::connect(ruis_, &QCheckBox::clicked, this, [this](bool aan) {
        regelaar_.wijzigInstellingen([aan](TolmoInstellingen& t) { t.ruisonderdrukking = aan; });
    });

    k->addWidget(opmaak::kop(QStringLiteral("Opstarten"), vlak));
    inloggen_ = new QCheckBox(QStringLiteral("Starten bij inloggen"), vlak);
    k->addWidget(inloggen_);
    inloggenMelding_ = opmaak::meldingsRegel(vlak);
    k->addWidget(inloggenMelding_);
    QObject::connect(inloggen_, &QCheckBox::clicked, this, [this](bool aan) {
        try {
            zetStartBijInloggen_(aan);
            opmaak::toonMelding(*inloggenMelding_, {}, false);
        } catch (const std::exception& e) {
            opmaak::toonMelding(
                *inloggenMelding_,
                q(std::string("Starten bij inloggen instellen lukte niet: ") + e.what() + "."),
                true);
        }
        inloggen_->setChecked(startBijInloggen_());
    });
    k->addStretch();
    toonStand();
}

void AlgemeenTab::ververs(DictaatRegelaar::Wijziging w) {
    if (w == DictaatRegelaar::Wijziging::instellingen ||
        w == DictaatRegelaar::Wijziging::macInstellingen) {
        toonStand();
    }
}

void AlgemeenTab::toonStand() {
    const QSignalBlocker b1(houdToets_), b2(klembord_), b3(ruis_), b4(inloggen_);
    houdToets_->setCurrentIndex(
        houdToets_->findData(static_cast<int>(regelaar_.macInstellingen().houdToets)));
    combinatie_->ververs();
    klembord_->setChecked(regelaar_.klembordHerstellen());
    ruis_->setChecked(regelaar_.instellingen().ruisonderdrukking);
    inloggen_->setChecked(startBijInloggen_());
}

}  // namespace tolmo
