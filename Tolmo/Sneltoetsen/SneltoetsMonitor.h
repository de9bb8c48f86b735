#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "Tolmo/Poorten/HoofdLus.h"
#include "Tolmo/Poorten/Timer.h"
#include "Tolmo/Sneltoetsen/ToetsBron.h"
#include "TolmoKern/Sneltoetsen/HoudToets.h"
#include "TolmoKern/Sneltoetsen/HoudToetsHerkenner.h"
#include "TolmoKern/Sneltoetsen/Toetscombinatie.h"

namespace tolmo {

// The app's one listener for the two dictation triggers: the hold key and the toggle
// combination. It chooses how the hold key can be watched with the permissions granted (an
// event tap needs Input Monitoring, event monitors need Accessibility), keeps that alive,
// notices a tap that silently delivers nothing and falls back, feeds the recogniser and hands
// its decisions to the owner. It looks at key codes and modifier flags only, never at text.
//
// Lives on the main thread. Everything it gives the platform (tap and monitor handlers, timers,
// posted tasks) holds it weakly and does nothing once it is gone.
class SneltoetsMonitor {
  public:
    enum class Mechanisme { geen, tap, nsEvent };
    using Actie = HoudToetsHerkenner::Actie;

    // The mechanism as it appears in log lines, in the words of the key source's platform.
    [[nodiscard]] static std::string_view tekst(Mechanisme m, const ToetsBron::Teksten& teksten);
    [[nodiscard]] std::string_view tekst(Mechanisme m) const { return tekst(m, bron_.teksten()); }

    // The sources must outlive the monitor.
    SneltoetsMonitor(ToetsBron& bron, HoofdLus& lus, HoudToets houdToets);
    ~SneltoetsMonitor();
    SneltoetsMonitor(const SneltoetsMonitor&) = delete;
    SneltoetsMonitor& operator=(const SneltoetsMonitor&) = delete;

    // Set by the owner before start. Decisions arrive a main-loop turn after the event, so the
    // owner never runs inside an event callback.
    std::function<void(Actie)> opHoudActie;
    std::function<void()> opWissel;
    std::function<void(const std::string&)> opLog;
    // The mechanism changed (permissions, a tap that delivers nothing, stop).
    std::function<void()> opMechanisme;

    // (Re)establishes observation for the permissions granted now; at launch and whenever they
    // change.
    void start(bool invoermonitoring, bool toegankelijkheid);
    // Tears down all hold-key observation without cancelling a running hold (the owner does
    // that itself). The toggle combination stays registered.
    void stop();
    // A hold in progress is cancelled.
    void zetHoudToets(HoudToets toets);
    // Replaces the toggle combination; false only when the system refuses it. An absent or
    // invalid combination just unregisters the old one.
    bool registreerWissel(const std::optional<Toetscombinatie>& combinatie);
    void verwijderWissel();

    [[nodiscard]] Mechanisme mechanisme() const { return mechanisme_; }
    [[nodiscard]] const HoudToetsHerkenner& herkenner() const { return herkenner_; }
    [[nodiscard]] bool tapMislukt() const { return tapMislukt_; }
    [[nodiscard]] bool tapLevertNiets() const { return tapLevertNiets_; }
    [[nodiscard]] int tapGemist() const { return tapGemist_; }

    // A tap is abandoned after this many flag changes it missed while the monitors saw them.
    static constexpr int gemistVoorOpgeven = 2;
    // How long the witness waits before asking whether the tap saw the same change.
    static constexpr double getuigeWachttijd = 0.3;
    // The tap counts as having missed a change when its last event is older than this.
    static constexpr double getuigeMarge = 1.0;
    static constexpr double vangnetInterval = 0.25;

  private:
    // Wraps a member call so that it does nothing once the monitor is gone.
    template <typename... Args, typename F>
    std::function<void(Args...)> zwak(F f);

    void maakTap();
    void installeerMonitors(bool ook);
    void zetMechanisme(Mechanisme nieuw);

    void tapGebeurtenis(const ToetsBron::Gebeurtenis& g);
    void tapUitgezet(ToetsBron::TapUit reden);
    void monitorGebeurtenis(const ToetsBron::Gebeurtenis& g);
    void getuigeControle(double gezienOp);
    void herken(const ToetsBron::Gebeurtenis& g);
    void verstuur(Actie actie);
    void vangnetTik();
    void logModificatie(const ToetsBron::Gebeurtenis& g);
    void log(const std::string& regel) const;

    ToetsBron& bron_;
    HoofdLus& lus_;
    // Handed out weakly to every closure; its death tells them the monitor is gone.
    std::shared_ptr<SneltoetsMonitor*> anker_;

    Mechanisme mechanisme_ = Mechanisme::geen;
    HoudToetsHerkenner herkenner_;
    std::unique_ptr<ToetsBron::Tap> tap_;
    bool tapLevertNiets_ = false;
    bool tapMislukt_ = false;
    bool gestart_ = false;
    double laatsteTapGebeurtenis_;
    int tapGemist_ = 0;
    std::unique_ptr<ToetsBron::Registratie> globaleMonitor_;
    std::unique_ptr<ToetsBron::Registratie> lokaleMonitor_;
    Timer vangnet_;
    // Installed once and kept; declared before hotKey_ so the hot key goes first.
    std::unique_ptr<ToetsBron::Registratie> hotKeyHandler_;
    std::unique_ptr<ToetsBron::Registratie> hotKey_;
    bool houdtoetsOmlaag_ = false;
    bool eersteGelogd_ = false;
    std::set<std::uint16_t> andereGelogd_;
};

}  // namespace tolmo
