#pragma once

// What the relay server's own files share: the state behind RelayServer and the replies it
// builds. Not for use outside the server.

#include <unistd.h>

#include <algorithm>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/thread_pool.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http/buffer_body.hpp>
#include <boost/beast/http/file_body.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/http/write.hpp>
#include <condition_variable>
#include <ctime>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <stop_token>
#include <thread>
#include <type_traits>
#include <unordered_map>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "TolmoServer/AanbiederDoel.h"
#include "TolmoServer/AanbiederKlant.h"
#include "TolmoServer/RelayServer.h"
#include "TolmoServer/Toegangscode.h"

namespace tolmo::server {

namespace net = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
using tcp = net::ip::tcp;
using Antwoord = http::response<http::string_body>;
using Parser = http::request_parser<http::buffer_body>;
using Klok = std::chrono::steady_clock;

inline constexpr std::string_view transcriptieRoute = "/v1/audio/transcriptions";
inline constexpr std::string_view chatRoute = "/v1/chat/completions";
inline constexpr std::size_t leesBlok = 64 * 1024;

// A reply and whether the connection may serve another request after it: not when the
// request's body was left unread.
struct Uitkomst {
    Antwoord antwoord;
    bool houdOpen = true;
    std::string soort;  // the refusal's kind for the counters, empty for a forwarded reply
    // A provider's reply whose body is passed on piece by piece as it arrives; `antwoord` then
    // holds its status and type only.
    std::unique_ptr<AanbiederKlant::Gesprek> stroom;
    // The reservation to settle (and whether it was used) once the reply is on its way: the
    // client need not wait for the database to learn its answer.
    std::optional<std::pair<std::int64_t, bool>> verrekening;
};

inline Uitkomst json(unsigned status, nlohmann::json body, std::string soort = {}) {
    Uitkomst u;
    u.antwoord.result(status);
    u.antwoord.set(http::field::content_type, "application/json");
    u.antwoord.body() = body.dump();
    u.soort = std::move(soort);
    return u;
}

inline Uitkomst weiger(unsigned status, const std::string& fout) {
    return json(status, {{"fout", fout}}, fout);
}

// A refusal after which the connection closes: the request's body was not read to its end.
inline Uitkomst sluitNa(Uitkomst u) {
    u.houdOpen = false;
    return u;
}

inline Uitkomst limiet(const std::string& soort, std::int64_t naSeconden) {
    Uitkomst u = json(429, {{"fout", "limiet-" + soort}, {"soort", soort}}, "limiet-" + soort);
    u.antwoord.set(http::field::retry_after, std::to_string(std::max<std::int64_t>(1, naSeconden)));
    return u;
}

inline Uitkomst aanbiederWeg() {
    return weiger(503, "aanbieder-niet-beschikbaar");
}

// The database is down or unreachable: the request is refused, nothing was forwarded or counted.
inline Uitkomst opslagWeg() {
    Uitkomst u = json(503,
                      {{"fout", "opslag"},
                       {"melding",
                        "De database van de server is tijdelijk niet bereikbaar. Probeer het over "
                        "enkele seconden opnieuw."}},
                      "opslag");
    u.antwoord.set(http::field::retry_after, "5");
    return u;
}

inline std::string dagUtc(std::chrono::system_clock::time_point t) {
    const std::time_t tt = std::chrono::system_clock::to_time_t(t);
    std::tm tm{};
    gmtime_r(&tt, &tm);
    char buf[16];
    std::strftime(buf, sizeof buf, "%Y-%m-%d", &tm);
    return buf;
}

inline std::int64_t totMiddernacht(std::chrono::system_clock::time_point t) {
    const auto s = std::chrono::duration_cast<std::chrono::seconds>(t.time_since_epoch()).count();
    return 86400 - s % 86400;
}

inline std::string klein(std::string_view s) {
    std::string uit(s);
    for (char& c : uit) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return uit;
}

// One event loop with its own provider connections.
// Memory files of finished short uploads, kept for the next ones. Closed last: a loop's
// coroutines hand theirs back when the io_context destroys them.
struct BewaardeBestanden {
    std::vector<int> fds;
    BewaardeBestanden() = default;
    ~BewaardeBestanden() {
        for (const int fd : fds) {
            ::close(fd);
        }
    }
    BewaardeBestanden(const BewaardeBestanden&) = delete;
    BewaardeBestanden& operator=(const BewaardeBestanden&) = delete;
};

struct Lus {
    BewaardeBestanden spoolBestanden;
    net::io_context io{1};
    AanbiederKlant klant;
    Lus(net::ssl::context& tls, std::chrono::seconds timeout) : klant(io, tls, timeout) {}
};

struct RelayServer::Binnen {
    Configuratie c;
    std::shared_ptr<Opslag> opslag;
    Log log;
    Metingen metingen;
    Snelheidsgrens snelheid;
    net::ssl::context tls{net::ssl::context::tls_client};
    std::vector<std::unique_ptr<Lus>> lussen;
    std::optional<AanbiederDoel> openAI;
    std::optional<AanbiederDoel> mistral;
    std::atomic<std::int64_t> onderweg{0};      // requests being handled
    std::atomic<std::int64_t> doorgestuurd{0};  // requests at a provider, for the ceiling
    std::atomic<bool> stoppen{false};
    // Settlements the store refused while it was down, tried again by the sweeper.
    std::mutex openM;
    std::vector<std::pair<std::int64_t, bool>> openVerrekeningen;

    // Runs one store call, timed and counted for /metrics; OpslagFout passes through.
    template <class F>
    auto metOpslag(F f) {
        const auto begin = Klok::now();
        try {
            auto uit = f();
            metingen.opslagDuur(std::chrono::duration<double>(Klok::now() - begin).count());
            return uit;
        } catch (const OpslagFout&) {
            metingen.opslagFout();
            throw;
        }
    }
    // A store call from a request. PostgreSQL's wait on the network would hold up every
    // connection of the loop, so there it runs on the store's own threads (one per pooled
    // connection) while the loop serves others; SQLite's microseconds are cheaper in place.
    template <class F>
    net::awaitable<std::invoke_result_t<F&>> opOpslag(F f) {
        if (!opslagDraden) {
            co_return metOpslag(f);
        }
        co_return co_await net::co_spawn(
            opslagDraden->get_executor(),
            [this, f]() -> net::awaitable<std::invoke_result_t<F&>> { co_return metOpslag(f); },
            net::use_awaitable);
    }
    void verreken(std::int64_t reservering, bool gebruikt);
    // Keeps a settlement the store refused for the sweeper: left alone, the reservation would
    // expire and a used request's minutes would come back.
    void bewaar(std::int64_t reservering, bool gebruikt, const OpslagFout& f);
    void ruimOp();

    // Open client connections, in total and per address: a client that opens thousands and
    // sends nothing would otherwise take every descriptor.
    std::mutex adresM;
    std::unordered_map<std::string, std::int64_t> perAdres;
    std::int64_t verbindingen = 0;
    bool laatToe(const std::string& adres);
    void laatGaan(const std::string& adres);

    // Last, so that its threads stop before anything they use goes.
    std::optional<net::thread_pool> opslagDraden;

    net::awaitable<void> accepteer(tcp::acceptor& acceptor);
    net::awaitable<void> sessie(beast::tcp_stream stream, Lus& lus, std::string adres);
    net::awaitable<Uitkomst> behandel(beast::tcp_stream& stream, beast::flat_buffer& buf, Parser& p,
                                      Lus& lus, std::string& naam, std::string& aanbieder);
    net::awaitable<bool> stroomDoor(beast::tcp_stream& stream, Uitkomst& u, Lus& lus);
    net::awaitable<Uitkomst> stuurDoor(beast::tcp_stream& stream, beast::flat_buffer& buf,
                                       Parser& p, Lus& lus, const CodeRij& code,
                                       const AanbiederDoel& doel, const std::string& sleutel,
                                       bool transcriptie);
};

}  // namespace tolmo::server
