#pragma once

#include <functional>
#include <stop_token>

namespace tolmo {

// Runs work away from the main thread. The task gets the caller's stop token; it hands its
// result back through the main loop itself.
class Werker {
  public:
    using Taak = std::function<void(std::stop_token)>;

    virtual ~Werker() = default;
    virtual void start(Taak taak, std::stop_token stop) = 0;
};

}  // namespace tolmo
