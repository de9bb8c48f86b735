#pragma once

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

extern char** environ;

namespace tolmo::nep {

// Polls until klaar() holds or the time is up; answers klaar(). Real servers need real time.
template <typename F>
bool wachtTot(F klaar, std::chrono::milliseconds maximaal = std::chrono::seconds(5)) {
    const auto einde = std::chrono::steady_clock::now() + maximaal;
    while (!klaar()) {
        if (std::chrono::steady_clock::now() > einde) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return true;
}

// Starts a program found on PATH, with its output thrown away; -1 when it cannot start. It
// inherits every descriptor not marked close-on-exec.
inline pid_t startKind(std::vector<std::string> args) {
    std::vector<char*> argv;
    for (auto& a : args) {
        argv.push_back(a.data());
    }
    argv.push_back(nullptr);
    posix_spawn_file_actions_t acties;
    posix_spawn_file_actions_init(&acties);
    posix_spawn_file_actions_addopen(&acties, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&acties, 2, "/dev/null", O_WRONLY, 0);
    pid_t pid = -1;
    const int r = ::posix_spawnp(&pid, argv[0], &acties, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&acties);
    return r == 0 ? pid : -1;
}

// Ends a child started so and waits for it; the pid is then -1. One that does not go on SIGTERM
// within 5 s (a sway once stayed in its loop) is killed, so a test never hangs on its clean-up.
inline void stopKind(pid_t& pid) {
    if (pid > 0) {
        ::kill(pid, SIGTERM);
        int status = 0;
        const bool weg = wachtTot([&] { return ::waitpid(pid, &status, WNOHANG) == pid; },
                                  std::chrono::seconds(5));
        if (!weg) {
            ::kill(pid, SIGKILL);
            ::waitpid(pid, &status, 0);
        }
    }
    pid = -1;
}

}  // namespace tolmo::nep
