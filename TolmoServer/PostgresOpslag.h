#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <vector>

#include "TolmoServer/Opslag.h"

struct pg_conn;

namespace tolmo::server {

// The shared store: PostgreSQL through libpq, for several instances behind one load balancer.
// Every reservation and settlement is one SQL statement, so the database alone decides and the
// instances need not know of each other.
//
// A small pool of connections, each lent to one call at a time. A connection that breaks is
// dropped and made again on a later call; for a short while after a failed attempt calls fail at
// once, so a database that is down costs the event loops no waiting. Reads and settlements
// (which are idempotent) are retried once on a fresh connection, so a restarted database costs
// no request; a reservation is not, since it may have been committed before the line broke.
class PostgresOpslag final : public Opslag {
  public:
    // Connects and creates or migrates the schema. Throws OpslagFout.
    PostgresOpslag(std::string verbinding, std::chrono::seconds reserveringDuur, unsigned grootte);
    ~PostgresOpslag() override;
    PostgresOpslag(const PostgresOpslag&) = delete;
    PostgresOpslag& operator=(const PostgresOpslag&) = delete;

    void maakCode(const std::string& naam, const std::string& hash,
                  std::int64_t minutenPerDag) override;
    std::optional<CodeRij> zoekCode(const std::string& hash) override;
    std::vector<CodeRij> codes() override;
    bool trekIn(const std::string& naam) override;
    std::optional<std::int64_t> reserveer(std::int64_t codeId, const std::string& dag,
                                          std::int64_t seconden) override;
    void verreken(std::int64_t reservering, bool gebruikt) override;
    void ruimOp() override;
    std::optional<bool> telVerzoek(std::int64_t codeId, std::int64_t minuut,
                                   std::int64_t perMinuut) override;

    class Resultaat;

  private:
    class Lening;
    Lening leen();
    void geefTerug(pg_conn* c);
    Resultaat voer(const char* sql, const std::vector<std::string>& waarden, bool herhaalbaar);
    void migreer();

    std::string verbinding_;
    std::chrono::seconds reserveringDuur_;
    std::mutex m_;
    std::condition_variable vrij_;
    std::vector<pg_conn*> rust_;  // connected and idle
    unsigned uitgeleend_ = 0;
    unsigned grootte_;
    std::chrono::steady_clock::time_point nietVoor_{};
    std::string laatsteFout_;
};

}  // namespace tolmo::server
