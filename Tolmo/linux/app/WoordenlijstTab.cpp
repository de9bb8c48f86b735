#include "Tolmo/linux/app/WoordenlijstTab.h"

#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QPushButton>
#include <QStringList>
#include <QTimer>
#include <algorithm>
#include <set>
#include <utility>

#include "TolmoKern/Tekst/Tekst.h"

namespace tolmo {
namespace {

QString verbind(const std::vector<std::string>& delen) {
    QStringList lijst;
    for (const auto& d : delen) {
        lijst << QString::fromStdString(d);
    }
    return lijst.join(", ");
}

bool bevat(const std::vector<std::string>& woorden, const std::string& woord) {
    return std::any_of(woorden.begin(), woorden.end(), [&woord](const std::string& w) {
        return Tekst::gelijkZonderHoofdletters(w, woord);
    });
}

}  // namespace

std::vector<std::string> WoordenlijstTab::varianten(const QString& tekst) {
    std::vector<std::string> uit;
    for (const QString& deel : tekst.split(',')) {
        const std::string v = deel.trimmed().toStdString();
        if (!v.empty() && std::find(uit.begin(), uit.end(), v) == uit.end()) {
            uit.push_back(v);
        }
    }
    return uit;
}

WoordenlijstTab::WoordenlijstTab(DictaatRegelaar& regelaar, QWidget* ouder)
    : InstellingenTab(ouder), r_(regelaar) {
    auto* indeling = new QVBoxLayout(this);

    auto* woordVak = new QGroupBox("Woordenlijst", this);
    auto* woordIndeling = new QVBoxLayout(woordVak);
    auto* woordUitleg = new QLabel(
        "Namen en termen in de spelling die je wilt. Tolmo geeft ze mee aan de herkenning en "
        "het opschonen.",
        woordVak);
    woordUitleg->setWordWrap(true);
    woordIndeling->addWidget(woordUitleg);
    woorden_ = new QListWidget(woordVak);
    woorden_->setSelectionMode(QAbstractItemView::ExtendedSelection);
    woordIndeling->addWidget(woorden_, 1);
    auto* woordRij = new QHBoxLayout;
    nieuwWoord_ = new QLineEdit(woordVak);
    nieuwWoord_->setPlaceholderText("Nieuwe term");
    auto* woordToevoegen = new QPushButton("Toevoegen", woordVak);
    auto* woordVerwijderen = new QPushButton("Verwijderen", woordVak);
    aantal_ = new QLabel(woordVak);
    woordRij->addWidget(nieuwWoord_, 1);
    woordRij->addWidget(woordToevoegen);
    woordRij->addWidget(woordVerwijderen);
    woordRij->addWidget(aantal_);
    woordIndeling->addLayout(woordRij);
    const auto voegNieuwToe = [this] {
        const std::string woord = nieuwWoord_->text().trimmed().toStdString();
        if (!woord.empty()) {
            voegWoordToe(woord);
        }
    };
    QObject::connect(woordToevoegen, &QPushButton::clicked, this, voegNieuwToe);
    QObject::connect(nieuwWoord_, &QLineEdit::returnPressed, this, voegNieuwToe);
    QObject::connect(woordVerwijderen, &QPushButton::clicked, this, [this] { verwijderWoorden(); });
    indeling->addWidget(woordVak, 2);

    voorstellenVak_ = new QGroupBox("Voorstellen uit je laatste dictaat", this);
    voorstellen_ = new QVBoxLayout(voorstellenVak_);
    indeling->addWidget(voorstellenVak_);

    auto* vervangVak = new QGroupBox("Vervangingen", this);
    auto* vervangIndeling = new QVBoxLayout(vervangVak);
    auto* vervangUitleg = new QLabel(
        "Wat de herkenning hoort, wordt vervangen door de schrijfwijze. Scheid de uitspraken met "
        "komma's; dubbelklik op een cel om hem te wijzigen.",
        vervangVak);
    vervangUitleg->setWordWrap(true);
    vervangIndeling->addWidget(vervangUitleg);
    vervangingen_ = new QTableWidget(0, 2, vervangVak);
    vervangingen_->setHorizontalHeaderLabels({"Schrijfwijze", "Uitgesproken als"});
    vervangingen_->horizontalHeader()->setSectionResizeMode(0, QHeaderView::ResizeToContents);
    vervangingen_->horizontalHeader()->setStretchLastSection(true);
    vervangingen_->verticalHeader()->hide();
    vervangingen_->setSelectionBehavior(QAbstractItemView::SelectRows);
    vervangIndeling->addWidget(vervangingen_, 1);
    auto* vervangRij = new QHBoxLayout;
    nieuweSchrijfwijze_ = new QLineEdit(vervangVak);
    nieuweSchrijfwijze_->setPlaceholderText("Schrijfwijze");
    nieuweVarianten_ = new QLineEdit(vervangVak);
    nieuweVarianten_->setPlaceholderText("Uitgesproken als (met komma's)");
    auto* vervangToevoegen = new QPushButton("Toevoegen", vervangVak);
    auto* vervangVerwijderen = new QPushButton("Verwijderen", vervangVak);
    vervangRij->addWidget(nieuweSchrijfwijze_, 1);
    vervangRij->addWidget(nieuweVarianten_, 2);
    vervangRij->addWidget(vervangToevoegen);
    vervangRij->addWidget(vervangVerwijderen);
    vervangIndeling->addLayout(vervangRij);
    QObject::connect(vervangToevoegen, &QPushButton::clicked, this,
                     [this] { voegVervangingToe(); });
    QObject::connect(nieuweVarianten_, &QLineEdit::returnPressed, this,
                     [this] { voegVervangingToe(); });
    QObject::connect(vervangVerwijderen, &QPushButton::clicked, this,
                     [this] { verwijderVervangingen(); });
    QObject::connect(vervangingen_, &QTableWidget::itemChanged, this,
                     [this](QTableWidgetItem* item) { vervangingBewerkt(item); });
    indeling->addWidget(vervangVak, 2);

    melding_ = new QLabel(this);
    melding_->setWordWrap(true);
    indeling->addWidget(melding_);

    toonWoorden();
    toonVoorstellen();
    toonVervangingen();
}

void WoordenlijstTab::ververs(DictaatRegelaar::Wijziging wijziging) {
    if (wijziging == DictaatRegelaar::Wijziging::instellingen) {
        toonWoorden();
        toonVervangingen();
    } else if (wijziging == DictaatRegelaar::Wijziging::woordVoorstellen) {
        toonVoorstellen();
    }
}

void WoordenlijstTab::toonWoorden() {
    const auto& woorden = r_.instellingen().woorden;
    aantal_->setText(QString::number(woorden.size()) + " van " +
                     QString::number(DictaatRegelaar::maximumWoorden) + " termen");
    if (getoondeWoorden_ == woorden) {
        return;
    }
    getoondeWoorden_ = woorden;
    woorden_->clear();
    for (const auto& w : woorden) {
        woorden_->addItem(QString::fromStdString(w));
    }
}

void WoordenlijstTab::toonVoorstellen() {
    const auto& voorstellen = r_.woordVoorstellen();
    if (getoondeVoorstellen_ == voorstellen) {
        return;
    }
    getoondeVoorstellen_ = voorstellen;
    // Later, not now: the button that was clicked may be the one on its way out.
    while (QLayoutItem* oud = voorstellen_->takeAt(0)) {
        if (QWidget* w = oud->widget()) {
            w->hide();
            w->deleteLater();
        }
        delete oud;
    }
    for (const auto& woord : voorstellen) {
        auto* rij = new QWidget(voorstellenVak_);
        auto* indeling = new QHBoxLayout(rij);
        indeling->setContentsMargins(0, 0, 0, 0);
        indeling->addWidget(new QLabel(QString::fromStdString(woord), rij), 1);
        auto* knop = new QPushButton("Toevoegen", rij);
        knop->setObjectName(QString::fromStdString(woord));
        indeling->addWidget(knop);
        QObject::connect(knop, &QPushButton::clicked, this, [this, woord] { voegWoordToe(woord); });
        voorstellen_->addWidget(rij);
    }
    voorstellenVak_->setVisible(!voorstellen.empty());
}

void WoordenlijstTab::toonVervangingen() {
    const auto& vervangingen = r_.instellingen().vervangingen;
    if (getoondeVervangingen_ == vervangingen) {
        return;
    }
    getoondeVervangingen_ = vervangingen;
    const QSignalBlocker stil(vervangingen_);
    vervangingen_->setRowCount(0);
    for (const auto& [schrijfwijze, uitspraken] : vervangingen) {
        const int rij = vervangingen_->rowCount();
        vervangingen_->insertRow(rij);
        auto* eerste = new QTableWidgetItem(QString::fromStdString(schrijfwijze));
        // The key this row stands for, whatever the cell shows while it is edited.
        eerste->setData(Qt::UserRole, QString::fromStdString(schrijfwijze));
        vervangingen_->setItem(rij, 0, eerste);
        auto* tweede = new QTableWidgetItem(verbind(uitspraken));
        tweede->setData(Qt::UserRole, QString::fromStdString(schrijfwijze));
        vervangingen_->setItem(rij, 1, tweede);
    }
}

void WoordenlijstTab::voegWoordToe(const std::string& woord) {
    const bool stondEr = bevat(r_.instellingen().woorden, woord);
    r_.voegWoordToe(woord);
    if (!stondEr && bevat(r_.instellingen().woorden, woord)) {
        nieuwWoord_->clear();
        meld(QString::fromStdString(woord) + " staat nu in de woordenlijst.");
    } else if (r_.melding()) {
        // The controller says why (already there, list full) as a message of its own.
        meld(QString::fromStdString(r_.melding()->tekst));
    }
}

void WoordenlijstTab::verwijderWoorden() {
    std::set<std::string> weg;
    for (const QListWidgetItem* item : woorden_->selectedItems()) {
        weg.insert(item->text().toStdString());
    }
    if (weg.empty()) {
        meld("Kies eerst de term die je wilt verwijderen.");
        return;
    }
    r_.wijzigInstellingen([&weg](TolmoInstellingen& t) {
        std::erase_if(t.woorden, [&weg](const std::string& w) { return weg.contains(w); });
        for (const auto& w : weg) {
            t.herkomst.erase(w);
        }
    });
    meld({});
}

void WoordenlijstTab::voegVervangingToe() {
    const std::string schrijfwijze = nieuweSchrijfwijze_->text().trimmed().toStdString();
    const auto uitspraken = varianten(nieuweVarianten_->text());
    if (schrijfwijze.empty() || uitspraken.empty()) {
        meld("Vul de schrijfwijze in en hoe je het uitspreekt.");
        return;
    }
    if (r_.instellingen().vervangingen.contains(schrijfwijze)) {
        meld(QString::fromStdString(schrijfwijze) +
             " staat al in de vervangingen. Wijzig de rij in de tabel.");
        return;
    }
    r_.wijzigInstellingen([&](TolmoInstellingen& t) { t.vervangingen[schrijfwijze] = uitspraken; });
    nieuweSchrijfwijze_->clear();
    nieuweVarianten_->clear();
    meld({});
}

void WoordenlijstTab::vervangingBewerkt(QTableWidgetItem* item) {
    const int rij = item->row();
    const std::string oud = item->data(Qt::UserRole).toString().toStdString();
    const std::string schrijfwijze = vervangingen_->item(rij, 0)->text().trimmed().toStdString();
    const auto uitspraken = varianten(vervangingen_->item(rij, 1)->text());
    const auto& nu = r_.instellingen().vervangingen;
    std::optional<QString> fout;
    if (schrijfwijze.empty()) {
        fout = "Een vervanging heeft een schrijfwijze nodig.";
    } else if (uitspraken.empty()) {
        fout = "Een vervanging heeft minstens één uitspraak nodig.";
    } else if (schrijfwijze != oud && nu.contains(schrijfwijze)) {
        fout = QString::fromStdString(schrijfwijze) + " staat al in de vervangingen.";
    }
    // Redrawn once the edit has finished: the cell is still being committed now.
    const auto tekenOpnieuw = [this] {
        QTimer::singleShot(0, this, [this] {
            getoondeVervangingen_.reset();
            toonVervangingen();
        });
    };
    if (fout) {
        meld(*fout);
        tekenOpnieuw();
        return;
    }
    auto nieuw = nu;
    nieuw.erase(oud);
    nieuw[schrijfwijze] = uitspraken;
    {
        // The row now stands for its new key and shows the variants as stored.
        const QSignalBlocker stil(vervangingen_);
        vervangingen_->item(rij, 0)->setData(Qt::UserRole, QString::fromStdString(schrijfwijze));
        vervangingen_->item(rij, 1)->setData(Qt::UserRole, QString::fromStdString(schrijfwijze));
        vervangingen_->item(rij, 0)->setText(QString::fromStdString(schrijfwijze));
        vervangingen_->item(rij, 1)->setText(verbind(uitspraken));
    }
    // The table already shows the edit; a renamed key may move to another row.
    getoondeVervangingen_ = nieuw;
    if (schrijfwijze != oud) {
        tekenOpnieuw();
    }
    r_.wijzigInstellingen([&nieuw](TolmoInstellingen& t) { t.vervangingen = nieuw; });
    meld({});
}

void WoordenlijstTab::verwijderVervangingen() {
    std::set<std::string> weg;
    for (const QModelIndex& index : vervangingen_->selectionModel()->selectedRows()) {
        weg.insert(
            vervangingen_->item(index.row(), 0)->data(Qt::UserRole).toString().toStdString());
    }
    if (weg.empty()) {
        meld("Kies eerst de vervanging die je wilt verwijderen.");
        return;
    }
    r_.wijzigInstellingen([&weg](TolmoInstellingen& t) {
        for (const auto& w : weg) {
            t.vervangingen.erase(w);
        }
    });
    meld({});
}

void WoordenlijstTab::meld(const QString& tekst) {
    melding_->setText(tekst);
}

}  // namespace tolmo
