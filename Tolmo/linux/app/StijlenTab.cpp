#include "Tolmo/linux/app/StijlenTab.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QPushButton>
#include <QVBoxLayout>
#include <QWheelEvent>
#include <algorithm>
#include <set>
#include <utility>

#include "Tolmo/linux/AppStijlLijst.h"

namespace tolmo {
namespace {

// A style box that lets the wheel pass unless the user clicked it first: scrolling the long
// table must never change, and store, the style of whatever row passes under the pointer.
class StijlKeuze final : public QComboBox {
  public:
    using QComboBox::QComboBox;

  protected:
    void wheelEvent(QWheelEvent* gebeurtenis) override {
        if (hasFocus()) {
            QComboBox::wheelEvent(gebeurtenis);
        } else {
            gebeurtenis->ignore();
        }
    }
};

QComboBox* stijlKeuze(QWidget* ouder) {
    auto* keuze = new StijlKeuze(ouder);
    keuze->setFocusPolicy(Qt::StrongFocus);
    for (const auto& [stijl, ruw] : stijlWaarden.rijen) {
        keuze->addItem(StijlenTab::naam(stijl),
                       QString::fromUtf8(ruw.data(), static_cast<int>(ruw.size())));
    }
    return keuze;
}

int plek(Stijl stijl) {
    for (std::size_t i = 0; i < stijlWaarden.rijen.size(); ++i) {
        if (stijlWaarden.rijen[i].first == stijl) {
            return static_cast<int>(i);
        }
    }
    return 0;
}

Stijl opPlek(int i) {
    return stijlWaarden.rijen.at(static_cast<std::size_t>(std::max(i, 0))).first;
}

}  // namespace

QString StijlenTab::naam(Stijl stijl) {
    switch (stijl) {
        case Stijl::zakelijk:
            return "Zakelijk";
        case Stijl::neutraal:
            return "Neutraal";
        case Stijl::los:
            return "Los";
        case Stijl::letterlijk:
            return "Letterlijk";
    }
    return {};
}

StijlenTab::StijlenTab(DictaatRegelaar& regelaar, const std::vector<AppStijl>& platformApps,
                       VorigeApp vorigeApp, QWidget* ouder)
    : InstellingenTab(ouder),
      r_(regelaar),
      ingebouwd_(AppStijlLijst::ingebouwd(platformApps)),
      vorigeApp_(std::move(vorigeApp)) {
    auto* indeling = new QVBoxLayout(this);
    auto* uitleg = new QLabel(
        "Zakelijk: volledige zinnen zoals in een e-mail. Los: zoals een chatbericht. Letterlijk: "
        "zo min mogelijk veranderen, code en termen blijven precies staan.",
        this);
    uitleg->setWordWrap(true);
    indeling->addWidget(uitleg);

    auto* standaardRij = new QHBoxLayout;
    standaardRij->addWidget(new QLabel("Stijl voor andere apps:", this));
    standaard_ = stijlKeuze(this);
    standaardRij->addWidget(standaard_);
    standaardRij->addStretch();
    indeling->addLayout(standaardRij);
    QObject::connect(standaard_, &QComboBox::activated, this, [this](int i) {
        const Stijl stijl = opPlek(i);
        if (r_.instellingen().standaardStijl != stijl) {
            r_.wijzigInstellingen([stijl](TolmoInstellingen& t) { t.standaardStijl = stijl; });
        }
    });

    indeling->addWidget(new QLabel("Stijl per app:", this));
    tabel_ = new QTableWidget(0, 3, this);
    tabel_->setHorizontalHeaderLabels({"App", "Id", "Stijl"});
    tabel_->horizontalHeader()->setSectionResizeMode(0, QHeaderView::Stretch);
    tabel_->horizontalHeader()->setSectionResizeMode(1, QHeaderView::Stretch);
    tabel_->horizontalHeader()->setSectionResizeMode(2, QHeaderView::ResizeToContents);
    tabel_->verticalHeader()->hide();
    tabel_->setSelectionBehavior(QAbstractItemView::SelectRows);
    tabel_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    indeling->addWidget(tabel_, 1);

    auto* platform = new QLabel(
        "Gangbare Linux-apps zoals Thunderbird, Telegram en terminals krijgen hun eigen stijl "
        "ook als ze hier niet staan. Met Ingebouwde lijst herstellen zet je ze erbij, zodat je "
        "hun stijl kunt kiezen.",
        this);
    platform->setWordWrap(true);
    indeling->addWidget(platform);

    auto* knoppen = new QHBoxLayout;
    auto* voegToe = new QPushButton("Vorige app toevoegen", this);
    voegToe->setToolTip("Voegt de app toe die voor de instellingen actief was.");
    auto* verwijder = new QPushButton("Verwijderen", this);
    auto* herstel = new QPushButton("Ingebouwde lijst herstellen", this);
    herstel->setToolTip(
        "Zet de apps die Tolmo kent terug met hun eigen stijl; je eigen apps "
        "blijven staan.");
    knoppen->addWidget(voegToe);
    knoppen->addWidget(verwijder);
    knoppen->addStretch();
    knoppen->addWidget(herstel);
    indeling->addLayout(knoppen);
    QObject::connect(voegToe, &QPushButton::clicked, this, [this] { voegVorigeAppToe(); });
    QObject::connect(verwijder, &QPushButton::clicked, this, [this] { verwijderGekozen(); });
    QObject::connect(herstel, &QPushButton::clicked, this, [this] {
        zetRijen(AppStijlLijst::herstel(r_.instellingen().stijlPerApp, ingebouwd_));
        meld("De ingebouwde lijst is hersteld.");
    });

    melding_ = new QLabel(this);
    melding_->setWordWrap(true);
    indeling->addWidget(melding_);
    toon();
}

void StijlenTab::ververs(DictaatRegelaar::Wijziging wijziging) {
    if (wijziging == DictaatRegelaar::Wijziging::instellingen) {
        toon();
    }
}

void StijlenTab::toon() {
    const TolmoInstellingen& inst = r_.instellingen();
    standaard_->setCurrentIndex(plek(inst.standaardStijl));
    if (getoond_ == inst.stijlPerApp) {
        return;
    }
    getoond_ = inst.stijlPerApp;
    tabel_->setRowCount(0);
    tabel_->setRowCount(static_cast<int>(inst.stijlPerApp.size()));
    for (int rij = 0; rij < tabel_->rowCount(); ++rij) {
        const AppStijl& app = inst.stijlPerApp[static_cast<std::size_t>(rij)];
        tabel_->setItem(rij, 0, new QTableWidgetItem(QString::fromStdString(app.naam)));
        tabel_->setItem(rij, 1, new QTableWidgetItem(QString::fromStdString(app.bundleId)));
        auto* keuze = stijlKeuze(tabel_);
        keuze->setCurrentIndex(plek(app.stijl));
        // By id, not row: the rows may have moved by the time the user picks.
        QObject::connect(keuze, &QComboBox::activated, this, [this, id = app.bundleId](int i) {
            std::vector<AppStijl> rijen = r_.instellingen().stijlPerApp;
            for (AppStijl& a : rijen) {
                if (a.bundleId == id) {
                    a.stijl = opPlek(i);
                }
            }
            // The box already shows its choice; the table stays as it is.
            getoond_ = rijen;
            zetRijen(std::move(rijen));
        });
        tabel_->setCellWidget(rij, 2, keuze);
    }
}

void StijlenTab::zetRijen(std::vector<AppStijl> rijen) {
    if (rijen == r_.instellingen().stijlPerApp) {
        return;
    }
    r_.wijzigInstellingen([&rijen](TolmoInstellingen& t) { t.stijlPerApp = rijen; });
}

void StijlenTab::voegVorigeAppToe() {
    std::optional<AppStijl> app = vorigeApp_ ? vorigeApp_() : std::nullopt;
    std::vector<AppStijl> rijen = r_.instellingen().stijlPerApp;
    AppStijl nieuw = app.value_or(AppStijl{});
    nieuw.stijl = r_.instellingen().standaardStijl;
    if (nieuw.naam.empty()) {
        nieuw.naam = nieuw.bundleId;
    }
    if (const auto fout = AppStijlLijst::voegToe(rijen, nieuw, ingebouwd_)) {
        meld(QString::fromStdString(*fout));
        return;
    }
    const AppStijl toegevoegd = rijen.back();
    zetRijen(std::move(rijen));
    meld(QString::fromStdString(toegevoegd.naam) + " staat nu in de lijst met stijl " +
         naam(toegevoegd.stijl) + ".");
    tabel_->selectRow(tabel_->rowCount() - 1);
}

void StijlenTab::verwijderGekozen() {
    std::set<std::string> weg;
    for (const QModelIndex& index : tabel_->selectionModel()->selectedRows()) {
        weg.insert(tabel_->item(index.row(), 1)->text().toStdString());
    }
    if (weg.empty()) {
        meld("Kies eerst de app die je wilt verwijderen.");
        return;
    }
    std::vector<AppStijl> rijen = r_.instellingen().stijlPerApp;
    std::erase_if(rijen, [&weg](const AppStijl& a) { return weg.contains(a.bundleId); });
    zetRijen(std::move(rijen));
    meld({});
}

void StijlenTab::meld(const QString& tekst) {
    melding_->setText(tekst);
}

}  // namespace tolmo
