#pragma once

#include <filesystem>
#include <mutex>
#include <unordered_map>

#include "TolmoServer/Opslag.h"

struct sqlite3;
struct sqlite3_stmt;

namespace tolmo::server {

// The embedded store: one SQLite file in WAL mode. One connection behind a mutex; every call is
// one short transaction, so the event loops wait microseconds, never on each other's requests.
class SqliteOpslag final : public Opslag {
  public:
    // Creates the folder and the schema when they are missing. Throws OpslagFout.
    SqliteOpslag(const std::filesystem::path& bestand, std::chrono::seconds reserveringDuur);
    ~SqliteOpslag() override;
    SqliteOpslag(const SqliteOpslag&) = delete;
    SqliteOpslag& operator=(const SqliteOpslag&) = delete;

    void maakCode(const std::string& naam, const std::string& hash,
                  std::int64_t minutenPerDag) override;
    std::optional<CodeRij> zoekCode(const std::string& hash) override;
    std::vector<CodeRij> codes() override;
    bool trekIn(const std::string& naam) override;
    std::optional<std::int64_t> reserveer(std::int64_t codeId, const std::string& dag,
                                          std::int64_t seconden) override;
    void verreken(std::int64_t reservering, bool gebruikt) override;
    void ruimOp() override;

  private:
    void voerUit(const char* sql);
    // Prepared once per SQL text (a literal, so its address is its key), kept for the store's
    // life: preparing costs more than running these statements.
    sqlite3_stmt* bereid(const char* sql);

    // Runs f between BEGIN IMMEDIATE and COMMIT, or rolls back when it throws.
    template <class F>
    auto transactie(F f);

    std::chrono::seconds reserveringDuur_;
    std::mutex m_;
    sqlite3* db_ = nullptr;
    std::unordered_map<const char*, sqlite3_stmt*> stappen_;
};

}  // namespace tolmo::server
