#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace tolmo::server {

// An access code as the store knows it: never the code, only its name, hash and limits.
struct CodeRij {
    std::int64_t id = 0;
    std::string naam;
    std::int64_t minutenPerDag = 0;
    bool ingetrokken = false;
    std::string gemaakt;               // UTC, ISO 8601
    std::int64_t vandaagGebruikt = 0;  // audio seconds today (UTC), reservations included
};

class OpslagFout : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// Where access codes and their use live. Every operation is atomic on its own, so that any
// number of threads (and, with a shared database, instances) hold the daily limits exactly:
// reserveer admits a request only when what is used and reserved today plus its seconds stays
// within the code's minutes, and verreken settles it: kept when the provider answered, given
// back when it did not. A reservation that is never settled (its instance crashed) expires and
// ruimOp gives it back, so a crash costs a user minutes for a while, not for the day.
// Implementations: SqliteOpslag (one instance, embedded), PostgresOpslag (shared).
class Opslag {
  public:
    virtual ~Opslag() = default;

    // Throws OpslagFout when the name is taken.
    virtual void maakCode(const std::string& naam, const std::string& hash,
                          std::int64_t minutenPerDag) = 0;
    virtual std::optional<CodeRij> zoekCode(const std::string& hash) = 0;
    virtual std::vector<CodeRij> codes() = 0;
    // False when no code has that name.
    virtual bool trekIn(const std::string& naam) = 0;

    // `dag` is the UTC date, "2026-11-23". The reservation's id, or nothing when the code's
    // minutes do not cover it.
    virtual std::optional<std::int64_t> reserveer(std::int64_t codeId, const std::string& dag,
                                                  std::int64_t seconden) = 0;
    // Settling twice, or after the reservation expired, changes nothing.
    virtual void verreken(std::int64_t reservering, bool gebruikt) = 0;
    // Gives back the reservations older than their time-out.
    virtual void ruimOp() = 0;

    // Counts a request of the code in clock minute `minuut` (Unix seconds / 60): true when it
    // stays within `perMinuut`. Only a store that instances share counts, so that N instances
    // admit the limit once and not N times; the others return nothing and each process counts.
    virtual std::optional<bool> telVerzoek(std::int64_t /*codeId*/, std::int64_t /*minuut*/,
                                           std::int64_t /*perMinuut*/) {
        return std::nullopt;
    }
};

// SQLite for a path, PostgreSQL for a libpq connection string ("postgresql://..." or
// "host=... dbname=..."). `reserveringDuur`: how long a reservation may stay unsettled.
std::shared_ptr<Opslag> openOpslag(const std::string& database,
                                   std::chrono::seconds reserveringDuur, unsigned verbindingen);
bool isPostgres(const std::string& database);

// Today's UTC date, as the stores key a day's use: "2026-11-23".
std::string vandaagUtc();

}  // namespace tolmo::server
