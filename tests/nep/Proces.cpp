#include "nep/Proces.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <stdexcept>

namespace tolmo::nep {

ProcesUitkomst voerProcesUit(const std::string& programma, const std::vector<std::string>& args,
                             const std::map<std::string, std::string>& omgeving,
                             const std::string& invoer) {
    int in[2];
    int uit[2];
    int fout[2];
    if (::pipe(in) != 0 || ::pipe(uit) != 0 || ::pipe(fout) != 0) {
        throw std::runtime_error("pipe mislukt");
    }
    const pid_t kind = ::fork();
    if (kind < 0) {
        throw std::runtime_error("fork mislukt");
    }
    if (kind == 0) {
        ::dup2(in[0], STDIN_FILENO);
        ::dup2(uit[1], STDOUT_FILENO);
        ::dup2(fout[1], STDERR_FILENO);
        for (int fd : {in[0], in[1], uit[0], uit[1], fout[0], fout[1]}) {
            ::close(fd);
        }
        for (const auto& [naam, waarde] : omgeving) {
            if (waarde.empty()) {
                ::unsetenv(naam.c_str());
            } else {
                ::setenv(naam.c_str(), waarde.c_str(), 1);
            }
        }
        std::vector<char*> argv;
        argv.push_back(const_cast<char*>(programma.c_str()));
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
    ::signal(SIGPIPE, SIG_IGN);

    ProcesUitkomst r;
    std::size_t geschreven = 0;
    if (invoer.empty()) {
        ::close(in[1]);
        in[1] = -1;
    }
    pollfd fds[3] = {{uit[0], POLLIN, 0}, {fout[0], POLLIN, 0}, {in[1], POLLOUT, 0}};
    int open = 2;
    while (open > 0) {
        fds[2].fd = in[1];
        if (::poll(fds, 3, -1) < 0) {
            if (errno == EINTR) {
                continue;
            }
            break;
        }
        for (int i = 0; i < 2; ++i) {
            if (fds[i].fd >= 0 && (fds[i].revents & (POLLIN | POLLHUP)) != 0) {
                char buf[4096];
                const ssize_t n = ::read(fds[i].fd, buf, sizeof buf);
                if (n <= 0) {
                    ::close(fds[i].fd);
                    fds[i].fd = -1;
                    --open;
                } else {
                    (i == 0 ? r.uit : r.fout).append(buf, static_cast<std::size_t>(n));
                }
            }
        }
        if (in[1] >= 0 && (fds[2].revents & (POLLOUT | POLLERR | POLLHUP)) != 0) {
            const ssize_t n =
                ::write(in[1], invoer.data() + geschreven, invoer.size() - geschreven);
            if (n > 0) {
                geschreven += static_cast<std::size_t>(n);
            }
            if (n < 0 || geschreven == invoer.size()) {
                ::close(in[1]);
                in[1] = -1;
            }
        }
    }
    if (in[1] >= 0) {
        ::close(in[1]);
    }
    int status = 0;
    ::waitpid(kind, &status, 0);
    r.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return r;
}

}  // namespace tolmo::nep
