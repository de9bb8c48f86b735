#include "Tolmo/linux/app/HerkenningTab.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalBlocker>
#include <exception>

#include "Tolmo/MacVertaling/ServerAdres.h"
#include "Tolmo/linux/InstellingenKeuzes.h"
#include "Tolmo/linux/app/Opmaak.h"

namespace tolmo {

using opmaak::q;

namespace {

// The button id of the relay server; the three route choices use their own index.
constexpr int serverKeuze = 3;

QString bolletjes(int waarde) {
    QString s;
    for (int i = 1; i <= 5; ++i) {
        s += i <= waarde ? QStringLiteral("●") : QStringLiteral("○");
    }
    return s;
}

QString beoordeling(RouteKeuze keuze) {
    const EngineIndicatoren w = EngineIndicatoren::voor(keuze);
    auto deel = [](const char* naam, const Indicator& i) {
        return QString::fromUtf8(naam) + QStringLiteral(": ") + bolletjes(i.waarde) +
               QStringLiteral(" ") + q(i.label);
    };
    return deel("Kwaliteit", w.kwaliteit) + QStringLiteral("   ") + deel("Snelheid", w.snelheid) +
           QStringLiteral("   ") + deel("Privacy", w.privacy);
}

}  // namespace

// One secret: what is stored (masked, with where it comes from), a hidden field for a new one,
// Bewaren and Wissen.
class HerkenningTab::SleutelRij {
  public:
    SleutelRij(Sleutelbeheer& kluis, Sleutelbeheer::Soort soort, const QString& naam,
               QGridLayout& rooster, int rij, QWidget* ouder)
        : kluis_(kluis), soort_(soort) {
        rooster.addWidget(new QLabel(naam, ouder), rij, 0);
        stand_ = new QLabel(ouder);
        stand_->setTextInteractionFlags(Qt::TextSelectableByMouse);
        rooster.addWidget(stand_, rij, 1, 1, 3);
        veld_ = new QLineEdit(ouder);
        veld_->setEchoMode(QLineEdit::Password);
        veld_->setPlaceholderText(QStringLiteral("Nieuwe waarde plakken"));
        rooster.addWidget(veld_, rij + 1, 1);
        auto* bewaarKnop = new QPushButton(QStringLiteral("Bewaren"), ouder);
        auto* wisKnop = new QPushButton(QStringLiteral("Wissen"), ouder);
        rooster.addWidget(bewaarKnop, rij + 1, 2);
        rooster.addWidget(wisKnop, rij + 1, 3);
        melding_ = opmaak::meldingsRegel(ouder);
        rooster.addWidget(melding_, rij + 2, 1, 1, 3);
        QObject::connect(bewaarKnop, &QPushButton::clicked, ouder, [this] { bewaar(); });
        QObject::connect(veld_, &QLineEdit::returnPressed, ouder, [this] { bewaar(); });
        QObject::connect(wisKnop, &QPushButton::clicked, ouder, [this] { wis(); });
    }

    // A keyring may be locked or not answer: that is shown, and the app goes on.
    void toon() {
        try {
            if (const auto g = kluis_.zoek(soort_)) {
                stand_->setText(q(Sleutelbeheer::gemaskeerd(g->waarde) + " (uit " + g->bron + ")"));
            } else {
                stand_->setText(QStringLiteral("Niet ingesteld"));
            }
        } catch (const std::exception& e) {
            stand_->setText(q("Niet te lezen: " + std::string(e.what())));
        }
    }

  private:
    void bewaar() {
        const auto invoer = InstellingenKeuzes::sleutel(veld_->text().toStdString());
        if (!invoer.sleutel) {
            opmaak::toonMelding(*melding_, q(invoer.fout), true);
            return;
        }
        try {
            kluis_.zet(soort_, *invoer.sleutel);
        } catch (const std::exception& e) {
            opmaak::toonMelding(
                *melding_,
                q("Bewaren lukte niet (" + std::string(e.what()) + "). Er is niets bewaard."),
                true);
            return;
        }
        veld_->clear();
        opmaak::toonMelding(*melding_, q("Bewaard in " + kluis_.plek() + "."), false);
        toon();
    }

    void wis() {
        veld_->clear();
        bool gewist = false;
        std::optional<Sleutelbeheer::Gevonden> over;
        try {
            gewist = kluis_.wis(soort_);
            over = kluis_.zoek(soort_);
        } catch (const std::exception& e) {
            opmaak::toonMelding(*melding_, q("Wissen lukte niet (" + std::string(e.what()) + ")."),
                                true);
            return;
        }
        if (over) {
            // Only the environment can still hold one; the app cannot change that.
            opmaak::toonMelding(*melding_,
                                q("Er geldt nog een waarde uit " + over->bron +
                                  ". Haal die daar weg om hem niet meer te gebruiken."),
                                true);
        } else {
            opmaak::toonMelding(
                *melding_,
                gewist ? QStringLiteral("Gewist.") : QStringLiteral("Er was niets bewaard."),
                false);
        }
        toon();
    }

    Sleutelbeheer& kluis_;
    Sleutelbeheer::Soort soort_;
    QLabel* stand_;
    QLineEdit* veld_;
    QLabel* melding_;
};

HerkenningTab::HerkenningTab(Onderdelen onderdelen) : o_(std::move(onderdelen)) {
    QVBoxLayout* k = opmaak::kolom(*this);
    QWidget* vlak = k->parentWidget();

    k->addWidget(opmaak::kop(QStringLiteral("Route"), vlak));
    for (std::size_t i = 0; i < InstellingenKeuzes::routes.size(); ++i) {
        const RouteKeuze r = InstellingenKeuzes::routes[i];
        auto* knop = new QRadioButton(q(titel(r)) + QStringLiteral(" — ") + q(ondertitel(r)), vlak);
        routes_.addButton(knop, static_cast<int>(i));
        k->addWidget(knop);
        k->addWidget(
            opmaak::hulpTekst(q(beschrijving(r)) + QStringLiteral("\n") + beoordeling(r), vlak));
    }
    // The ratings are of the three routes above; the relay's depend on the provider behind it.
    k->addWidget(opmaak::hulpTekst(q(EngineIndicatoren::voetnoot), vlak));
    auto* server = new QRadioButton(QStringLiteral("Tolmo-server — via je eigen server"), vlak);
    routes_.addButton(server, serverKeuze);
    k->addWidget(server);
    k->addWidget(opmaak::hulpTekst(
        QStringLiteral(
            "De server bewaart de sleutel van de aanbieder; jij hebt alleen het adres en "
            "een toegangscode nodig (hieronder). Aanbieder achter de server:"),
        vlak));
    aanbieder_ = new QComboBox(vlak);
    aanbieder_->addItem(QStringLiteral("Mistral (EU)"), static_cast<int>(Aanbieder::mistral));
    aanbieder_->addItem(QStringLiteral("OpenAI (VS)"), static_cast<int>(Aanbieder::openAI));
    auto* aanbiederRij = new QHBoxLayout;
    aanbiederRij->addSpacing(22);
    aanbiederRij->addWidget(aanbieder_);
    aanbiederRij->addStretch();
    k->addLayout(aanbiederRij);
    QObject::connect(&routes_, &QButtonGroup::idClicked, this, [this](int id) {
        const Motor m = id == serverKeuze
                            ? Motor::tolmo
                            : InstellingenKeuzes::motor(
                                  InstellingenKeuzes::routes[static_cast<std::size_t>(id)]);
        o_.regelaar.wijzigInstellingen([m](TolmoInstellingen& t) { t.motor = m; });
    });
    QObject::connect(aanbieder_, &QComboBox::activated, this, [this](int i) {
        const auto a = static_cast<Aanbieder>(aanbieder_->itemData(i).toInt());
        o_.regelaar.wijzigInstellingen([a](TolmoInstellingen& t) { t.serverAanbieder = a; });
    });

    k->addWidget(opmaak::kop(QStringLiteral("Sleutels"), vlak));
    auto* rooster = new QGridLayout;
    rooster->setColumnStretch(1, 1);
    sleutels_.push_back(std::make_unique<SleutelRij>(o_.kluis, Sleutelbeheer::Soort::openai,
                                                     QStringLiteral("OpenAI"), *rooster, 0, vlak));
    sleutels_.push_back(std::make_unique<SleutelRij>(o_.kluis, Sleutelbeheer::Soort::mistral,
                                                     QStringLiteral("Mistral"), *rooster, 3, vlak));
    k->addLayout(rooster);

    k->addWidget(opmaak::kop(QStringLiteral("Tolmo-server"), vlak));
    auto* serverRooster = new QGridLayout;
    serverRooster->setColumnStretch(1, 1);
    serverRooster->addWidget(new QLabel(QStringLiteral("Adres"), vlak), 0, 0);
    adresStand_ = new QLabel(vlak);
    adresStand_->setWordWrap(true);
    serverRooster->addWidget(adresStand_, 0, 1, 1, 3);
    adres_ = new QLineEdit(vlak);
    adres_->setPlaceholderText(QStringLiteral("https://…"));
    serverRooster->addWidget(adres_, 1, 1);
    auto* bewaar = new QPushButton(QStringLiteral("Bewaren"), vlak);
    auto* wis = new QPushButton(QStringLiteral("Wissen"), vlak);
    serverRooster->addWidget(bewaar, 1, 2);
    serverRooster->addWidget(wis, 1, 3);
    adresMelding_ = opmaak::meldingsRegel(vlak);
    serverRooster->addWidget(adresMelding_, 2, 1, 1, 3);
    QObject::connect(bewaar, &QPushButton::clicked, this, [this] { bewaarAdres(); });
    QObject::connect(adres_, &QLineEdit::returnPressed, this, [this] { bewaarAdres(); });
    QObject::connect(wis, &QPushButton::clicked, this, [this] { wisAdres(); });
    sleutels_.push_back(std::make_unique<SleutelRij>(o_.kluis, Sleutelbeheer::Soort::server,
                                                     QStringLiteral("Toegangscode"), *serverRooster,
                                                     3, vlak));
    k->addLayout(serverRooster);
    k->addStretch();
    toonRoute();
    toonAdres();
}

HerkenningTab::~HerkenningTab() = default;

// The keys are read when the tab comes into view, not when the window is built at launch: a
// keyring lookup is a round trip to another process, and a locked one may wait for its prompt.
// Reading them each time also shows a key set with `tolmo sleutel` meanwhile.
void HerkenningTab::showEvent(QShowEvent* gebeurtenis) {
    InstellingenTab::showEvent(gebeurtenis);
    for (const auto& rij : sleutels_) {
        rij->toon();
    }
}

void HerkenningTab::ververs(DictaatRegelaar::Wijziging w) {
    if (w == DictaatRegelaar::Wijziging::instellingen) {
        toonRoute();
    }
}

void HerkenningTab::toonRoute() {
    const TolmoInstellingen& t = o_.regelaar.instellingen();
    const auto r = InstellingenKeuzes::route(t.motor);
    int id = serverKeuze;
    for (std::size_t i = 0; r && i < InstellingenKeuzes::routes.size(); ++i) {
        if (InstellingenKeuzes::routes[i] == *r) {
            id = static_cast<int>(i);
        }
    }
    routes_.button(id)->setChecked(true);
    const QSignalBlocker b(aanbieder_);
    aanbieder_->setCurrentIndex(aanbieder_->findData(static_cast<int>(t.serverAanbieder)));
}

std::optional<std::string> HerkenningTab::opgeslagenAdres() const {
    if (const auto w = o_.standaard.lees(ServerAdres::instellingSleutel)) {
        if (const auto* tekst = std::get_if<std::string>(&*w); tekst && !tekst->empty()) {
            return *tekst;
        }
    }
    return std::nullopt;
}

void HerkenningTab::toonAdres() {
    QString stand;
    if (o_.adresUitOmgeving) {
        stand = q(*o_.adresUitOmgeving + " (uit " + ServerAdres::omgevingsvariabele +
                  ", dat gaat voor)");
    } else if (const auto a = opgeslagenAdres()) {
        stand = q(*a);
    } else {
        stand = QStringLiteral("Niet ingesteld");
    }
    adresStand_->setText(stand);
}

void HerkenningTab::bewaarAdres() {
    const auto adres = ServerAdres::geldig(adres_->text().toStdString());
    if (!adres) {
        opmaak::toonMelding(*adresMelding_,
                            QStringLiteral("Dit is geen serveradres. Het begint met https:// (of "
                                           "http://) en dan de naam van de server."),
                            true);
        return;
    }
    o_.standaard.zet(ServerAdres::instellingSleutel, *adres);
    adres_->clear();
    opmaak::toonMelding(*adresMelding_, QStringLiteral("Bewaard."), false);
    if (o_.serverAdresGewijzigd) {
        o_.serverAdresGewijzigd();
    }
    toonAdres();
}

void HerkenningTab::wisAdres() {
    o_.standaard.verwijder(ServerAdres::instellingSleutel);
    adres_->clear();
    opmaak::toonMelding(*adresMelding_, QStringLiteral("Gewist."), false);
    if (o_.serverAdresGewijzigd) {
        o_.serverAdresGewijzigd();
    }
    toonAdres();
}

}  // namespace tolmo
