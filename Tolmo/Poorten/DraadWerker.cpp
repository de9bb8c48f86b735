#include "Tolmo/Poorten/DraadWerker.h"

#include <utility>

namespace tolmo {

DraadWerker::~DraadWerker() {
    draden_.clear();  // each thread joins as it goes
}

void DraadWerker::start(Taak taak, StopToken stop) {
    draden_.remove_if([](const Lopend& d) { return d.klaar->load(std::memory_order_acquire); });
    auto klaar = std::make_shared<std::atomic<bool>>(false);
    draden_.push_back({klaar, Draad([taak = std::move(taak), stop = std::move(stop), klaar] {
                           taak(stop);
                           klaar->store(true, std::memory_order_release);
                       })});
}

}  // namespace tolmo
