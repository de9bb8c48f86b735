#include "Tolmo/Poorten/DraadWerker.h"

#include <utility>

namespace tolmo {

DraadWerker::~DraadWerker() {
    draden_.clear();  // each jthread joins as it goes
}

void DraadWerker::start(Taak taak, std::stop_token stop) {
    draden_.remove_if([](const Draad& d) { return d.klaar->load(std::memory_order_acquire); });
    auto klaar = std::make_shared<std::atomic<bool>>(false);
    draden_.push_back({klaar, std::jthread([taak = std::move(taak), stop = std::move(stop), klaar] {
                           taak(stop);
                           klaar->store(true, std::memory_order_release);
                       })});
}

}  // namespace tolmo
