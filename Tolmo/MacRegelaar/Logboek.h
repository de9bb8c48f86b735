#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "Tolmo/Poorten/LogOpslag.h"

namespace tolmo {

// The application log: every step of every dictation as one line, the newest kept. Each line is
// stored as soon as it is written, so a crash loses nothing that was logged.
//
// 500 lines: one dictation writes about ten, so the log covers the last fifty or so dictations
// — enough to follow a problem the user reports a day later — while the whole log stays a few
// tens of kilobytes.
class Logboek {
  public:
    static constexpr std::size_t maximum = 500;

    // nu: wall-clock time in milliseconds since 1970.
    Logboek(LogOpslag& opslag, std::string bron, std::function<std::int64_t()> nu);

    // Takes what the store kept from earlier runs; new ids continue after the highest.
    void laad();
    void schrijf(const std::string& tekst);

    [[nodiscard]] const std::deque<LogRegel>& regels() const { return regels_; }
    // Just the texts, oldest first.
    [[nodiscard]] std::vector<std::string> teksten() const;

  private:
    LogOpslag& opslag_;
    std::string bron_;
    std::function<std::int64_t()> nu_;
    std::deque<LogRegel> regels_;
    std::uint64_t volgendeId_ = 1;
};

}  // namespace tolmo
