#pragma once

#include <atomic>
#include <list>
#include <memory>
#include <thread>

#include "Tolmo/Poorten/Werker.h"

namespace tolmo {

// One std::jthread per task. Threads that have finished are joined when the next task starts;
// the destructor waits for those still running, so their owners request stop before it runs.
class DraadWerker final : public Werker {
  public:
    DraadWerker() = default;
    ~DraadWerker() override;
    DraadWerker(const DraadWerker&) = delete;
    DraadWerker& operator=(const DraadWerker&) = delete;

    void start(Taak taak, std::stop_token stop) override;

  private:
    struct Draad {
        std::shared_ptr<std::atomic<bool>> klaar;
        std::jthread draad;
    };
    std::list<Draad> draden_;
};

}  // namespace tolmo
