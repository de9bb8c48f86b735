#include "Tolmo/linux/app/InstellingenVenster.h"

#include <QVBoxLayout>

#include "Tolmo/linux/app/AlgemeenTab.h"
#include "Tolmo/linux/app/HerkenningTab.h"
#include "Tolmo/linux/app/OpschonenTab.h"

namespace tolmo {

InstellingenVenster::InstellingenVenster(Onderdelen o)
    : anker_(std::make_shared<InstellingenVenster*>(this)) {
    setWindowTitle(QStringLiteral("Tolmo — Instellingen"));
    auto* indeling = new QVBoxLayout(this);
    indeling->addWidget(&tabs_);
    voegToe(std::make_unique<AlgemeenTab>(o.regelaar, o.startBijInloggen, o.zetStartBijInloggen),
            QStringLiteral("Algemeen"));
    voegToe(std::make_unique<HerkenningTab>(HerkenningTab::Onderdelen{
                o.regelaar, o.kluis, o.standaard, o.serverAdresGewijzigd, o.adresUitOmgeving}),
            QStringLiteral("Herkenning"));
    voegToe(std::make_unique<OpschonenTab>(o.regelaar), QStringLiteral("Opschonen"));
    o.regelaar.luister(
        [anker = std::weak_ptr<InstellingenVenster*>(anker_)](DictaatRegelaar::Wijziging w) {
            const auto a = anker.lock();
            if (!a || *a == nullptr) {
                return;
            }
            for (InstellingenTab* tab : (*a)->lijst_) {
                tab->ververs(w);
            }
        });
    resize(760, 760);
}

InstellingenVenster::~InstellingenVenster() {
    *anker_ = nullptr;
}

void InstellingenVenster::voegToe(std::unique_ptr<InstellingenTab> tab, const QString& naam) {
    lijst_.push_back(tab.get());
    tabs_.addTab(tab.release(), naam);
}

void InstellingenVenster::toon(const QString& tab) {
    for (int i = 0; i < tabs_.count(); ++i) {
        if (tabs_.tabText(i) == tab) {
            tabs_.setCurrentIndex(i);
        }
    }
    show();
    raise();
    activateWindow();
}

}  // namespace tolmo
