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
// under the XDG state directory). A line is written inside key callbacks on the main thread, so
// adding one must cost one small write, never a rewrite of the whole log. Main thread.
class LogOpslag {
  public:
    virtual ~LogOpslag() = default;
    // Oldest first; at least the newest `bewaar` lines the store was made for.
    [[nodiscard]] virtual std::vector<LogRegel> laad() const = 0;
    // Stored before it returns, so a crash right after loses nothing.
    virtual void voegToe(const LogRegel& regel) = 0;
};

}  // namespace tolmo
