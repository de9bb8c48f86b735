#pragma once

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <deque>
#include <memory>
#include <utility>
#include <vector>

#include "Tolmo/Poorten/HoofdLus.h"

namespace tolmo::nep {

// A main loop that runs only when the test says so, on a clock that moves only when the test
// moves it. Posted tasks run first, in order; then due timers in order of due time (ties in
// order of scheduling), each followed by whatever it posted. No sleeping, no threads.
class NepHoofdLus final : public HoofdLus {
  public:
    explicit NepHoofdLus(double begintijd = 1000.0) : nu_(begintijd) {}

    void post(Taak taak) override { wachtrij_.push_back(std::move(taak)); }
    void postNa(double vertraging, Taak taak) override { plan(vertraging, 0, std::move(taak)); }
    Timer eenmalig(double vertraging, Taak taak) override {
        return houder(plan(vertraging, 0, std::move(taak)));
    }
    Timer herhalend(double interval, Taak taak) override {
        assert(interval > 0);
        return houder(plan(interval, interval, std::move(taak)));
    }
    double uptime() const override { return nu_; }

    // Runs what is due now without moving the clock.
    void draai() { verstrijk(0); }

    // Moves the clock forward by seconden, running every task and timer that falls due on the
    // way at its own time.
    void verstrijk(double seconden) {
        const double doel = nu_ + seconden;
        for (;;) {
            while (!wachtrij_.empty()) {
                auto taak = std::move(wachtrij_.front());
                wachtrij_.pop_front();
                taak();
            }
            std::erase_if(plannen_, [](const auto& p) { return !p->actief; });
            const auto volgende =
                std::ranges::min_element(plannen_, [](const auto& a, const auto& b) {
                    return std::pair(a->moment, a->volg) < std::pair(b->moment, b->volg);
                });
            if (volgende == plannen_.end() || (*volgende)->moment > doel) {
                break;
            }
            const auto p = *volgende;
            nu_ = std::max(nu_, p->moment);
            p->actief = p->interval > 0;
            p->moment += p->interval;
            p->volg = volgNummer_++;
            // A copy: the task may cancel its own timer.
            auto taak = p->taak;
            taak();
        }
        nu_ = std::max(nu_, doel);
    }

    // Timers and delayed tasks still to run.
    [[nodiscard]] int actieveTimers() const {
        return static_cast<int>(
            std::ranges::count_if(plannen_, [](const auto& p) { return p->actief; }));
    }

  private:
    struct Plan {
        double moment;
        double interval;
        std::uint64_t volg;
        Taak taak;
        bool actief = true;
    };

    std::shared_ptr<Plan> plan(double vertraging, double interval, Taak taak) {
        return plannen_.emplace_back(std::make_shared<Plan>(
            Plan{nu_ + vertraging, interval, volgNummer_++, std::move(taak)}));
    }

    static Timer houder(const std::shared_ptr<Plan>& p) {
        return Timer([w = std::weak_ptr<Plan>(p)] {
            if (const auto q = w.lock()) {
                q->actief = false;
            }
        });
    }

    double nu_;
    std::uint64_t volgNummer_ = 0;
    std::deque<Taak> wachtrij_;
    std::vector<std::shared_ptr<Plan>> plannen_;
};

}  // namespace tolmo::nep
