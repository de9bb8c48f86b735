#include "Tolmo/Sneltoetsen/SneltoetsMonitor.h"

#include <limits>
#include <utility>

namespace tolmo {

namespace {

// The keys that may serve as hold key, for reporting one pressed while another is configured.
constexpr HoudToets kandidaten[] = {HoudToets::fn, HoudToets::rechterOption,
                                    HoudToets::rechterCommand, HoudToets::rechterControl};

}  // namespace

template <typename... Args, typename F>
std::function<void(Args...)> SneltoetsMonitor::zwak(F f) {
    return [w = std::weak_ptr<SneltoetsMonitor*>(anker_), f = std::move(f)](Args... args) {
        if (const auto p = w.lock()) {
            f(**p, std::forward<Args>(args)...);
        }
    };
}

std::string_view SneltoetsMonitor::tekst(Mechanisme m, const ToetsBron::Teksten& teksten) {
    switch (m) {
        case Mechanisme::geen:
            return teksten.geen;
        case Mechanisme::tap:
            return teksten.viaTap;
        case Mechanisme::nsEvent:
            return teksten.viaMonitor;
    }
    return {};
}

SneltoetsMonitor::SneltoetsMonitor(ToetsBron& bron, HoofdLus& lus, HoudToets houdToets)
    : bron_(bron),
      lus_(lus),
      anker_(std::make_shared<SneltoetsMonitor*>(this)),
      herkenner_(houdToets),
      laatsteTapGebeurtenis_(-std::numeric_limits<double>::infinity()) {}

SneltoetsMonitor::~SneltoetsMonitor() {
    // First, so that nothing the handles' teardown might still trigger reaches a half-destroyed
    // monitor.
    anker_.reset();
}

void SneltoetsMonitor::log(const std::string& regel) const {
    if (opLog) {
        opLog(regel);
    }
}

void SneltoetsMonitor::start(bool invoermonitoring, bool toegankelijkheid) {
    if (invoermonitoring && !tap_ && !tapMislukt_) {
        maakTap();
    }
    installeerMonitors(toegankelijkheid);
    const Mechanisme nieuw = invoermonitoring && tap_ && !tapLevertNiets_
                                 ? Mechanisme::tap
                                 : (globaleMonitor_ ? Mechanisme::nsEvent : Mechanisme::geen);
    // The monitor begins without a mechanism, so a first start without permissions changes
    // nothing; the user still needs to read in the log why the hold key does not work.
    if (!gestart_ && nieuw == Mechanisme::geen) {
        log(std::string(bron_.teksten().nietActief));
    }
    gestart_ = true;
    zetMechanisme(nieuw);
}

void SneltoetsMonitor::maakTap() {
    tap_ = bron_.maakTap(
        zwak<const ToetsBron::Gebeurtenis&>(
            [](SneltoetsMonitor& m, const ToetsBron::Gebeurtenis& g) { m.tapGebeurtenis(g); }),
        zwak<ToetsBron::TapUit>(
            [](SneltoetsMonitor& m, ToetsBron::TapUit r) { m.tapUitgezet(r); }));
    if (!tap_) {
        // Not retried: a refused tap stays refused until the app is restarted.
        tapMislukt_ = true;
        log(std::string(bron_.teksten().tap) + " maken mislukt");
        return;
    }
    tap_->zetAan();
    log(std::string(bron_.teksten().tapGemaakt) + (tap_->isAan() ? "aan" : "uit") + ")");
}

void SneltoetsMonitor::installeerMonitors(bool ook) {
    if (!ook) {
        globaleMonitor_.reset();
        lokaleMonitor_.reset();
        return;
    }
    if (globaleMonitor_) {
        return;
    }
    const auto handler = zwak<const ToetsBron::Gebeurtenis&>(
        [](SneltoetsMonitor& m, const ToetsBron::Gebeurtenis& g) { m.monitorGebeurtenis(g); });
    globaleMonitor_ = bron_.installeerGlobaleMonitor(handler);
    lokaleMonitor_ = bron_.installeerLokaleMonitor(handler);
}

void SneltoetsMonitor::zetMechanisme(Mechanisme nieuw) {
    if (nieuw == mechanisme_) {
        return;
    }
    // A hold seen through the old path cannot be ended through the new one.
    if (herkenner_.houdtVast()) {
        verstuur(Actie::annuleer);
    }
    herkenner_.reset();
    houdtoetsOmlaag_ = false;
    const bool anders = mechanisme_ != nieuw;
    mechanisme_ = nieuw;
    if (anders && opMechanisme) {
        opMechanisme();
    }
    if (nieuw == Mechanisme::geen) {
        log(std::string(bron_.teksten().nietActief));
    } else {
        log("Houdtoets actief via " + std::string(tekst(nieuw)));
    }
}

void SneltoetsMonitor::tapUitgezet(ToetsBron::TapUit reden) {
    if (!tap_) {
        return;
    }
    tap_->zetAan();
    log(std::string(bron_.teksten().tap) + " stond uit (" +
        (reden == ToetsBron::TapUit::timeOut ? "time-out" : "gebruikersinvoer") +
        "), weer aangezet");
}

void SneltoetsMonitor::tapGebeurtenis(const ToetsBron::Gebeurtenis& g) {
    // Any key the tap delivers proves it alive, even while it is not the chosen path.
    laatsteTapGebeurtenis_ = lus_.uptime();
    tapGemist_ = 0;
    // Our own paste keystroke would otherwise be "another key" and cancel a hold just begun.
    if (mechanisme_ == Mechanisme::tap && !g.eigen) {
        herken(g);
    }
}

void SneltoetsMonitor::monitorGebeurtenis(const ToetsBron::Gebeurtenis& g) {
    switch (mechanisme_) {
        case Mechanisme::geen:
            return;
        case Mechanisme::nsEvent:
            if (!g.eigen) {
                herken(g);
            }
            return;
        case Mechanisme::tap:
            // Only a witness now: a modifier change the monitors saw but the tap did not points
            // at a tap that the system created and reports enabled but that delivers nothing.
            // Key-downs are no witnesses.
            if (g.soort == ToetsBron::Soort::modificatie) {
                const double gezienOp = lus_.uptime();
                lus_.postNa(getuigeWachttijd, zwak<>([gezienOp](SneltoetsMonitor& m) {
                                m.getuigeControle(gezienOp);
                            }));
            }
            return;
    }
}

void SneltoetsMonitor::getuigeControle(double gezienOp) {
    if (mechanisme_ != Mechanisme::tap || !(laatsteTapGebeurtenis_ < gezienOp - getuigeMarge)) {
        return;
    }
    ++tapGemist_;
    if (tapGemist_ < gemistVoorOpgeven) {
        return;
    }
    tapLevertNiets_ = true;
    log(std::string(bron_.teksten().tapLevertNiets));
    zetMechanisme(Mechanisme::nsEvent);
}

void SneltoetsMonitor::herken(const ToetsBron::Gebeurtenis& g) {
    std::optional<Actie> actie;
    if (g.soort == ToetsBron::Soort::modificatie) {
        logModificatie(g);
        actie = herkenner_.modificatieGewijzigd(g.toetscode, g.vlaggen, lus_.uptime());
    } else {
        actie = herkenner_.andereToetsOmlaag();
    }
    if (actie) {
        verstuur(*actie);
    }
}

void SneltoetsMonitor::verstuur(Actie actie) {
    if (actie == Actie::begin) {
        vangnet_ =
            lus_.herhalend(vangnetInterval, zwak<>([](SneltoetsMonitor& m) { m.vangnetTik(); }));
    } else {
        vangnet_.annuleer();
    }
    lus_.post(zwak<>([actie](SneltoetsMonitor& m) {
        if (m.opHoudActie) {
            m.opHoudActie(actie);
        }
    }));
}

void SneltoetsMonitor::vangnetTik() {
    const auto actie = herkenner_.vangnetPeiling(bron_.sessieVlaggen(), lus_.uptime());
    if (actie) {
        houdtoetsOmlaag_ = false;
        verstuur(*actie);
    }
}

void SneltoetsMonitor::logModificatie(const ToetsBron::Gebeurtenis& g) {
    if (!eersteGelogd_) {
        eersteGelogd_ = true;
        log("Eerste modificatietoets ontvangen via " + std::string(tekst(mechanisme_)));
    }
    const HoudToets eigen = herkenner_.toets;
    if (toetscode(eigen) == g.toetscode) {
        const bool omlaag = g.vlaggen.bevatEen(apparaatVlag(eigen));
        if (omlaag != houdtoetsOmlaag_) {
            houdtoetsOmlaag_ = omlaag;
            log(omlaag ? "Houdtoets ingedrukt" : "Houdtoets losgelaten");
        }
        return;
    }
    for (const HoudToets kandidaat : kandidaten) {
        if (toetscode(kandidaat) != g.toetscode || !g.vlaggen.bevatEen(apparaatVlag(kandidaat))) {
            continue;
        }
        if (andereGelogd_.insert(g.toetscode).second) {
            log(std::string(label(kandidaat)) + " gezien, maar de houdtoets is " +
                std::string(label(eigen)));
        }
    }
}

void SneltoetsMonitor::zetHoudToets(HoudToets toets) {
    if (herkenner_.houdtVast()) {
        verstuur(Actie::annuleer);
    }
    herkenner_ = HoudToetsHerkenner(toets);
    houdtoetsOmlaag_ = false;
    andereGelogd_.clear();
}

void SneltoetsMonitor::stop() {
    tap_.reset();
    globaleMonitor_.reset();
    lokaleMonitor_.reset();
    const bool anders = mechanisme_ != Mechanisme::geen;
    mechanisme_ = Mechanisme::geen;
    if (anders && opMechanisme) {
        opMechanisme();
    }
    herkenner_.reset();
    vangnet_.annuleer();
}

bool SneltoetsMonitor::registreerWissel(const std::optional<Toetscombinatie>& combinatie) {
    hotKey_.reset();
    if (!combinatie || !combinatie->isGeldig()) {
        return true;
    }
    if (!hotKeyHandler_) {
        hotKeyHandler_ = bron_.installeerWisselHandler(zwak<>([](SneltoetsMonitor& m) {
            if (m.opWissel) {
                m.opWissel();
            }
        }));
        if (!hotKeyHandler_) {
            // Registered without a handler, the combination would be taken from other apps
            // and still do nothing here.
            return false;
        }
    }
    hotKey_ = bron_.registreerWissel(*combinatie);
    return hotKey_ != nullptr;
}

void SneltoetsMonitor::verwijderWissel() {
    hotKey_.reset();
}

}  // namespace tolmo
