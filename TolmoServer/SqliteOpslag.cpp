#include "TolmoServer/SqliteOpslag.h"

#include <sqlite3.h>

#include <chrono>

namespace tolmo::server {
namespace {

// One use of a prepared statement that the store keeps: reset and unbound on every path.
class Stap {
  public:
    Stap(sqlite3* db, sqlite3_stmt* s) : db_(db), s_(s) {}
    ~Stap() {
        sqlite3_reset(s_);
        sqlite3_clear_bindings(s_);
    }
    Stap(const Stap&) = delete;
    Stap& operator=(const Stap&) = delete;

    Stap& bind(int i, const std::string& w) {
        sqlite3_bind_text(s_, i, w.c_str(), static_cast<int>(w.size()), SQLITE_TRANSIENT);
        return *this;
    }
    Stap& bind(int i, std::int64_t w) {
        sqlite3_bind_int64(s_, i, w);
        return *this;
    }
    // True while there is a row.
    bool stap() {
        const int r = sqlite3_step(s_);
        if (r == SQLITE_ROW) {
            return true;
        }
        if (r != SQLITE_DONE) {
            throw OpslagFout(std::string("Databasefout: ") + sqlite3_errmsg(db_));
        }
        return false;
    }
    std::int64_t getal(int i) { return sqlite3_column_int64(s_, i); }
    std::string tekst(int i) {
        const auto* t = sqlite3_column_text(s_, i);
        return t ? reinterpret_cast<const char*>(t) : "";
    }

  private:
    sqlite3* db_;
    sqlite3_stmt* s_;
};

#define TOLMO_CODE_KOLOMMEN                                              \
    "SELECT c.id, c.naam, c.minuten_per_dag, c.ingetrokken, c.gemaakt, " \
    "COALESCE(g.seconden, 0) FROM codes c LEFT JOIN gebruik g ON g.code_id = c.id AND g.dag = ?1 "

CodeRij leesRij(Stap& s) {
    return CodeRij{s.getal(0), s.tekst(1), s.getal(2), s.getal(3) != 0, s.tekst(4), s.getal(5)};
}

// Every version of the schema, in order; the database records how far it got. The first uses
// IF NOT EXISTS because databases from before the version table have its tables already.
constexpr const char* schemaStappen[] = {
    "CREATE TABLE IF NOT EXISTS codes ("
    " id INTEGER PRIMARY KEY, naam TEXT NOT NULL UNIQUE, hash TEXT NOT NULL UNIQUE,"
    " minuten_per_dag INTEGER NOT NULL, ingetrokken INTEGER NOT NULL DEFAULT 0,"
    " gemaakt TEXT NOT NULL DEFAULT (strftime('%Y-%m-%dT%H:%M:%SZ', 'now')));"
    "CREATE TABLE IF NOT EXISTS gebruik ("
    " code_id INTEGER NOT NULL REFERENCES codes(id), dag TEXT NOT NULL,"
    " seconden INTEGER NOT NULL DEFAULT 0, PRIMARY KEY (code_id, dag))",
    // gebruik.seconden keeps counting reservations; this table knows which are still open.
    "CREATE TABLE reserveringen (id INTEGER PRIMARY KEY, code_id INTEGER NOT NULL,"
    " dag TEXT NOT NULL, seconden INTEGER NOT NULL, verloopt INTEGER NOT NULL);"
    "CREATE INDEX reserveringen_verloopt ON reserveringen (verloopt)",
};

std::int64_t nuSeconden() {
    return std::chrono::duration_cast<std::chrono::seconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

}  // namespace

template <class F>
auto SqliteOpslag::transactie(F f) {
    voerUit("BEGIN IMMEDIATE");
    try {
        auto uit = f();
        voerUit("COMMIT");
        return uit;
    } catch (const OpslagFout&) {
        sqlite3_exec(db_, "ROLLBACK", nullptr, nullptr, nullptr);
        throw;
    }
}

SqliteOpslag::SqliteOpslag(const std::filesystem::path& bestand,
                           std::chrono::seconds reserveringDuur)
    : reserveringDuur_(reserveringDuur) {
    std::error_code ec;
    if (bestand.has_parent_path()) {
        std::filesystem::create_directories(bestand.parent_path(), ec);
    }
    if (sqlite3_open_v2(bestand.c_str(), &db_,
                        SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_FULLMUTEX,
                        nullptr) != SQLITE_OK) {
        const std::string waarom = db_ ? sqlite3_errmsg(db_) : "geen geheugen";
        sqlite3_close(db_);
        throw OpslagFout("Kan de database " + bestand.string() + " niet openen: " + waarom + ".");
    }
    // Another process (tolmo-server code ...) may write while the server runs.
    sqlite3_busy_timeout(db_, 5000);
    voerUit("PRAGMA journal_mode = WAL");
    voerUit("PRAGMA synchronous = NORMAL");
    // IMMEDIATE: two processes starting at once migrate one after the other.
    transactie([this] {
        voerUit("CREATE TABLE IF NOT EXISTS schema_versie (versie INTEGER NOT NULL)");
        std::int64_t versie = 0;
        {
            Stap s(db_, bereid("SELECT COALESCE(MAX(versie), 0) FROM schema_versie"));
            s.stap();
            versie = s.getal(0);
        }
        for (auto i = static_cast<std::size_t>(versie); i < std::size(schemaStappen); ++i) {
            voerUit(schemaStappen[i]);
        }
        if (static_cast<std::size_t>(versie) < std::size(schemaStappen)) {
            voerUit("DELETE FROM schema_versie");
            Stap(db_, bereid("INSERT INTO schema_versie VALUES (?1)"))
                .bind(1, static_cast<std::int64_t>(std::size(schemaStappen)))
                .stap();
        }
        return true;
    });
}

SqliteOpslag::~SqliteOpslag() {
    for (auto& [sql, s] : stappen_) {
        sqlite3_finalize(s);
    }
    sqlite3_close(db_);
}

sqlite3_stmt* SqliteOpslag::bereid(const char* sql) {
    auto& s = stappen_[sql];
    if (!s && sqlite3_prepare_v2(db_, sql, -1, &s, nullptr) != SQLITE_OK) {
        throw OpslagFout(std::string("Databasefout: ") + sqlite3_errmsg(db_));
    }
    return s;
}

void SqliteOpslag::voerUit(const char* sql) {
    char* fout = nullptr;
    if (sqlite3_exec(db_, sql, nullptr, nullptr, &fout) != SQLITE_OK) {
        const std::string waarom = fout ? fout : "onbekend";
        sqlite3_free(fout);
        throw OpslagFout("Databasefout: " + waarom);
    }
}

void SqliteOpslag::maakCode(const std::string& naam, const std::string& hash,
                            std::int64_t minutenPerDag) {
    const std::lock_guard slot(m_);
    Stap s(db_, bereid("INSERT INTO codes (naam, hash, minuten_per_dag) VALUES (?1, ?2, ?3)"));
    s.bind(1, naam).bind(2, hash).bind(3, minutenPerDag);
    try {
        s.stap();
    } catch (const OpslagFout&) {
        if (sqlite3_extended_errcode(db_) == SQLITE_CONSTRAINT_UNIQUE) {
            throw OpslagFout("Er is al een code met de naam \"" + naam + "\".");
        }
        throw;
    }
}

std::optional<CodeRij> SqliteOpslag::zoekCode(const std::string& hash) {
    const std::lock_guard slot(m_);
    Stap s(db_, bereid(TOLMO_CODE_KOLOMMEN "WHERE c.hash = ?2"));
    s.bind(1, vandaagUtc()).bind(2, hash);
    if (!s.stap()) {
        return std::nullopt;
    }
    return leesRij(s);
}

std::vector<CodeRij> SqliteOpslag::codes() {
    const std::lock_guard slot(m_);
    Stap s(db_, bereid(TOLMO_CODE_KOLOMMEN "ORDER BY c.naam"));
    s.bind(1, vandaagUtc());
    std::vector<CodeRij> uit;
    while (s.stap()) {
        uit.push_back(leesRij(s));
    }
    return uit;
}

bool SqliteOpslag::trekIn(const std::string& naam) {
    const std::lock_guard slot(m_);
    Stap s(db_, bereid("UPDATE codes SET ingetrokken = 1 WHERE naam = ?1"));
    s.bind(1, naam).stap();
    return sqlite3_changes(db_) > 0;
}

std::optional<std::int64_t> SqliteOpslag::reserveer(std::int64_t codeId, const std::string& dag,
                                                    std::int64_t seconden) {
    const std::lock_guard slot(m_);
    return transactie([&]() -> std::optional<std::int64_t> {
        Stap(db_, bereid("INSERT OR IGNORE INTO gebruik (code_id, dag) VALUES (?1, ?2)"))
            .bind(1, codeId)
            .bind(2, dag)
            .stap();
        Stap(db_, bereid("UPDATE gebruik SET seconden = seconden + ?3 WHERE code_id = ?1 AND "
                         "dag = ?2 AND seconden + ?3 <= "
                         "(SELECT minuten_per_dag * 60 FROM codes WHERE id = ?1)"))
            .bind(1, codeId)
            .bind(2, dag)
            .bind(3, seconden)
            .stap();
        if (sqlite3_changes(db_) != 1) {
            return std::nullopt;
        }
        Stap(db_, bereid("INSERT INTO reserveringen (code_id, dag, seconden, verloopt) "
                         "VALUES (?1, ?2, ?3, ?4)"))
            .bind(1, codeId)
            .bind(2, dag)
            .bind(3, seconden)
            .bind(4, nuSeconden() + reserveringDuur_.count())
            .stap();
        return sqlite3_last_insert_rowid(db_);
    });
}

void SqliteOpslag::verreken(std::int64_t reservering, bool gebruikt) {
    const std::lock_guard slot(m_);
    transactie([&] {
        if (!gebruikt) {
            Stap(db_, bereid("UPDATE gebruik SET seconden = MAX(0, gebruik.seconden - r.seconden) "
                             "FROM reserveringen r WHERE r.id = ?1 AND gebruik.code_id = "
                             "r.code_id AND gebruik.dag = r.dag"))
                .bind(1, reservering)
                .stap();
        }
        Stap(db_, bereid("DELETE FROM reserveringen WHERE id = ?1")).bind(1, reservering).stap();
        return true;
    });
}

void SqliteOpslag::ruimOp() {
    const std::lock_guard slot(m_);
    const std::int64_t nu = nuSeconden();
    transactie([&] {
        Stap(db_, bereid("UPDATE gebruik SET seconden = MAX(0, gebruik.seconden - r.s) FROM "
                         "(SELECT code_id, dag, SUM(seconden) AS s FROM reserveringen WHERE "
                         "verloopt < ?1 GROUP BY code_id, dag) r WHERE gebruik.code_id = "
                         "r.code_id AND gebruik.dag = r.dag"))
            .bind(1, nu)
            .stap();
        Stap(db_, bereid("DELETE FROM reserveringen WHERE verloopt < ?1")).bind(1, nu).stap();
        return true;
    });
}

}  // namespace tolmo::server
