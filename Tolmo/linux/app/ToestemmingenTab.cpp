#include "Tolmo/linux/app/ToestemmingenTab.h"

#include <QDateTime>
#include <QFormLayout>
#include <QGroupBox>
#include <QVBoxLayout>
#include <string>
#include <utility>

#include "Tolmo/MacRegelaar/CloudToestemming.h"
#include "Tolmo/Sneltoetsen/SneltoetsMonitor.h"

namespace tolmo {
namespace {

QLabel* waarde(QWidget* ouder) {
    auto* label = new QLabel(ouder);
    label->setWordWrap(true);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return label;
}

QString tekst(std::string_view s) {
    return QString::fromUtf8(s.data(), static_cast<qsizetype>(s.size()));
}

}  // namespace

ToestemmingenTab::ToestemmingenTab(DictaatRegelaar& regelaar, const ToetsBron::Teksten& teksten,
                                   std::function<bool()> volgtVeld, QWidget* ouder)
    : InstellingenTab(ouder), r_(regelaar), teksten_(teksten), volgtVeld_(std::move(volgtVeld)) {
    auto* indeling = new QVBoxLayout(this);

    auto* systeem = new QGroupBox("Wat Tolmo op deze computer kan", this);
    auto* rijen = new QFormLayout(systeem);
    rijen->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    microfoon_ = waarde(systeem);
    toetsen_ = waarde(systeem);
    plakken_ = waarde(systeem);
    houdtoets_ = waarde(systeem);
    rijen->addRow("Microfoon:", microfoon_);
    rijen->addRow("Toetsen volgen:", toetsen_);
    rijen->addRow("Plakken:", plakken_);
    if (volgtVeld_) {
        veld_ = waarde(systeem);
        rijen->addRow("Toegankelijkheid:", veld_);
    }
    rijen->addRow("Houdtoets via:", houdtoets_);
    indeling->addWidget(systeem);

    auto* dienst = new QGroupBox("Spraakdienst", this);
    auto* dienstIndeling = new QVBoxLayout(dienst);
    spraakdienst_ = waarde(dienst);
    dienstIndeling->addWidget(spraakdienst_);
    auto* uitleg = waarde(dienst);
    uitleg->setText("Waar je mee instemt: " + tekst(r_.toestemmingsTekst().tekst));
    dienstIndeling->addWidget(uitleg);
    indeling->addWidget(dienst);
    indeling->addStretch();
    toon();
}

void ToestemmingenTab::ververs(DictaatRegelaar::Wijziging wijziging) {
    // Consent arrives with a log line and a message, the permissions with their own report;
    // reading them all again is cheap, so any report but a log line redraws.
    if (wijziging != DictaatRegelaar::Wijziging::logRegel) {
        toon();
    }
}

void ToestemmingenTab::toon() {
    const auto& stand = r_.toestemmingen();
    microfoon_->setText(stand.microfoon
                            ? "Ja: er is een geluidsbron (PulseAudio of PipeWire) om van op "
                              "te nemen."
                            : "Nee: Tolmo vindt geen geluidsbron. Sluit een microfoon aan, of "
                              "start PulseAudio of PipeWire.");
    toetsen_->setText(stand.invoermonitoring
                          ? "Ja: XInput2 laat Tolmo de houdtoets zien zonder hem af te vangen."
                          : "Nee: XInput2 ontbreekt op deze X-server, dus de houdtoets werkt "
                            "niet. De wisselsneltoets en het menu werken wel.");
    plakken_->setText(stand.toegankelijkheid
                          ? "Ja: XTest drukt de plaktoets in het venster waar je was."
                          : "Nee: XTest ontbreekt op deze X-server. De tekst komt op het "
                            "klembord en je plakt hem zelf.");
    if (veld_ != nullptr) {
        veld_->setText(volgtVeld_() ? "Ja: via AT-SPI volgt Tolmo in welk invoerveld je typt."
                                    : "Nee: AT-SPI antwoordt niet. Tolmo volgt alleen het "
                                      "venster, niet het invoerveld daarin.");
    }
    houdtoets_->setText(tekst(SneltoetsMonitor::tekst(r_.houdtoetsMechanisme(), teksten_)) + ".");
    const auto& toestemming = r_.cloudToestemming();
    if (!toestemming) {
        spraakdienst_->setText("Nog niet gegeven. Tolmo vraagt het voor je eerste dictaat.");
    } else if (!toestemming->geldig(r_.toestemmingsTekst().versie)) {
        spraakdienst_->setText("Gegeven voor een eerdere tekst (versie " +
                               QString::number(toestemming->versie) +
                               "). Tolmo vraagt het opnieuw voor je volgende dictaat.");
    } else {
        spraakdienst_->setText(
            "Gegeven op " +
            QDateTime::fromMSecsSinceEpoch(toestemming->datum).toString("d-M-yyyy") + " (versie " +
            QString::number(toestemming->versie) + ").");
    }
}

}  // namespace tolmo
