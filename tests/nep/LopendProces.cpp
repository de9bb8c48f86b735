#include "nep/LopendProces.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <stdexcept>

namespace tolmo::nep {

LopendProces::LopendProces(const std::string& programma, const std::vector<std::string>& args,
                           const Opties& opties) {
    int in[2];
    int uit[2];
    int fout[2];
    if (::pipe(in) != 0 || ::pipe(uit) != 0 || (!opties.foutIsTerminal && ::pipe(fout) != 0)) {
        throw std::runtime_error("pipe mislukt");
    }
    if (opties.foutIsTerminal) {
        fout[0] = ::posix_openpt(O_RDWR | O_NOCTTY);
        const bool klaar = fout[0] >= 0 && ::grantpt(fout[0]) == 0 && ::unlockpt(fout[0]) == 0;
        fout[1] = klaar ? ::open(::ptsname(fout[0]), O_RDWR | O_NOCTTY) : -1;
        if (fout[1] < 0) {
            throw std::runtime_error("geen pseudo-terminal");
        }
    }
    ::signal(SIGPIPE, SIG_IGN);
    kind_ = ::fork();
    if (kind_ < 0) {
        throw std::runtime_error("fork mislukt");
    }
    if (kind_ == 0) {
        ::dup2(in[0], STDIN_FILENO);
        ::dup2(uit[1], STDOUT_FILENO);
        ::dup2(fout[1], STDERR_FILENO);
        for (int fd : {in[0], in[1], uit[0], uit[1], fout[0], fout[1]}) {
            ::close(fd);
        }
        for (const auto& [naam, waarde] : opties.omgeving) {
            if (waarde.empty()) {
                ::unsetenv(naam.c_str());
            } else {
                ::setenv(naam.c_str(), waarde.c_str(), 1);
            }
        }
        std::vector<char*> argv{const_cast<char*>(programma.c_str())};
        for (const std::string& a : args) {
            argv.push_back(const_cast<char*>(a.c_str()));
        }
        argv.push_back(nullptr);
        ::execv(programma.c_str(), argv.data());
        ::_exit(127);
    }
    ::close(in[0]);
    ::close(uit[1]);
    ::close(fout[1]);
    in_ = in[1];
    uit_ = uit[0];
    fout_ = fout[0];
}

LopendProces::~LopendProces() {
    if (kind_ > 0) {
        ::kill(kind_, SIGKILL);
        (void)wacht();
    }
}

void LopendProces::schrijf(const std::string& invoer) {
    std::size_t gedaan = 0;
    while (in_ >= 0 && gedaan < invoer.size()) {
        const ssize_t n = ::write(in_, invoer.data() + gedaan, invoer.size() - gedaan);
        if (n < 0 && errno != EINTR) {
            return;
        }
        gedaan += n > 0 ? static_cast<std::size_t>(n) : 0;
    }
}

void LopendProces::sluitInvoer() {
    if (in_ >= 0) {
        ::close(in_);
        in_ = -1;
    }
}

void LopendProces::stuurSignaal(int signaal) {
    if (kind_ > 0) {
        ::kill(kind_, signaal);
    }
}

bool LopendProces::lees(int wachtMs) {
    pollfd fds[2] = {{uit_, POLLIN, 0}, {fout_, POLLIN, 0}};
    if (uit_ < 0 && fout_ < 0) {
        return false;
    }
    if (::poll(fds, 2, wachtMs) <= 0) {
        return true;
    }
    for (int i = 0; i < 2; ++i) {
        int& fd = i == 0 ? uit_ : fout_;
        if (fd < 0 || fds[i].revents == 0) {
            continue;
        }
        char buf[4096];
        const ssize_t n = ::read(fd, buf, sizeof buf);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        // A pseudo-terminal reports EIO once the child has closed its side.
        if (n <= 0) {
            ::close(fd);
            fd = -1;
        } else {
            (i == 0 ? r_.uit : r_.fout).append(buf, static_cast<std::size_t>(n));
        }
    }
    return uit_ >= 0 || fout_ >= 0;
}

bool LopendProces::wachtOpFout(const std::string& tekst, std::chrono::milliseconds maximaal) {
    const auto einde = std::chrono::steady_clock::now() + maximaal;
    while (r_.fout.find(tekst) == std::string::npos && std::chrono::steady_clock::now() < einde &&
           lees(20)) {
    }
    return r_.fout.find(tekst) != std::string::npos;
}

ProcesUitkomst LopendProces::wacht() {
    sluitInvoer();
    while (lees(-1)) {
    }
    if (kind_ > 0) {
        int status = 0;
        ::waitpid(kind_, &status, 0);
        r_.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        kind_ = -1;
    }
    return r_;
}

}  // namespace tolmo::nep
