#pragma once

#include <functional>
#include "TolmoKern/Draad/Stop.h"

namespace tolmo {

// Runs work away from the main thread. The task gets the caller's stop token; it hands its
// result back through the main loop itself.
class Werker {
  public:
    using Taak = std::function<void(StopToken)>;

    virtual ~Werker() = default;
    virtual void start(Taak taak, StopToken stop) = 0;
};

}  // namespace tolmo
