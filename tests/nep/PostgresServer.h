#pragma once

#include <pwd.h>
#include <unistd.h>

#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "nep/LopendProces.h"

namespace tolmo::nep {

// A private PostgreSQL server for one test: a fresh cluster in a temporary folder that listens
// only on a Unix socket in that folder, so tests run side by side and never meet a real
// database. initdb refuses to run as root, so as root the cluster belongs to "nobody".
class PostgresServer {
  public:
    // The folder with initdb and pg_ctl (Debian's newest version), or nothing when the server
    // is not installed.
    static std::optional<std::filesystem::path> binMap() {
        std::optional<std::filesystem::path> gevonden;
        std::error_code ec;
        for (const auto& v : std::filesystem::directory_iterator("/usr/lib/postgresql", ec)) {
            if (std::filesystem::exists(v.path() / "bin" / "pg_ctl") &&
                (!gevonden || v.path() / "bin" > *gevonden)) {
                gevonden = v.path() / "bin";
            }
        }
        return gevonden;
    }

    // Makes and starts the cluster. Throws std::runtime_error with initdb's or pg_ctl's output.
    PostgresServer() : bin_(binMap().value()) {
        char sjabloon[] = "/tmp/tolmo-pg-XXXXXX";  // short: a socket path has 107 bytes
        if (!::mkdtemp(sjabloon)) {
            throw std::runtime_error("mkdtemp");
        }
        map_ = sjabloon;
        if (::getuid() == 0) {
            const passwd* p = ::getpwnam("nobody");
            if (!p || ::chown(map_.c_str(), p->pw_uid, p->pw_gid) != 0) {
                throw std::runtime_error("Kan " + map_.string() + " niet aan nobody geven.");
            }
        }
        voer("initdb", {"-D", (map_ / "data").string(), "-U", "tolmo", "-A", "trust", "--no-sync",
                        "-E", "UTF8", "--locale=C"});
        start();
    }
    ~PostgresServer() {
        voer("pg_ctl", {"-D", (map_ / "data").string(), "-m", "immediate", "-w", "stop"}, false);
        std::error_code ec;
        std::filesystem::remove_all(map_, ec);
    }
    PostgresServer(const PostgresServer&) = delete;
    PostgresServer& operator=(const PostgresServer&) = delete;

    // A libpq connection string for the cluster's own database.
    [[nodiscard]] std::string verbinding() const {
        return "host=" + map_.string() + " dbname=postgres user=tolmo";
    }

    // fsync off: the tests want a database that can stop and start, not one that survives
    // a power cut.
    void start() {
        voer("pg_ctl",
             {"-D", (map_ / "data").string(), "-l", (map_ / "log").string(), "-w", "-o",
              "-c listen_addresses='' -k " + map_.string() + " -c fsync=off -c max_connections=100",
              "start"});
    }
    // Fast: open connections are cut, as when the database host restarts.
    void stop() { voer("pg_ctl", {"-D", (map_ / "data").string(), "-m", "fast", "-w", "stop"}); }

  private:
    void voer(const std::string& programma, std::vector<std::string> args, bool moet = true) {
        std::string pad = (bin_ / programma).string();
        if (::getuid() == 0) {
            args.insert(args.begin(), {"-u", "nobody", "--", pad});
            pad = "/usr/sbin/runuser";
        }
        const ProcesUitkomst r = voerProcesUit(pad, args);
        if (moet && r.status != 0) {
            throw std::runtime_error(programma + " mislukte: " + r.uit + r.fout);
        }
    }

    std::filesystem::path bin_;
    std::filesystem::path map_;
};

}  // namespace tolmo::nep
