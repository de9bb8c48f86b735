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

void Plakker::bewaarGeheim(const std::string& tekst, bool herstelKlembord, Klaar klaar) {
    Opdracht opdracht{tekst, herstelKlembord, nullptr, std::move(klaar), true};
    wachtrij_.push_back(std::move(opdracht));
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
    if (opdracht.geheim) {
        // Marked like a dictation; a restore still waiting for an earlier one is taken over by
        // this one, which keeps the user's clipboard from before both.
        const std::int64_t token = transacties_.begin(opdracht.tekst);
        if (opdracht.herstel) {
            geheimHerstel_ = token;
            geheimTimer_ =
                lus_.eenmalig(geheimBewaartijd, [w = std::weak_ptr<Plakker*>(anker_), token] {
                    if (const auto p = w.lock()) {
                        Plakker& plakker = **p;
                        if (plakker.geheimHerstel_ == token) {
                            plakker.geheimHerstel_.reset();
                            plakker.transacties_.rondAf(token);
                        }
                    }
                });
        } else {
            transacties_.laatStaan(token);
        }
        opdracht.klaar(Uitkomst::opKlembord);
        volgende();
        return;
    }
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
    if (opdracht.herstel && klembord_.toontLezen()) {
        // Watch for the read before the keystroke goes out: a fast app reads at once.
        wachtOpLezen(token, opdracht.tekst);
        klembord_.stuurPlakToets();
        opdracht.klaar(Uitkomst::verstuurd);
        return;
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

void Plakker::wachtOpLezen(std::int64_t token, std::string tekst) {
    const std::weak_ptr<Plakker*> w(anker_);
    leesTimer_ = lus_.eenmalig(langsteWachtOpLezen, [w, token, tekst] {
        if (const auto p = w.lock()) {
            (**p).sluitLezenAf(token, false, tekst);
        }
    });
    // Every read starts the quiet time again; the restore follows the last one.
    klembord_.zetOpGelezen([w, token] {
        if (const auto p = w.lock()) {
            Plakker& plakker = **p;
            plakker.leesTimer_ = plakker.lus_.eenmalig(stilteNaLezen, [w, token] {
                if (const auto q = w.lock()) {
                    (**q).sluitLezenAf(token, true, {});
                }
            });
        }
    });
}

void Plakker::sluitLezenAf(std::int64_t token, bool gelezen, const std::string& tekst) {
    klembord_.zetOpGelezen({});
    leesTimer_.annuleer();
    if (openHerstel_ == token) {
        openHerstel_.reset();
        if (gelezen) {
            transacties_.rondAf(token);
        } else {
            // A copy the user made meanwhile is theirs; otherwise the text is written again as
            // text meant to stay, so clipboard managers keep it too.
            if (transacties_.laatStaan(token)) {
                klembord_.zetTekst(tekst);
                if (opNietGelezen_) {
                    opNietGelezen_();
                }
            }
        }
    }
    volgende();
}

int Plakker::rondAfNu() {
    klembord_.zetOpGelezen({});
    leesTimer_.annuleer();
    geheimTimer_.annuleer();
    std::string over;
    for (const Opdracht& o : wachtrij_) {
        over += (over.empty() ? "" : "\n") + o.tekst;
    }
    const auto aantal = static_cast<int>(wachtrij_.size());
    wachtrij_.clear();
    if (geheimHerstel_) {
        const std::int64_t token = *geheimHerstel_;
        geheimHerstel_.reset();
        transacties_.rondAf(token);
    }
    if (openHerstel_) {
        const std::int64_t token = *openHerstel_;
        openHerstel_.reset();
        transacties_.rondAf(token);
    }
    if (aantal > 0) {
        klembord_.zetTekst(over);
    }
    return aantal;
}

}  // namespace tolmo
