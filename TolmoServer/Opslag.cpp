#include "TolmoServer/Opslag.h"

#include <ctime>

#include "TolmoServer/PostgresOpslag.h"
#include "TolmoServer/SqliteOpslag.h"

namespace tolmo::server {

bool isPostgres(const std::string& database) {
    return database.starts_with("postgresql://") || database.starts_with("postgres://") ||
           database.find('=') != std::string::npos;
}

std::shared_ptr<Opslag> openOpslag(const std::string& database,
                                   std::chrono::seconds reserveringDuur, unsigned verbindingen) {
    if (isPostgres(database)) {
        return std::make_shared<PostgresOpslag>(database, reserveringDuur, verbindingen);
    }
    return std::make_shared<SqliteOpslag>(database, reserveringDuur);
}

std::string vandaagUtc() {
    const std::time_t t = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
    std::tm tm{};
    gmtime_r(&t, &tm);
    char buf[16];
    std::strftime(buf, sizeof buf, "%Y-%m-%d", &tm);
    return buf;
}

}  // namespace tolmo::server
