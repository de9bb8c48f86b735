#pragma once

#include <cstddef>
#include <filesystem>
#include <vector>

#include "Tolmo/Poorten/LogOpslag.h"

namespace tolmo {

// The application log on Linux: one JSON object per line in
// $XDG_STATE_HOME/tolmo/logboek.jsonl (or ~/.local/state/tolmo/). A line is appended with one
// write(2) on a file kept open, so it is in the kernel's hands before the call returns and a
// crash of the app loses nothing; no fsync on the main thread. When the file holds twice the
// lines it must keep, it is rewritten with the newest ones (temporary file, fsync, rename), so
// it never grows without bound. A line cut short by a crash mid-write is skipped when reading.
class LogBestand final : public LogOpslag {
  public:
    LogBestand(std::filesystem::path pad, std::size_t bewaar);
    ~LogBestand() override;
    LogBestand(const LogBestand&) = delete;
    LogBestand& operator=(const LogBestand&) = delete;

    static std::filesystem::path standaardPad();

    [[nodiscard]] std::vector<LogRegel> laad() const override;
    void voegToe(const LogRegel& regel) override;

  private:
    [[nodiscard]] std::vector<LogRegel> leesAlles() const;
    void open();
    void comprimeer();

    std::filesystem::path pad_;
    std::size_t bewaar_;
    int fd_ = -1;
    std::size_t regelsInBestand_ = 0;
};

}  // namespace tolmo
