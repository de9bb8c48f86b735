#pragma once

#include <atomic>
#include <list>
#include <memory>
#include <thread>

#include "Tolmo/Poorten/Werker.h"
#include "TolmoKern/Draad/Stop.h"

namespace tolmo {

// One thread per task. Threads that have finished are joined when the next task starts;
// the destructor waits for those still running, so their owners request stop before it runs.
class DraadWerker final : public Werker {
  public:
    DraadWerker() = default;
    ~DraadWerker() override;
    DraadWerker(const DraadWerker&) = delete;
    DraadWerker& operator=(const DraadWerker&) = delete;

    void start(Taak taak, StopToken stop) override;

  private:
    struct Lopend {
        std::shared_ptr<std::atomic<bool>> klaar;
        Draad draad;
    };
    std::list<Lopend> draden_;
};

}  // namespace tolmo
