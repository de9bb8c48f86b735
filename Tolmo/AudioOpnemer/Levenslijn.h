#pragma once

#include <mutex>

namespace tolmo {

// The way back from a callback that runs on another thread (an audio tap, a device-change
// notification) to an object that may end meanwhile. The callback holds the line, never the
// object: it reaches the object only while the line is intact, and knip() waits for a call in
// progress, so once knip() returns no callback is inside the object or will enter it. An engine
// that keeps calling a removed callback for a while (nothing promises that removing a tap waits
// for a running block) then reaches nothing.
template <class T>
class Levenslijn {
  public:
    explicit Levenslijn(T& doel) : doel_(&doel) {}

    // Runs f(doel) unless the line was cut; false when it was.
    template <class F>
    bool roep(F&& f) {
        const std::lock_guard lock(slot_);
        if (doel_ == nullptr) {
            return false;
        }
        f(*doel_);
        return true;
    }

    void knip() {
        const std::lock_guard lock(slot_);
        doel_ = nullptr;
    }

  private:
    std::mutex slot_;
    T* doel_;
};

}  // namespace tolmo
