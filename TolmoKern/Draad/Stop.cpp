#include "TolmoKern/Draad/Stop.h"

#include <algorithm>
#include <atomic>

namespace tolmo {

namespace stop_detail {

struct Staat {
    std::mutex m;
    std::condition_variable klaar;
    std::atomic<bool> gestopt{false};
    std::list<StopTerugroep*> wachtend;
    // The callback running right now, and the thread it runs on.
    StopTerugroep* bezig = nullptr;
    std::thread::id uitvoerder;
};

}  // namespace stop_detail

bool StopToken::stopGevraagd() const noexcept {
    return s_ && s_->gestopt.load(std::memory_order_acquire);
}

StopBron::StopBron() : s_(std::make_shared<stop_detail::Staat>()) {}

bool StopBron::stopGevraagd() const noexcept {
    return s_->gestopt.load(std::memory_order_acquire);
}

bool StopBron::vraagStop() const {
    std::unique_lock slot(s_->m);
    if (s_->gestopt.exchange(true, std::memory_order_acq_rel)) {
        return false;
    }
    s_->uitvoerder = std::this_thread::get_id();
    while (!s_->wachtend.empty()) {
        StopTerugroep* t = s_->wachtend.front();
        s_->wachtend.pop_front();
        s_->bezig = t;
        slot.unlock();
        t->f_();
        slot.lock();
        s_->bezig = nullptr;
        s_->klaar.notify_all();
    }
    return true;
}

void StopTerugroep::registreer(const StopToken& token) {
    if (!token.s_) {
        return;
    }
    {
        std::lock_guard slot(token.s_->m);
        if (!token.s_->gestopt.load(std::memory_order_acquire)) {
            s_ = token.s_;
            s_->wachtend.push_back(this);
            return;
        }
    }
    f_();
}

StopTerugroep::~StopTerugroep() {
    if (!s_) {
        return;
    }
    std::unique_lock slot(s_->m);
    const auto plek = std::find(s_->wachtend.begin(), s_->wachtend.end(), this);
    if (plek != s_->wachtend.end()) {
        s_->wachtend.erase(plek);
        return;
    }
    if (s_->uitvoerder != std::this_thread::get_id()) {
        s_->klaar.wait(slot, [this] { return s_->bezig != this; });
    }
}

}  // namespace tolmo
