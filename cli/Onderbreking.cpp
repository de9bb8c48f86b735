#include "cli/Onderbreking.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>

namespace tolmo::cli {
namespace {

// A signal handler can reach only globals; there is one Onderbreking at a time.
int pijp[2] = {-1, -1};
volatile std::sig_atomic_t ontvangen = 0;

// Wakes the waiting loop; safe in a signal handler. The pipe is non-blocking: when it is full a
// wake-up is already pending, so a failed write loses nothing. (A cast to void does not silence
// the hardened headers' unused-result warning.)
void wekPijp(char b) {
    if (::write(pijp[1], &b, 1) < 0) {
        return;
    }
}

extern "C" void vang(int sig) {
    const int bewaard = errno;
    if (ontvangen == 0) {
        ontvangen = sig;
    }
    wekPijp('s');
    errno = bewaard;
}

}  // namespace

Onderbreking::Onderbreking() {
    if (::pipe(pijp) != 0) {
        throw std::runtime_error("pipe");
    }
    for (const int fd : pijp) {
        ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) | O_NONBLOCK);
        ::fcntl(fd, F_SETFD, FD_CLOEXEC);
    }
    ontvangen = 0;
    struct sigaction sa {};
    sa.sa_handler = &vang;
    sigemptyset(&sa.sa_mask);
    // Restart interrupted system calls: the threads of libcurl and PulseAudio should not see
    // EINTR because the user pressed Ctrl-C; our own wait is woken through the pipe.
    sa.sa_flags = SA_RESTART;
    ::sigaction(SIGINT, &sa, &oudInt_);
    ::sigaction(SIGTERM, &sa, &oudTerm_);
}

Onderbreking::~Onderbreking() {
    ::sigaction(SIGINT, &oudInt_, nullptr);
    ::sigaction(SIGTERM, &oudTerm_, nullptr);
    ::close(pijp[0]);
    ::close(pijp[1]);
    pijp[0] = pijp[1] = -1;
}

int Onderbreking::fd() const {
    return pijp[0];
}

int Onderbreking::signaal() const {
    return ontvangen;
}

void Onderbreking::wek() {
    wekPijp('w');
}

void Onderbreking::leegPijp() {
    char buf[64];
    while (::read(pijp[0], buf, sizeof buf) > 0) {
    }
}

bool Onderbreking::wacht(std::chrono::milliseconds maximaal) {
    if (ontvangen != 0) {
        return true;
    }
    pollfd p{pijp[0], POLLIN, 0};
    if (::poll(&p, 1, static_cast<int>(maximaal.count())) > 0) {
        leegPijp();
    }
    return ontvangen != 0;
}

}  // namespace tolmo::cli
