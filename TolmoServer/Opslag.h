#pragma once

#include <cstdint>
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
// within the code's minutes, and geefTerug takes back a reservation whose request failed.
// Implementations: SqliteOpslag (one instance, embedded); PostgreSQL comes next.
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

    // `dag` is the UTC date, "2026-11-23".
    virtual bool reserveer(std::int64_t codeId, const std::string& dag, std::int64_t seconden) = 0;
    virtual void geefTerug(std::int64_t codeId, const std::string& dag, std::int64_t seconden) = 0;
};

}  // namespace tolmo::server
