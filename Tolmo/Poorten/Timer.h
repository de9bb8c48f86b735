#pragma once

#include <functional>

namespace tolmo {

// Owns one scheduled timer of the main loop. Cancelling it, destroying it or assigning another
// timer to it stops the timer for good, so a timer can never outlive the object that keeps it.
// It may be cancelled from inside its own task. An empty Timer holds nothing.
class Timer {
  public:
    Timer() = default;
    // annuleer stops the timer; it is called at most once.
    explicit Timer(std::function<void()> annuleer);
    Timer(Timer&& ander) noexcept;
    Timer& operator=(Timer&& ander) noexcept;
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;
    ~Timer();

    void annuleer();
    // True while this object holds a timer that has not been cancelled through it.
    [[nodiscard]] bool actief() const { return static_cast<bool>(annuleer_); }

  private:
    std::function<void()> annuleer_;
};

}  // namespace tolmo
