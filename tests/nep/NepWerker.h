#pragma once

#include <cstddef>
#include <deque>
#include <utility>
#include "TolmoKern/Draad/Stop.h"

#include "Tolmo/Poorten/Werker.h"

namespace tolmo::nep {

// Holds every task until the test runs it, on the test's own thread, so a test decides exactly
// when the chain works and can cancel before or during it.
class NepWerker final : public Werker {
  public:
    struct Klus {
        Taak taak;
        StopToken stop;
    };
    std::deque<Klus> wachtend;
    int gestart = 0;

    void start(Taak taak, StopToken stop) override {
        ++gestart;
        wachtend.push_back({std::move(taak), std::move(stop)});
    }

    // Runs the oldest task; false when none waits.
    bool voerUit() {
        if (wachtend.empty()) {
            return false;
        }
        Klus k = std::move(wachtend.front());
        wachtend.pop_front();
        k.taak(k.stop);
        return true;
    }
};

}  // namespace tolmo::nep
