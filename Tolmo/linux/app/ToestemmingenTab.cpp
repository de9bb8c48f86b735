#include "Tolmo/linux/app/ToestemmingenTab.h"

#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QDateTime>
#include <QFontDatabase>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QPointer>
#include <QPushButton>
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
                                   std::function<bool()> volgtVeld,
                                   std::optional<InstellingenKeuzes::BindingenKeuze> bindingen,
                                   std::optional<ToetsenbordKeuze> toetsenborden,
                                   std::optional<BureaubladToetsen> bureaublad, QWidget* ouder)
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

    if (bindingen) {
        auto* groep = new QGroupBox("Sneltoetsen van je compositor", this);
        auto* groepIndeling = new QVBoxLayout(groep);
        auto* uitleg = waarde(groep);
        uitleg->setText(
            QString("Deze compositor geeft apps geen sneltoetsen: hij voert zelf uit wat je aan "
                    "een toets koppelt. Zet deze regels in zijn configuratie, dan starten en "
                    "stoppen je houdtoets en je wisselsneltoets Tolmo. Kies je andere toetsen, "
                    "dan veranderen de regels mee.") +
            (bindingen->herkend ? ""
                                : " Tolmo herkent je compositor niet; kies de regels die "
                                  "het best bij je configuratie passen."));
        groepIndeling->addWidget(uitleg);
        auto* rij = new QHBoxLayout;
        compositor_ = new QComboBox(groep);
        compositor_->addItem("sway", static_cast<int>(Compositor::sway));
        compositor_->addItem("Hyprland", static_cast<int>(Compositor::hyprland));
        compositor_->setCurrentIndex(
            compositor_->findData(static_cast<int>(bindingen->compositor)));
        rij->addWidget(compositor_);
        rij->addStretch();
        auto* kopieer = new QPushButton("Kopiëren", groep);
        rij->addWidget(kopieer);
        groepIndeling->addLayout(rij);
        regels_ = new QPlainTextEdit(groep);
        regels_->setReadOnly(true);
        regels_->setLineWrapMode(QPlainTextEdit::NoWrap);
        regels_->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
        groepIndeling->addWidget(regels_);
        indeling->addWidget(groep);
        connect(compositor_, &QComboBox::currentIndexChanged, this, [this] { toon(); });
        connect(kopieer, &QPushButton::clicked, this,
                [this] { QApplication::clipboard()->setText(regels_->toPlainText()); });
    }

    if (bureaublad) {
        auto* groep = new QGroupBox("Sneltoetsen van je bureaublad", this);
        auto* groepIndeling = new QVBoxLayout(groep);
        wijzigUitleg_ = waarde(groep);
        groepIndeling->addWidget(wijzigUitleg_);
        auto* rij = new QHBoxLayout;
        wijzig_ = new QPushButton("Wijzigen…", groep);
        auto* probeer = new QPushButton("Toets proberen", groep);
        rij->addWidget(wijzig_);
        rij->addWidget(probeer);
        rij->addStretch();
        groepIndeling->addLayout(rij);
        auto* uitkomst = waarde(groep);
        groepIndeling->addWidget(uitkomst);
        indeling->addWidget(groep);
        kanWijzigen_ = bureaublad->kanWijzigen;
        connect(wijzig_, &QPushButton::clicked, this, [w = bureaublad->wijzig] { w(); });
        connect(probeer, &QPushButton::clicked, this,
                [this, probeer, uitkomst, p = bureaublad->probeer] {
                    probeer->setEnabled(false);
                    uitkomst->setText(
                        "Druk nu binnen 10 seconden één keer op je houdtoets of je "
                        "wisselsneltoets.");
                    p([tab = QPointer<ToestemmingenTab>(this), probeer, uitkomst](bool gehoord) {
                        if (!tab) {
                            return;
                        }
                        probeer->setEnabled(true);
                        uitkomst->setText(gehoord ? "Je bureaublad geeft je sneltoets door aan "
                                                    "Tolmo."
                                                  : "Tolmo hoorde binnen 10 seconden geen "
                                                    "sneltoets. Wat je kunt doen, staat "
                                                    "hierboven bij Houdtoets.");
                        tab->toon();
                    });
                });
    }

    if (toetsenborden) {
        auto* groep = new QGroupBox("Toetsenborden zelf lezen", this);
        auto* groepIndeling = new QVBoxLayout(groep);
        auto* keuze =
            new QCheckBox("Houdtoets, wisselsneltoets en Esc uit de toetsenborden lezen", groep);
        keuze->setChecked(toetsenborden->aan);
        groepIndeling->addWidget(keuze);
        auto* uitleg = waarde(groep);
        uitleg->setText(
            "Dan werkt de houdtoets zoals onder X11, op elke compositor, zonder regels in zijn "
            "configuratie. Wat dat betekent: Tolmo leest dan elke toets die je typt, op elk "
            "toetsenbord en in elk venster, ook je wachtwoorden. Tolmo let alleen op de houdtoets, "
            "de wisselsneltoets en Esc en bewaart of verstuurt geen toetsen, maar elk programma "
            "dat onder jouw naam draait, kan je toetsen dan ook lezen. Daarvoor moet je in de "
            "groep input: voer sudo usermod -aG input $USER uit en log daarna opnieuw in. De "
            "keuze geldt vanaf de volgende start van Tolmo.");
        groepIndeling->addWidget(uitleg);
        indeling->addWidget(groep);
        connect(keuze, &QCheckBox::toggled, this,
                [zet = toetsenborden->zet](bool aan) { zet(aan); });
    }

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

void ToestemmingenTab::ververs(DictaatRegelaar::Wijziging /*wijziging*/) {
    // Reading them all again is cheap, so every report redraws: the desktop's portals report
    // what became of them (keys bound, changed, a session closed) with a log line only.
    toon();
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
    if (regels_ != nullptr) {
        const auto c = static_cast<Compositor>(compositor_->currentData().toInt());
        const QString nieuw = tekst(bindingen(c, r_.macInstellingen()));
        // Setting the same text again would throw away what the user has selected in it.
        if (regels_->toPlainText() != nieuw) {
            regels_->setPlainText(nieuw);
        }
    }
    houdtoets_->setText(tekst(SneltoetsMonitor::tekst(r_.houdtoetsMechanisme(), teksten_)) + ".");
    if (wijzig_ != nullptr) {
        // The dialog is the desktop's, where its portal offers one; else its own settings.
        const bool kan = kanWijzigen_();
        wijzig_->setVisible(kan);
        wijzigUitleg_->setText(
            QString("Je bureaublad kiest de toetsen voor dicteren (vasthouden) en aan/uit en "
                    "geeft ze door aan Tolmo; hierboven staat welke het koos. ") +
            (kan ? "Met Wijzigen open je het venster van je bureaublad om ze te veranderen."
                 : "Verander ze in de instellingen van je bureaublad, bij de sneltoetsen."));
    }
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
