#pragma once

#include <condition_variable>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <thread>
#include <type_traits>
#include <utility>

namespace tolmo {

// Cooperative cancellation and a thread that asks its work to stop and joins when it goes:
// what std::stop_token and std::jthread offer, in our own small form, because the Mac's
// standard library (libc++) does not have them. Every platform uses these, so the Linux tests
// run the same code the Mac runs.

namespace stop_detail {
struct Staat;
}

// Whether stop was asked; cheap to copy and to read from any thread.
class StopToken {
  public:
    StopToken() = default;
    [[nodiscard]] bool stopGevraagd() const noexcept;
    // False for a token that no source stands behind: it can never be stopped.
    [[nodiscard]] bool stopMogelijk() const noexcept { return static_cast<bool>(s_); }

  private:
    friend class StopBron;
    friend class StopTerugroep;
    explicit StopToken(std::shared_ptr<stop_detail::Staat> s) : s_(std::move(s)) {}
    std::shared_ptr<stop_detail::Staat> s_;
};

// Asks for the stop; copies share one state.
class StopBron {
  public:
    StopBron();
    // Runs the registered callbacks on this thread, in the order they were registered. Answers
    // false when stop had been asked already.
    bool vraagStop() const;
    [[nodiscard]] bool stopGevraagd() const noexcept;
    [[nodiscard]] StopToken token() const noexcept { return StopToken(s_); }

  private:
    std::shared_ptr<stop_detail::Staat> s_;
};

// Calls f once when stop is asked, or at once when it already was. Its destructor takes f off;
// when f is running on another thread just then, the destructor waits for it to finish, so f
// never runs on a dead object. (Destroyed from inside f itself, it does not wait.)
class StopTerugroep {
  public:
    template <typename F>
    StopTerugroep(const StopToken& token, F&& f) : f_(std::forward<F>(f)) {
        registreer(token);
    }
    ~StopTerugroep();
    StopTerugroep(const StopTerugroep&) = delete;
    StopTerugroep& operator=(const StopTerugroep&) = delete;

  private:
    friend class StopBron;
    void registreer(const StopToken& token);

    std::function<void()> f_;
    std::shared_ptr<stop_detail::Staat> s_;
};

// A thread that gets a StopToken (when its function takes one) and, when destroyed, asks for
// the stop and joins.
class Draad {
  public:
    Draad() = default;
    template <typename F>
    explicit Draad(F&& f) {
        if constexpr (std::is_invocable_v<F, StopToken>) {
            draad_ = std::thread(std::forward<F>(f), bron_.token());
        } else {
            draad_ = std::thread(std::forward<F>(f));
        }
    }
    ~Draad() { stopEnWacht(); }
    Draad(Draad&&) noexcept = default;
    Draad& operator=(Draad&& ander) noexcept {
        if (this != &ander) {
            stopEnWacht();
            draad_ = std::move(ander.draad_);
            bron_ = std::move(ander.bron_);
        }
        return *this;
    }

    bool vraagStop() { return bron_.vraagStop(); }
    [[nodiscard]] StopToken stopToken() const { return bron_.token(); }
    [[nodiscard]] bool joinable() const { return draad_.joinable(); }
    void join() { draad_.join(); }

  private:
    void stopEnWacht() {
        if (draad_.joinable()) {
            bron_.vraagStop();
            draad_.join();
        }
    }

    StopBron bron_;
    std::thread draad_;
};

}  // namespace tolmo
