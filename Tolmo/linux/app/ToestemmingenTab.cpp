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
                                   std::function<std::vector<Vermogen>()> vermogens,
                                   std::function<bool()> volgtVeld, QWidget* ouder)
    : InstellingenTab(ouder),
      r_(regelaar),
      teksten_(teksten),
      vermogens_(std::move(vermogens)),
      volgtVeld_(std::move(volgtVeld)) {
    auto* indeling = new QVBoxLayout(this);

    auto* systeem = new QGroupBox("Wat Tolmo op deze computer kan", this);
    auto* rijen = new QFormLayout(systeem);
    rijen->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    microfoon_ = waarde(systeem);
    houdtoets_ = waarde(systeem);
    rijen->addRow("Microfoon:", microfoon_);
    // The session's adapter set is chosen at launch, so its rows are fixed; their texts are not.
    for (const Vermogen& v : vermogens_()) {
        auto* naam = new QLabel(tekst(label(v.soort)) + ":", systeem);
        vermogenRijen_.push_back(waarde(systeem));
        rijen->addRow(naam, vermogenRijen_.back());
    }
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
    const auto vermogens = vermogens_();
    for (std::size_t i = 0; i < vermogenRijen_.size() && i < vermogens.size(); ++i) {
        const Vermogen& v = vermogens[i];
        std::string regel = v.mechanisme.empty() ? "Nee: " + v.advies : "Ja: " + v.mechanisme + ".";
        if (!v.mechanisme.empty() && !v.advies.empty()) {
            regel += " " + v.advies;
        }
        vermogenRijen_[i]->setText(tekst(regel));
    }
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
