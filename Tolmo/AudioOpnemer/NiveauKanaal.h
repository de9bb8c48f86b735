#pragma once

#include <atomic>
#include <cstdint>

namespace tolmo {

// Hands the smoothed level from the audio thread to whoever draws it, without ever blocking the
// audio thread: a single slot behind a sequence counter. The writer never waits; a reader that
// catches a write in progress simply reads again. Only the newest value matters for drawing,
// so nothing is queued.
class NiveauKanaal {
  public:
    struct Stand {
        float niveau = 0;              // 0…1
        double tijd = 0;               // seconds on the recorder's clock when it was measured
        std::uint64_t volgnummer = 0;  // increases with every publication; 0 = never published
    };

    // Audio thread only (one writer).
    void publiceer(float niveau, double tijd) noexcept {
        const std::uint64_t s = reeks_.load(std::memory_order_relaxed);
        reeks_.store(s + 1, std::memory_order_relaxed);
        std::atomic_thread_fence(std::memory_order_release);
        niveau_.store(niveau, std::memory_order_relaxed);
        tijd_.store(tijd, std::memory_order_relaxed);
        reeks_.store(s + 2, std::memory_order_release);
    }

    // Any thread.
    [[nodiscard]] Stand lees() const noexcept {
        for (;;) {
            const std::uint64_t voor = reeks_.load(std::memory_order_acquire);
            if (voor % 2 != 0) {
                continue;
            }
            Stand s{niveau_.load(std::memory_order_relaxed), tijd_.load(std::memory_order_relaxed),
                    voor / 2};
            std::atomic_thread_fence(std::memory_order_acquire);
            if (reeks_.load(std::memory_order_relaxed) == voor) {
                return s;
            }
        }
    }

  private:
    std::atomic<std::uint64_t> reeks_{0};
    std::atomic<float> niveau_{0};
    std::atomic<double> tijd_{0};
};

}  // namespace tolmo
