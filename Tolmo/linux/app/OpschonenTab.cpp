#include "Tolmo/linux/app/OpschonenTab.h"

#include <QFocusEvent>
#include <QHBoxLayout>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalBlocker>
#include <QTextCursor>
#include <functional>
#include <string>
#include <vector>

#include "Tolmo/linux/app/Opmaak.h"
#include "TolmoKern/Tekst/Tekst.h"

namespace tolmo {

using opmaak::q;

namespace {

// A sample field that hands its text over when the user leaves it.
class VoorbeeldVeld final : public QPlainTextEdit {
  public:
    VoorbeeldVeld(std::function<void()> verlaten, QWidget* ouder)
        : QPlainTextEdit(ouder), verlaten_(std::move(verlaten)) {}

  protected:
    void focusOutEvent(QFocusEvent* e) override {
        QPlainTextEdit::focusOutEvent(e);
        verlaten_();
    }

  private:
    std::function<void()> verlaten_;
};

// What the fields hold, as the settings keep it: the filled-in samples, each cut to the length
// the cleaner shows, so what is stored is what is used.
std::vector<std::string> alsVoorbeelden(
    const std::array<QPlainTextEdit*, Schrijfstijl::aantalVoorbeelden>& velden) {
    std::vector<std::string> uit;
    for (const QPlainTextEdit* v : velden) {
        const std::string tekst = Tekst::trim(v->toPlainText().toStdString());
        if (!tekst.empty()) {
            uit.push_back(Tekst::eersteTekens(tekst, Schrijfstijl::maxTekens));
        }
    }
    return uit;
}

}  // namespace

OpschonenTab::OpschonenTab(DictaatRegelaar& regelaar) : regelaar_(regelaar) {
    QVBoxLayout* k = opmaak::kolom(*this);
    QWidget* vlak = k->parentWidget();

    opschonen_ = new QCheckBox(QStringLiteral("Opschonen met een taalmodel"), vlak);
    k->addWidget(opschonen_);
    k->addWidget(opmaak::hulpTekst(
        QStringLiteral("Aan: een klein taalmodel zet leestekens en hoofdletters goed, haalt eh en "
                       "ehm weg en verbetert namen uit de woordenlijst. Uit: je krijgt precies wat "
                       "de spraakherkenning hoorde."),
        vlak));
    QObject::connect(opschonen_, &QCheckBox::clicked, this, [this](bool aan) {
        regelaar_.wijzigInstellingen([aan](TolmoInstellingen& t) { t.opschonen = aan; });
    });

    k->addWidget(opmaak::kop(QStringLiteral("Hoe streng"), vlak));
    auto* niveauRij = new QHBoxLayout;
    niveauRij->setContentsMargins(0, 0, 0, 0);
    for (const auto& [n, naam] :
         {std::pair{Opschoonniveau::licht, "Licht"}, std::pair{Opschoonniveau::strak, "Strak"}}) {
        auto* knop = new QRadioButton(QString::fromUtf8(naam), vlak);
        niveau_.addButton(knop, static_cast<int>(n));
        niveauRij->addWidget(knop);
    }
    niveauRij->addStretch();
    k->addLayout(niveauRij);
    k->addWidget(opmaak::hulpTekst(
        QStringLiteral("Licht: leestekens, hoofdletters, eh en ehm; je zinnen blijven zoals je ze "
                       "zei. Strak (standaard): haalt ook valse starts, afgebroken halve zinnen en "
                       "opvulwoorden als zeg maar, gewoon en eigenlijk weg. Zo wordt \"Dat moet "
                       "wel... Ik wil eigenlijk gewoon niet dat ze een key invullen\": \"Ik wil "
                       "niet dat ze een key invullen.\" Er wordt niets samengevat of toegevoegd. "
                       "Stijl Letterlijk blijft altijd minimaal."),
        vlak));
    QObject::connect(&niveau_, &QButtonGroup::idClicked, this, [this](int id) {
        const auto n = static_cast<Opschoonniveau>(id);
        regelaar_.wijzigInstellingen([n](TolmoInstellingen& t) { t.opschoonNiveau = n; });
    });

    k->addWidget(opmaak::kop(QStringLiteral("Gesproken opdrachten"), vlak));
    opdrachten_ = new QCheckBox(QStringLiteral("Spraakopdrachten"), vlak);
    k->addWidget(opdrachten_);
    k->addWidget(opmaak::hulpTekst(
        QStringLiteral(
            "Aan: zeg \"nieuwe regel\", \"nieuwe alinea\", \"komma\", \"punt\" of "
            "\"schrap dat\". Zeg ze los, met een korte pauze ervoor of erna; \"de "
            "nieuwe regel geldt\" blijft gewoon tekst. Hoe de rest van de tekst eruitziet, "
            "hangt af van de stijl van de app waarin je dicteert (zie Stijlen)."),
        vlak));
    QObject::connect(opdrachten_, &QCheckBox::clicked, this, [this](bool aan) {
        regelaar_.wijzigInstellingen([aan](TolmoInstellingen& t) { t.spraakopdrachten = aan; });
    });

    k->addWidget(opmaak::kop(QStringLiteral("Zo schrijf ik"), vlak));
    k->addWidget(opmaak::hulpTekst(
        QStringLiteral("Plak tot drie berichten die je zelf schreef (elk tot 400 tekens). Het "
                       "taalmodel volgt dan je toon, leestekens en hoofdletters."),
        vlak));
    for (std::size_t i = 0; i < voorbeelden_.size(); ++i) {
        auto* veld = new VoorbeeldVeld([this] { bewaarVoorbeelden(); }, vlak);
        veld->setPlaceholderText(QStringLiteral("Voorbeeld %1").arg(i + 1));
        veld->setTabChangesFocus(true);
        veld->setFixedHeight(56);
        voorbeelden_[i] = veld;
        tellers_[i] = new QLabel(vlak);
        tellers_[i]->setAlignment(Qt::AlignRight);
        tellers_[i]->setForegroundRole(QPalette::PlaceholderText);
        k->addWidget(veld);
        k->addWidget(tellers_[i]);
        QObject::connect(veld, &QPlainTextEdit::textChanged, this, [this, i] {
            QPlainTextEdit* v = voorbeelden_[i];
            const std::string tekst = v->toPlainText().toStdString();
            std::size_t n = Tekst::aantalTekens(tekst);
            // More than the cleaner would read is cut off as it is typed, so the field never
            // promises what is not used.
            if (n > Schrijfstijl::maxTekens) {
                const QSignalBlocker b(v);
                v->setPlainText(q(Tekst::eersteTekens(tekst, Schrijfstijl::maxTekens)));
                v->moveCursor(QTextCursor::End);
                n = Schrijfstijl::maxTekens;
            }
            tellers_[i]->setText(QStringLiteral("%1/%2").arg(n).arg(Schrijfstijl::maxTekens));
        });
    }
    auto* bewaar = new QPushButton(QStringLiteral("Voorbeelden bewaren"), vlak);
    auto* bewaarRij = new QHBoxLayout;
    bewaarRij->addStretch();
    bewaarRij->addWidget(bewaar);
    k->addLayout(bewaarRij);
    QObject::connect(bewaar, &QPushButton::clicked, this, [this] { bewaarVoorbeelden(); });
    k->addStretch();
    toonStand();
}

void OpschonenTab::bewaarVoorbeelden() {
    auto nieuw = alsVoorbeelden(voorbeelden_);
    if (nieuw != regelaar_.instellingen().stijlVoorbeelden) {
        regelaar_.wijzigInstellingen(
            [&nieuw](TolmoInstellingen& t) { t.stijlVoorbeelden = std::move(nieuw); });
    }
}

void OpschonenTab::ververs(DictaatRegelaar::Wijziging w) {
    if (w == DictaatRegelaar::Wijziging::instellingen) {
        toonStand();
    }
}

void OpschonenTab::toonStand() {
    const TolmoInstellingen& t = regelaar_.instellingen();
    const QSignalBlocker b1(opschonen_), b2(opdrachten_);
    opschonen_->setChecked(t.opschonen);
    niveau_.button(static_cast<int>(t.opschoonNiveau))->setChecked(true);
    opdrachten_->setChecked(t.spraakopdrachten);
    for (std::size_t i = 0; i < voorbeelden_.size(); ++i) {
        QPlainTextEdit* v = voorbeelden_[i];
        // A field being typed in keeps its text; it is stored when the user leaves it.
        if (!v->hasFocus()) {
            v->setPlainText(i < t.stijlVoorbeelden.size() ? q(t.stijlVoorbeelden[i]) : QString());
        }
    }
}

}  // namespace tolmo
