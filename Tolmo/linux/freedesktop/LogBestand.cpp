#include "Tolmo/linux/freedesktop/LogBestand.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <system_error>

#include "Tolmo/Poorten/SleutelWaardeLogOpslag.h"

namespace tolmo {

namespace {

// Writes all of tekst, through short writes and interrupted calls.
bool schrijfAlles(int fd, const std::string& tekst) {
    std::size_t gedaan = 0;
    while (gedaan < tekst.size()) {
        const ssize_t n = ::write(fd, tekst.data() + gedaan, tekst.size() - gedaan);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            return false;
        }
        gedaan += static_cast<std::size_t>(n);
    }
    return true;
}

std::string regelTekst(const LogRegel& r) {
    // Replace, not throw: a line may quote text from outside that is not valid UTF-8.
    return SleutelWaardeLogOpslag::codeer(r).dump(-1, ' ', false,
                                                  nlohmann::json::error_handler_t::replace) +
           "\n";
}

}  // namespace

LogBestand::LogBestand(std::filesystem::path pad, std::size_t bewaar)
    : pad_(std::move(pad)), bewaar_(bewaar) {
    std::error_code ec;
    std::filesystem::create_directories(pad_.parent_path(), ec);
    regelsInBestand_ = leesAlles().size();
    open();
}

LogBestand::~LogBestand() {
    if (fd_ >= 0) {
        ::close(fd_);
    }
}

std::filesystem::path LogBestand::standaardPad() {
    const char* state = std::getenv("XDG_STATE_HOME");
    if (state != nullptr && *state == '/') {
        return std::filesystem::path(state) / "tolmo" / "logboek.jsonl";
    }
    const char* home = std::getenv("HOME");
    return std::filesystem::path(home != nullptr ? home : "/tmp") / ".local" / "state" / "tolmo" /
           "logboek.jsonl";
}

void LogBestand::open() {
    fd_ = ::open(pad_.c_str(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    // A line torn by an earlier crash has no newline: start on a fresh line so the next one is
    // not glued to it and lost with it.
    const off_t eind = fd_ >= 0 ? ::lseek(fd_, 0, SEEK_END) : 0;
    char laatste = '\n';
    if (eind > 0 && ::pread(fd_, &laatste, 1, eind - 1) == 1 && laatste != '\n') {
        schrijfAlles(fd_, "\n");
    }
}

std::vector<LogRegel> LogBestand::leesAlles() const {
    std::vector<LogRegel> regels;
    std::ifstream in(pad_);
    std::string regel;
    while (std::getline(in, regel)) {
        const auto j = nlohmann::json::parse(regel, nullptr, false);
        if (auto r = SleutelWaardeLogOpslag::decodeer(j)) {
            regels.push_back(std::move(*r));
        }
    }
    return regels;
}

std::vector<LogRegel> LogBestand::laad() const {
    std::vector<LogRegel> regels = leesAlles();
    if (regels.size() > bewaar_) {
        regels.erase(regels.begin(),
                     regels.begin() + static_cast<std::ptrdiff_t>(regels.size() - bewaar_));
    }
    return regels;
}

void LogBestand::voegToe(const LogRegel& regel) {
    if (fd_ < 0) {
        open();
    }
    if (fd_ >= 0 && schrijfAlles(fd_, regelTekst(regel))) {
        ++regelsInBestand_;
    }
    if (regelsInBestand_ > 2 * bewaar_) {
        comprimeer();
    }
}

void LogBestand::comprimeer() {
    const std::vector<LogRegel> regels = laad();
    std::string inhoud;
    for (const LogRegel& r : regels) {
        inhoud += regelTekst(r);
    }
    const std::filesystem::path tijdelijk = pad_.string() + ".nieuw";
    const int fd = ::open(tijdelijk.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (fd < 0) {
        return;
    }
    const bool goed = schrijfAlles(fd, inhoud) && ::fsync(fd) == 0;
    ::close(fd);
    std::error_code ec;
    if (!goed) {
        std::filesystem::remove(tijdelijk, ec);
        return;
    }
    std::filesystem::rename(tijdelijk, pad_, ec);
    if (ec) {
        return;
    }
    ::close(fd_);
    open();
    regelsInBestand_ = regels.size();
}

}  // namespace tolmo
