#include "Tolmo/Plakker/Plakker.h"

namespace tolmo {

Plakker::Plakker(KlembordPoort& klembord, HoofdLus& lus, const Toestemmingen& toestemmingen)
    : klembord_(klembord),
      lus_(lus),
      toestemmingen_(toestemmingen),
      transacties_(klembord),
      anker_(std::make_shared<Plakker*>(this)) {}

Plakker::~Plakker() {
    anker_.reset();
}

void Plakker::plak(const std::string& tekst, bool herstelKlembord, DoelKlopt doelKlopt,
                   Klaar klaar) {
    if (!toestemmingen_.toegankelijkheid()) {
        // No keystroke can be sent: the text waits on the clipboard for the user.
        klembord_.zetTekst(tekst);
        klaar(Uitkomst::opKlembord);
        return;
    }
    wachtrij_.push_back({tekst, herstelKlembord, std::move(doelKlopt), std::move(klaar)});
    if (!bezig_) {
        bezig_ = true;
        lus_.post([w = std::weak_ptr<Plakker*>(anker_)] {
            if (const auto p = w.lock()) {
                (**p).volgende();
            }
        });
    }
}

void Plakker::volgende() {
    if (wachtrij_.empty()) {
        bezig_ = false;
        return;
    }
    Opdracht opdracht = std::move(wachtrij_.front());
    wachtrij_.pop_front();
    voerUit(std::move(opdracht));
}

void Plakker::voerUit(Opdracht opdracht) {
    if (opdracht.doelKlopt && !opdracht.doelKlopt()) {
        klembord_.zetTekst(opdracht.tekst);
        opdracht.klaar(Uitkomst::doelGewijzigd);
        volgende();
        return;
    }
    std::int64_t token = 0;
    if (opdracht.herstel) {
        token = transacties_.begin(opdracht.tekst);
        openHerstel_ = token;
    } else {
        klembord_.zetTekst(opdracht.tekst);
    }
    klembord_.stuurPlakToets();
    opdracht.klaar(Uitkomst::verstuurd);
    // The next paste waits until the target app has read the clipboard and it is restored.
    lus_.postNa(herstelVertraging,
                [w = std::weak_ptr<Plakker*>(anker_), herstel = opdracht.herstel, token] {
                    if (const auto p = w.lock()) {
                        Plakker& plakker = **p;
                        if (herstel && plakker.openHerstel_ == token) {
                            plakker.openHerstel_.reset();
                            plakker.transacties_.rondAf(token);
                        }
                        plakker.volgende();
                    }
                });
}

void Plakker::rondAfNu() {
    wachtrij_.clear();
    if (openHerstel_) {
        const std::int64_t token = *openHerstel_;
        openHerstel_.reset();
        transacties_.rondAf(token);
    }
}

}  // namespace tolmo
