#pragma once

#include <algorithm>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Tolmo/Sneltoetsen/ToetsBron.h"

namespace tolmo::nep {

// A key source that records what it was asked (in verzoeken, in order) and lets a test play the
// system: deliver key events, switch the tap off, press the toggle combination, refuse things.
class NepToetsBron final : public ToetsBron {
  public:
    // What the system grants.
    bool tapLukt = true;
    // A tap that exists and reports enabled but never delivers a key (a permission granted to
    // another build of the app).
    bool tapLevert = true;
    bool tapGaatAan = true;
    bool globaleMonitorLukt = true;
    bool handlerLukt = true;
    std::vector<Toetscombinatie> bezet;
    ToetsVlaggen sessie;

    // What it was asked, e.g. "maakTap", "tap aan", "tap weg", "globale monitor",
    // "globale monitor weg", "registreer ⌃⌥D", "wissel weg ⌃⌥D".
    std::vector<std::string> verzoeken;

    // The handlers of live registrations (empty once removed) ...
    OpGebeurtenis tapHandler, globaleHandler, lokaleHandler;
    std::function<void(TapUit)> tapUitHandler;
    std::function<void()> wisselHandler;
    std::optional<Toetscombinatie> geregistreerd;
    bool tapAan = false;
    // ... and copies kept for good, to call after their owner is gone.
    OpGebeurtenis oudeTapHandler, oudeGlobaleHandler;
    std::function<void(TapUit)> oudeTapUitHandler;
    std::function<void()> oudeWisselHandler;

    std::unique_ptr<Tap> maakTap(OpGebeurtenis opGebeurtenis,
                                 std::function<void(TapUit)> opUitgezet) override {
        verzoeken.push_back("maakTap");
        if (!tapLukt) {
            return nullptr;
        }
        tapHandler = oudeTapHandler = std::move(opGebeurtenis);
        tapUitHandler = oudeTapUitHandler = std::move(opUitgezet);
        tapAan = false;
        return std::make_unique<NepTap>(*this);
    }
    std::unique_ptr<Registratie> installeerGlobaleMonitor(OpGebeurtenis op) override {
        oudeGlobaleHandler = op;
        return registreer("globale monitor", globaleMonitorLukt, globaleHandler, std::move(op));
    }
    std::unique_ptr<Registratie> installeerLokaleMonitor(OpGebeurtenis op) override {
        return registreer("lokale monitor", true, lokaleHandler, std::move(op));
    }
    std::unique_ptr<Registratie> installeerWisselHandler(std::function<void()> op) override {
        if (handlerLukt) {
            oudeWisselHandler = op;
        }
        return registreer("wisselhandler", handlerLukt, wisselHandler, std::move(op));
    }
    std::unique_ptr<Registratie> registreerWissel(const Toetscombinatie& c) override {
        verzoeken.push_back("registreer " + c.weergave());
        if (std::find(bezet.begin(), bezet.end(), c) != bezet.end()) {
            return nullptr;
        }
        geregistreerd = c;
        return std::make_unique<NepRegistratie>([this, c] {
            verzoeken.push_back("wissel weg " + c.weergave());
            geregistreerd.reset();
        });
    }
    ToetsVlaggen sessieVlaggen() const override { return sessie; }

    // One real key event: the session state follows it, the tap sees it first (when it exists,
    // is enabled and delivers), then the global monitor, or the local one when the event is
    // aimed at the app itself.
    void toets(const Gebeurtenis& g, bool inApp = false) {
        if (g.soort == Soort::modificatie) {
            sessie = g.vlaggen;
        }
        // Copies throughout: a handler may remove its own registration.
        if (auto h = tapHandler; h && tapAan && tapLevert) {
            h(g);
        }
        if (auto h = inApp ? lokaleHandler : globaleHandler) {
            h(g);
        }
    }
    void zetTapUit(TapUit reden) {
        tapAan = false;
        if (auto h = tapUitHandler) {
            h(reden);
        }
    }
    void drukWissel() {
        if (auto h = wisselHandler; h && geregistreerd) {
            h();
        }
    }

  private:
    // Records the request "naam"; when granted, installs the handler until the registration
    // goes, which is recorded as "naam weg".
    template <class Handler>
    std::unique_ptr<Registratie> registreer(const std::string& naam, bool lukt, Handler& plek,
                                            Handler handler) {
        verzoeken.push_back(naam);
        if (!lukt) {
            return nullptr;
        }
        plek = std::move(handler);
        return std::make_unique<NepRegistratie>([this, naam, &plek] {
            verzoeken.push_back(naam + " weg");
            plek = nullptr;
        });
    }

    class NepTap final : public Tap {
      public:
        explicit NepTap(NepToetsBron& b) : bron_(b) {}
        ~NepTap() override {
            bron_.verzoeken.push_back("tap weg");
            bron_.tapAan = false;
            bron_.tapHandler = nullptr;
            bron_.tapUitHandler = nullptr;
        }
        void zetAan() override {
            bron_.verzoeken.push_back("tap aan");
            bron_.tapAan = bron_.tapGaatAan;
        }
        bool isAan() const override { return bron_.tapAan; }

      private:
        NepToetsBron& bron_;
    };

    class NepRegistratie final : public Registratie {
      public:
        explicit NepRegistratie(std::function<void()> weg) : weg_(std::move(weg)) {}
        ~NepRegistratie() override { weg_(); }

      private:
        std::function<void()> weg_;
    };
};

}  // namespace tolmo::nep
