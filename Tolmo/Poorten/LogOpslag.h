#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tolmo {

// One line of the application log. tijd: milliseconds since 1970; bron: which program wrote it
// (the log is shared with the phone keyboard).
struct LogRegel {
    std::uint64_t id = 0;
    std::int64_t tijd = 0;
    std::string bron;
    std::string tekst;

    bool operator==(const LogRegel&) const = default;
};

// Keeps the application log between runs (macOS: the app group's shared defaults; Linux: a file
// under the XDG state directory). Main thread.
class LogOpslag {
  public:
    virtual ~LogOpslag() = default;
    [[nodiscard]] virtual std::vector<LogRegel> laad() const = 0;
    // Replaces what is stored by regels, oldest first.
    virtual void bewaar(const std::vector<LogRegel>& regels) = 0;
};

}  // namespace tolmo
