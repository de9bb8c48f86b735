#include "TolmoServer/PostgresOpslag.h"

#include <libpq-fe.h>

#include <memory>

namespace tolmo::server {
namespace {

using Klok = std::chrono::steady_clock;

// After a failed connection attempt, calls fail at once for this long.
constexpr auto wachtNaFout = std::chrono::milliseconds(500);
// A call waits this long for a free connection before it gives up.
constexpr auto wachtOpVrij = std::chrono::seconds(5);

// Each step brings the schema one version further; the database records how far it got. Two
// instances starting at once migrate one after the other (the advisory lock).
constexpr const char* schemaStappen[] = {
    "CREATE TABLE codes (id BIGSERIAL PRIMARY KEY, naam TEXT NOT NULL UNIQUE,"
    " hash TEXT NOT NULL UNIQUE, minuten_per_dag BIGINT NOT NULL,"
    " ingetrokken BOOLEAN NOT NULL DEFAULT FALSE, gemaakt TEXT NOT NULL DEFAULT"
    " to_char(now() AT TIME ZONE 'UTC', 'YYYY-MM-DD\"T\"HH24:MI:SS\"Z\"'));"
    "CREATE TABLE gebruik (code_id BIGINT NOT NULL REFERENCES codes(id), dag TEXT NOT NULL,"
    " seconden BIGINT NOT NULL DEFAULT 0, PRIMARY KEY (code_id, dag));"
    "CREATE TABLE reserveringen (id BIGSERIAL PRIMARY KEY, code_id BIGINT NOT NULL,"
    " dag TEXT NOT NULL, seconden BIGINT NOT NULL, verloopt TIMESTAMPTZ NOT NULL);"
    "CREATE INDEX reserveringen_verloopt ON reserveringen (verloopt)",
    "CREATE TABLE verzoeken_per_minuut (code_id BIGINT NOT NULL, minuut BIGINT NOT NULL,"
    " aantal BIGINT NOT NULL, PRIMARY KEY (code_id, minuut))",
};

// A failed statement with its SQLSTATE, so that a taken name can be told from a lost line.
class PgFout : public OpslagFout {
  public:
    PgFout(const std::string& wat, std::string sqlstate)
        : OpslagFout("Databasefout: " + wat), staat(std::move(sqlstate)) {}
    std::string staat;
};

std::string zonderRegeleinde(const char* s) {
    std::string uit = s ? s : "";
    while (!uit.empty() && (uit.back() == '\n' || uit.back() == ' ')) {
        uit.pop_back();
    }
    return uit;
}

#define TOLMO_PG_KOLOMMEN                                                           \
    "SELECT c.id, c.naam, c.minuten_per_dag, c.ingetrokken::int, c.gemaakt, "       \
    "COALESCE(g.seconden, 0) FROM codes c LEFT JOIN gebruik g ON g.code_id = c.id " \
    "AND g.dag = $1 "

}  // namespace

class PostgresOpslag::Resultaat {
  public:
    explicit Resultaat(PGresult* r) : r_(r, &PQclear) {}
    [[nodiscard]] PGresult* ruw() const { return r_.get(); }
    [[nodiscard]] int rijen() const { return PQntuples(r_.get()); }
    [[nodiscard]] std::string tekst(int rij, int kolom) const {
        return PQgetvalue(r_.get(), rij, kolom);
    }
    [[nodiscard]] std::int64_t getal(int rij, int kolom) const {
        return std::stoll(tekst(rij, kolom));
    }
    [[nodiscard]] std::int64_t veranderd() const {
        const char* n = PQcmdTuples(r_.get());
        return n && *n ? std::stoll(n) : 0;
    }
    [[nodiscard]] CodeRij code(int rij) const {
        return CodeRij{getal(rij, 0),      tekst(rij, 1), getal(rij, 2),
                       getal(rij, 3) != 0, tekst(rij, 4), getal(rij, 5)};
    }

  private:
    std::unique_ptr<PGresult, void (*)(PGresult*)> r_;
};

// One connection, lent for one call; it goes back to the pool, or is closed when it broke.
class PostgresOpslag::Lening {
  public:
    Lening(PostgresOpslag& pool, PGconn* c) : pool_(pool), c_(c) {}
    ~Lening() { pool_.geefTerug(c_); }
    Lening(const Lening&) = delete;
    Lening& operator=(const Lening&) = delete;
    [[nodiscard]] PGconn* get() const { return c_; }

  private:
    PostgresOpslag& pool_;
    PGconn* c_;
};

PostgresOpslag::PostgresOpslag(std::string verbinding, std::chrono::seconds reserveringDuur,
                               unsigned grootte)
    : verbinding_(std::move(verbinding)),
      reserveringDuur_(reserveringDuur),
      grootte_(std::max(1u, grootte)) {
    migreer();
}

PostgresOpslag::~PostgresOpslag() {
    for (PGconn* c : rust_) {
        PQfinish(c);
    }
}

PostgresOpslag::Lening PostgresOpslag::leen() {
    std::unique_lock slot(m_);
    if (!vrij_.wait_for(slot, wachtOpVrij,
                        [this] { return !rust_.empty() || uitgeleend_ < grootte_; })) {
        throw OpslagFout("Geen databaseverbinding vrij.");
    }
    if (!rust_.empty()) {
        PGconn* c = rust_.back();
        rust_.pop_back();
        ++uitgeleend_;
        return {*this, c};
    }
    if (Klok::now() < nietVoor_) {
        throw OpslagFout(laatsteFout_);
    }
    ++uitgeleend_;
    slot.unlock();
    // Defaults first: the operator's string, expanded from "dbname", overrides them. The time-outs
    // bound how long a vanished host can hold an event loop.
    // "IF NOT EXISTS" notices would reach the operator's terminal.
    const char* sleutels[] = {"connect_timeout", "tcp_user_timeout", "application_name",
                              "options",         "dbname",           nullptr};
    const char* waarden[] = {
        "3",    "5000", "tolmo-server", "-c client_min_messages=warning", verbinding_.c_str(),
        nullptr};
    PGconn* c = PQconnectdbParams(sleutels, waarden, 1);
    if (PQstatus(c) == CONNECTION_OK) {
        return {*this, c};
    }
    const std::string fout =
        "Kan de database niet bereiken: " + zonderRegeleinde(PQerrorMessage(c));
    PQfinish(c);
    slot.lock();
    --uitgeleend_;
    nietVoor_ = Klok::now() + wachtNaFout;
    laatsteFout_ = fout;
    vrij_.notify_one();
    throw OpslagFout(fout);
}

void PostgresOpslag::geefTerug(PGconn* c) {
    const bool heel = PQstatus(c) == CONNECTION_OK && PQtransactionStatus(c) == PQTRANS_IDLE;
    if (!heel) {
        PQfinish(c);
    }
    const std::lock_guard slot(m_);
    --uitgeleend_;
    if (heel) {
        rust_.push_back(c);
    }
    vrij_.notify_one();
}

PostgresOpslag::Resultaat PostgresOpslag::voer(const char* sql,
                                               const std::vector<std::string>& waarden,
                                               bool herhaalbaar) {
    std::vector<const char*> w;
    for (const auto& s : waarden) {
        w.push_back(s.c_str());
    }
    for (int poging = 0;; ++poging) {
        const Lening l = leen();
        Resultaat r(PQexecParams(l.get(), sql, static_cast<int>(w.size()), nullptr, w.data(),
                                 nullptr, nullptr, 0));
        const auto status = PQresultStatus(r.ruw());
        if (status == PGRES_COMMAND_OK || status == PGRES_TUPLES_OK) {
            return r;
        }
        // A connection the database closed (a restart) shows only when it is used.
        if (PQstatus(l.get()) != CONNECTION_OK && herhaalbaar && poging == 0) {
            continue;
        }
        const char* staat = PQresultErrorField(r.ruw(), PG_DIAG_SQLSTATE);
        throw PgFout(zonderRegeleinde(PQerrorMessage(l.get())), staat ? staat : "");
    }
}

void PostgresOpslag::migreer() {
    const Lening l = leen();
    const auto stap = [&](const std::string& sql) {
        Resultaat r(PQexec(l.get(), sql.c_str()));
        if (PQresultStatus(r.ruw()) != PGRES_COMMAND_OK &&
            PQresultStatus(r.ruw()) != PGRES_TUPLES_OK) {
            const std::string fout = zonderRegeleinde(PQerrorMessage(l.get()));
            PQclear(PQexec(l.get(), "ROLLBACK"));
            throw OpslagFout("Kan het databaseschema niet bijwerken: " + fout);
        }
        return r;
    };
    stap("BEGIN");
    stap("SELECT pg_advisory_xact_lock(7865436)");
    stap("CREATE TABLE IF NOT EXISTS schema_versie (versie INTEGER NOT NULL)");
    const auto versie = stap("SELECT COALESCE(MAX(versie), 0) FROM schema_versie").getal(0, 0);
    const auto nieuw = static_cast<std::int64_t>(std::size(schemaStappen));
    if (versie > nieuw) {
        stap("ROLLBACK");
        throw OpslagFout("Het databaseschema (versie " + std::to_string(versie) +
                         ") is nieuwer dan deze tolmo-server kent; werk de server bij.");
    }
    for (auto i = versie; i < nieuw; ++i) {
        stap(schemaStappen[i]);
    }
    if (versie < nieuw) {
        stap("DELETE FROM schema_versie");
        stap("INSERT INTO schema_versie VALUES (" + std::to_string(nieuw) + ")");
    }
    stap("COMMIT");
}

void PostgresOpslag::maakCode(const std::string& naam, const std::string& hash,
                              std::int64_t minutenPerDag) {
    try {
        voer("INSERT INTO codes (naam, hash, minuten_per_dag) VALUES ($1, $2, $3)",
             {naam, hash, std::to_string(minutenPerDag)}, false);
    } catch (const PgFout& f) {
        if (f.staat == "23505") {
            throw OpslagFout("Er is al een code met de naam \"" + naam + "\".");
        }
        throw;
    }
}

std::optional<CodeRij> PostgresOpslag::zoekCode(const std::string& hash) {
    const Resultaat r = voer(TOLMO_PG_KOLOMMEN "WHERE c.hash = $2", {vandaagUtc(), hash}, true);
    if (r.rijen() == 0) {
        return std::nullopt;
    }
    return r.code(0);
}

std::vector<CodeRij> PostgresOpslag::codes() {
    const Resultaat r = voer(TOLMO_PG_KOLOMMEN "ORDER BY c.naam", {vandaagUtc()}, true);
    std::vector<CodeRij> uit;
    for (int i = 0; i < r.rijen(); ++i) {
        uit.push_back(r.code(i));
    }
    return uit;
}

bool PostgresOpslag::trekIn(const std::string& naam) {
    return voer("UPDATE codes SET ingetrokken = TRUE WHERE naam = $1", {naam}, true).veranderd() >
           0;
}

std::optional<std::int64_t> PostgresOpslag::reserveer(std::int64_t codeId, const std::string& dag,
                                                      std::int64_t seconden) {
    // One statement: the day's row is made or raised only while the sum stays within the
    // code's minutes (ON CONFLICT re-checks the condition on the locked, newest row), and only
    // then is the reservation recorded.
    const Resultaat r = voer(
        "WITH g AS (INSERT INTO gebruik AS g (code_id, dag, seconden)"
        " SELECT id, $2, $3 FROM codes WHERE id = $1 AND $3 <= minuten_per_dag * 60"
        " ON CONFLICT (code_id, dag) DO UPDATE SET seconden = g.seconden + EXCLUDED.seconden"
        " WHERE g.seconden + EXCLUDED.seconden <="
        " (SELECT minuten_per_dag * 60 FROM codes WHERE id = $1) RETURNING g.code_id)"
        " INSERT INTO reserveringen (code_id, dag, seconden, verloopt)"
        " SELECT code_id, $2, $3, now() + make_interval(secs => $4::float8) FROM g RETURNING id",
        {std::to_string(codeId), dag, std::to_string(seconden),
         std::to_string(reserveringDuur_.count())},
        false);
    if (r.rijen() == 0) {
        return std::nullopt;
    }
    return r.getal(0, 0);
}

void PostgresOpslag::verreken(std::int64_t reservering, bool gebruikt) {
    if (gebruikt) {
        voer("DELETE FROM reserveringen WHERE id = $1", {std::to_string(reservering)}, true);
        return;
    }
    voer(
        "WITH r AS (DELETE FROM reserveringen WHERE id = $1 RETURNING code_id, dag, seconden)"
        " UPDATE gebruik g SET seconden = GREATEST(0, g.seconden - r.seconden) FROM r"
        " WHERE g.code_id = r.code_id AND g.dag = r.dag",
        {std::to_string(reservering)}, true);
}

void PostgresOpslag::ruimOp() {
    // Two instances sweeping at once delete each row once: the second waits for the first's
    // row lock and then finds the row gone.
    voer(
        "WITH r AS (DELETE FROM reserveringen WHERE verloopt < now()"
        " RETURNING code_id, dag, seconden),"
        " s AS (SELECT code_id, dag, SUM(seconden) AS s FROM r GROUP BY code_id, dag)"
        " UPDATE gebruik g SET seconden = GREATEST(0, g.seconden - s.s) FROM s"
        " WHERE g.code_id = s.code_id AND g.dag = s.dag",
        {}, true);
    // Past minutes, with a margin for instances whose clocks differ a little.
    voer(
        "DELETE FROM verzoeken_per_minuut WHERE minuut < extract(epoch FROM now())::bigint / 60 - "
        "2",
        {}, true);
}

std::optional<bool> PostgresOpslag::telVerzoek(std::int64_t codeId, std::int64_t minuut,
                                               std::int64_t perMinuut) {
    // One statement: the minute's row is made or raised only while it stays below the limit
    // (ON CONFLICT re-checks on the locked row), so concurrent instances never pass it. Not
    // retried: the count may have been committed before the line broke.
    return voer(
               "INSERT INTO verzoeken_per_minuut AS v (code_id, minuut, aantal) VALUES ($1, $2, 1)"
               " ON CONFLICT (code_id, minuut) DO UPDATE SET aantal = v.aantal + 1"
               " WHERE v.aantal < $3 RETURNING aantal",
               {std::to_string(codeId), std::to_string(minuut), std::to_string(perMinuut)}, false)
               .rijen() > 0;
}

}  // namespace tolmo::server
