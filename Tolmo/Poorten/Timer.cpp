#include "Tolmo/Poorten/Timer.h"

#include <utility>

namespace tolmo {

Timer::Timer(std::function<void()> annuleer) : annuleer_(std::move(annuleer)) {}

Timer::Timer(Timer&& ander) noexcept : annuleer_(std::exchange(ander.annuleer_, nullptr)) {}

Timer& Timer::operator=(Timer&& ander) noexcept {
    if (this != &ander) {
        annuleer();
        annuleer_ = std::exchange(ander.annuleer_, nullptr);
    }
    return *this;
}

Timer::~Timer() {
    annuleer();
}

void Timer::annuleer() {
    // Taken out first: the cancel function may destroy what led here.
    auto f = std::exchange(annuleer_, nullptr);
    if (f) {
        f();
    }
}

}  // namespace tolmo
