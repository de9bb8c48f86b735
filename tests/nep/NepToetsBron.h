#pragma once

#include <algorithm>
#include <functional>
#include <memory>
#include <optional>
#include <set>
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

    // What it was asked: "maakTap", "tap aan", "globale monitor", "lokale monitor",
    // "wisselhandler", "registreer ⌃⌥D"; a registration that goes adds "<naam> weg" ("tap weg",
    // "registreer ⌃⌥D weg").
    std::vector<std::string> verzoeken;
    // The registrations alive now, by those names.
    std::set<std::string> levend;
    // The handlers last handed over, kept after their registration is gone so that a test can
    // still call them, as the system might a moment late.
    OpGebeurtenis tapHandler, globaleHandler;
    std::function<void(TapUit)> tapUitHandler;
    std::function<void()> wisselHandler;
    std::optional<Toetscombinatie> geregistreerd;
    bool tapAan = false;

    std::unique_ptr<Tap> maakTap(OpGebeurtenis opGebeurtenis,
                                 std::function<void(TapUit)> opUitgezet) override {
        verzoeken.emplace_back("maakTap");
        if (!tapLukt) {
            return nullptr;
        }
        tapHandler = std::move(opGebeurtenis);
        tapUitHandler = std::move(opUitgezet);
        levend.insert("tap");
        return std::make_unique<NepTap>(*this);
    }
    std::unique_ptr<Registratie> installeerGlobaleMonitor(OpGebeurtenis op) override {
        globaleHandler = std::move(op);
        return registreer("globale monitor", globaleMonitorLukt);
    }
    // Events aimed at the app itself, the local monitor's share, are not played.
    std::unique_ptr<Registratie> installeerLokaleMonitor(OpGebeurtenis) override {
        return registreer("lokale monitor", true);
    }
    std::unique_ptr<Registratie> installeerWisselHandler(std::function<void()> op) override {
        wisselHandler = std::move(op);
        return registreer("wisselhandler", handlerLukt);
    }
    std::unique_ptr<Registratie> registreerWissel(const Toetscombinatie& c) override {
        auto r =
            registreer("registreer " + c.weergave(), std::ranges::find(bezet, c) == bezet.end());
        geregistreerd = r ? std::optional(c) : std::nullopt;
        return r;
    }
    ToetsVlaggen sessieVlaggen() const override { return sessie; }

    // One real key event in another app: the session state follows it, the tap sees it first
    // (when it exists, is enabled and delivers), then the global monitor. Copies throughout: a
    // handler may remove its own registration.
    void toets(const Gebeurtenis& g) {
        if (g.soort == Soort::modificatie) {
            sessie = g.vlaggen;
        }
        if (auto h = tapHandler; levend.contains("tap") && tapAan && tapLevert) {
            h(g);
        }
        if (auto h = globaleHandler; levend.contains("globale monitor")) {
            h(g);
        }
    }
    void zetTapUit(TapUit reden) {
        tapAan = false;
        if (auto h = tapUitHandler; levend.contains("tap")) {
            h(reden);
        }
    }
    void drukWissel() {
        if (auto h = wisselHandler; levend.contains("wisselhandler") && geregistreerd) {
            h();
        }
    }

  private:
    std::unique_ptr<Registratie> registreer(const std::string& naam, bool lukt) {
        verzoeken.push_back(naam);
        if (!lukt) {
            return nullptr;
        }
        levend.insert(naam);
        return std::make_unique<NepRegistratie>(*this, naam);
    }
    void weg(const std::string& naam) {
        verzoeken.push_back(naam + " weg");
        levend.erase(naam);
        if (naam.starts_with("registreer ")) {
            geregistreerd.reset();
        }
    }

    class NepTap final : public Tap {
      public:
        explicit NepTap(NepToetsBron& b) : bron_(b) { bron_.tapAan = false; }
        ~NepTap() override { bron_.weg("tap"); }
        void zetAan() override {
            bron_.verzoeken.emplace_back("tap aan");
            bron_.tapAan = bron_.tapGaatAan;
        }
        bool isAan() const override { return bron_.tapAan; }

      private:
        NepToetsBron& bron_;
    };

    class NepRegistratie final : public Registratie {
      public:
        NepRegistratie(NepToetsBron& b, std::string naam) : bron_(b), naam_(std::move(naam)) {}
        ~NepRegistratie() override { bron_.weg(naam_); }

      private:
        NepToetsBron& bron_;
        std::string naam_;
    };
};

}  // namespace tolmo::nep
