#include "TolmoServer/RelayServer.h"

#include <fcntl.h>
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
#include <cmath>
#include <condition_variable>
#include <ctime>
#include <mutex>
#include <stdexcept>
#include <stop_token>
#include <thread>
#include <type_traits>
#include <unordered_map>

#include <nlohmann/json.hpp>

#include "TolmoServer/AanbiederDoel.h"
#include "TolmoServer/AanbiederKlant.h"
#include "TolmoServer/AudioDuur.h"
#include "TolmoServer/MultipartBereik.h"
#include "TolmoServer/Toegangscode.h"

namespace tolmo::server {

namespace net = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
using tcp = net::ip::tcp;
using Antwoord = http::response<http::string_body>;
using Parser = http::request_parser<http::buffer_body>;
using Klok = std::chrono::steady_clock;

namespace {

constexpr std::string_view transcriptieRoute = "/v1/audio/transcriptions";
constexpr std::string_view chatRoute = "/v1/chat/completions";
constexpr std::size_t leesBlok = 64 * 1024;

// A reply and whether the connection may serve another request after it: not when the
// request's body was left unread.
struct Uitkomst {
    Antwoord antwoord;
    bool houdOpen = true;
    std::string soort;  // the refusal's kind for the counters, empty for a forwarded reply
};

Uitkomst json(unsigned status, nlohmann::json body, std::string soort = {}) {
    Uitkomst u;
    u.antwoord.result(status);
    u.antwoord.set(http::field::content_type, "application/json");
    u.antwoord.body() = body.dump();
    u.soort = std::move(soort);
    return u;
}

Uitkomst weiger(unsigned status, const std::string& fout) {
    return json(status, {{"fout", fout}}, fout);
}

Uitkomst limiet(const std::string& soort, std::int64_t naSeconden) {
    Uitkomst u = json(429, {{"fout", "limiet-" + soort}, {"soort", soort}}, "limiet-" + soort);
    u.antwoord.set(http::field::retry_after, std::to_string(std::max<std::int64_t>(1, naSeconden)));
    return u;
}

Uitkomst aanbiederWeg() {
    return weiger(503, "aanbieder-niet-beschikbaar");
}

// The database is down or unreachable: the request is refused, nothing was forwarded or counted.
Uitkomst opslagWeg() {
    Uitkomst u = json(503,
                      {{"fout", "opslag"},
                       {"melding",
                        "De database van de server is tijdelijk niet bereikbaar. Probeer het over "
                        "enkele seconden opnieuw."}},
                      "opslag");
    u.antwoord.set(http::field::retry_after, "5");
    return u;
}

std::string dagUtc(std::chrono::system_clock::time_point t) {
    const std::time_t tt = std::chrono::system_clock::to_time_t(t);
    std::tm tm{};
    gmtime_r(&tt, &tm);
    char buf[16];
    std::strftime(buf, sizeof buf, "%Y-%m-%d", &tm);
    return buf;
}

std::int64_t totMiddernacht(std::chrono::system_clock::time_point t) {
    const auto s = std::chrono::duration_cast<std::chrono::seconds>(t.time_since_epoch()).count();
    return 86400 - s % 86400;
}

std::string klein(std::string_view s) {
    std::string uit(s);
    for (char& c : uit) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return uit;
}

// A temporary file that disappears when it is closed: the upload lives on disk, not in memory.
class Spoolbestand {
  public:
    explicit Spoolbestand(const std::filesystem::path& map) {
        fd_ = ::open(map.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
        if (fd_ < 0) {
            std::string sjabloon = (map / "tolmo-upload-XXXXXX").string();
            fd_ = ::mkostemp(sjabloon.data(), O_CLOEXEC);
            if (fd_ >= 0) {
                ::unlink(sjabloon.c_str());
            }
        }
    }
    ~Spoolbestand() {
        if (fd_ >= 0) {
            ::close(fd_);
        }
    }
    Spoolbestand(const Spoolbestand&) = delete;
    Spoolbestand& operator=(const Spoolbestand&) = delete;

    [[nodiscard]] int fd() const { return fd_; }
    [[nodiscard]] std::uint64_t grootte() const { return grootte_; }

    bool schrijf(const char* data, std::size_t n) {
        while (n > 0) {
            const ssize_t r = ::write(fd_, data, n);
            if (r <= 0) {
                return false;
            }
            data += r;
            n -= static_cast<std::size_t>(r);
            grootte_ += static_cast<std::uint64_t>(r);
        }
        return true;
    }

  private:
    int fd_ = -1;
    std::uint64_t grootte_ = 0;
};

}  // namespace

// One event loop with its own provider connections.
struct Lus {
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
    net::awaitable<Uitkomst> stuurDoor(beast::tcp_stream& stream, beast::flat_buffer& buf,
                                       Parser& p, Lus& lus, const CodeRij& code,
                                       const AanbiederDoel& doel, const std::string& sleutel,
                                       bool transcriptie);
};

RelayServer::RelayServer(Configuratie configuratie, std::shared_ptr<Opslag> opslag, Log log)
    : binnen_(std::make_unique<Binnen>()) {
    auto& b = *binnen_;
    b.c = std::move(configuratie);
    b.opslag = std::move(opslag);
    b.log = std::move(log);
    b.tls.set_default_verify_paths();
    b.tls.set_verify_mode(net::ssl::verify_peer);
    b.openAI = AanbiederDoel::uitUrl(b.c.openAIUrl);
    b.mistral = AanbiederDoel::uitUrl(b.c.mistralUrl);
    if (!b.openAI || !b.mistral) {
        throw std::runtime_error("Ongeldig adres voor een aanbieder (openai-url of mistral-url).");
    }
    if (isPostgres(b.c.database)) {
        b.opslagDraden.emplace(std::max(1u, b.c.databaseVerbindingen));
    }
    for (unsigned i = 0; i < std::max(1u, b.c.draden); ++i) {
        b.lussen.push_back(std::make_unique<Lus>(b.tls, b.c.aanbiederTimeout));
    }
}

RelayServer::~RelayServer() = default;

net::awaitable<void> RelayServer::Binnen::accepteer(tcp::acceptor& acceptor) {
    std::size_t volgende = 0;
    while (!stoppen) {
        Lus& lus = *lussen[volgende++ % lussen.size()];
        beast::error_code ec;
        tcp::socket s =
            co_await acceptor.async_accept(lus.io, net::redirect_error(net::use_awaitable, ec));
        if (ec) {
            if (ec == net::error::operation_aborted) {
                co_return;
            }
            // Out of descriptors and the like: wait a moment instead of spinning.
            net::steady_timer t(acceptor.get_executor(), std::chrono::milliseconds(50));
            co_await t.async_wait(net::redirect_error(net::use_awaitable, ec));
            continue;
        }
        s.set_option(tcp::no_delay(true), ec);
        std::string adres = s.remote_endpoint(ec).address().to_string();
        if (ec || !laatToe(adres)) {
            // A fresh socket's send buffer is empty: this short reply cannot block the loop.
            Uitkomst u = limiet("verbindingen", 1);
            u.antwoord.keep_alive(false);
            u.antwoord.prepare_payload();
            s.non_blocking(true, ec);
            http::write(s, u.antwoord, ec);
            metingen.weigering(u.soort);
            s.close(ec);
            continue;
        }
        net::co_spawn(lus.io, sessie(beast::tcp_stream(std::move(s)), lus, std::move(adres)),
                      net::detached);
    }
}

bool RelayServer::Binnen::laatToe(const std::string& adres) {
    const std::lock_guard slot(adresM);
    auto& n = perAdres[adres];
    if (verbindingen >= c.maxVerbindingen || n >= c.maxVerbindingenPerAdres) {
        if (n == 0) {
            perAdres.erase(adres);
        }
        return false;
    }
    ++n;
    ++verbindingen;
    return true;
}

void RelayServer::Binnen::laatGaan(const std::string& adres) {
    const std::lock_guard slot(adresM);
    --verbindingen;
    if (const auto i = perAdres.find(adres); i != perAdres.end() && --i->second == 0) {
        perAdres.erase(i);
    }
}

net::awaitable<void> RelayServer::Binnen::sessie(beast::tcp_stream stream, Lus& lus,
                                                 std::string adres) {
    metingen.verbindingOpen();
    beast::flat_buffer buf;
    for (;;) {
        Parser p;
        p.header_limit(16 * 1024);
        p.body_limit(std::max(c.maxUploadBytes, c.maxChatBytes));
        beast::error_code ec;
        stream.expires_after(c.kopTimeout);
        co_await http::async_read_header(stream, buf, p,
                                         net::redirect_error(net::use_awaitable, ec));
        if (ec == http::error::body_limit || ec == http::error::header_limit) {
            Uitkomst u = ec == http::error::body_limit ? weiger(413, "te-groot")
                                                       : weiger(431, "kop-te-groot");
            u.antwoord.keep_alive(false);
            u.antwoord.prepare_payload();
            co_await http::async_write(stream, u.antwoord,
                                       net::redirect_error(net::use_awaitable, ec));
            metingen.weigering(u.soort);
            break;
        }
        if (ec) {
            break;
        }
        ++onderweg;
        const auto begin = Klok::now();
        std::string naam;
        std::string aanbieder = "-";
        Uitkomst u = co_await behandel(stream, buf, p, lus, naam, aanbieder);
        const std::string route(p.get().target().substr(0, p.get().target().find('?')));
        u.antwoord.version(p.get().version());
        u.antwoord.keep_alive(u.houdOpen && p.get().keep_alive() && !stoppen);
        u.antwoord.prepare_payload();
        if (!u.soort.empty()) {
            metingen.weigering(u.soort);
        }
        if (route != "/gezond" && route != "/metrics") {
            metingen.verzoek(route, aanbieder, u.antwoord.result_int());
        }
        if (route != "/gezond" && route != "/metrics" && c.verzoekLog) {
            const auto ms =
                std::chrono::duration_cast<std::chrono::milliseconds>(Klok::now() - begin);
            log(std::string(p.get().method_string()) + " " + route + " " + aanbieder + " " +
                std::to_string(u.antwoord.result_int()) + " in " + std::to_string(ms.count()) +
                " ms" + (naam.empty() ? "" : ", code " + naam) +
                (u.soort.empty() ? "" : ", geweigerd: " + u.soort));
        }
        stream.expires_after(c.bodyTimeout);
        co_await http::async_write(stream, u.antwoord, net::redirect_error(net::use_awaitable, ec));
        --onderweg;
        if (ec || !u.antwoord.keep_alive()) {
            break;
        }
    }
    beast::error_code genegeerd;
    stream.socket().shutdown(tcp::socket::shutdown_send, genegeerd);
    metingen.verbindingDicht();
    laatGaan(adres);
}

net::awaitable<Uitkomst> RelayServer::Binnen::behandel(beast::tcp_stream& stream,
                                                       beast::flat_buffer& buf, Parser& p, Lus& lus,
                                                       std::string& naam, std::string& aanbieder) {
    const auto& kop = p.get();
    const std::string_view pad = kop.target().substr(0, kop.target().find('?'));
    // A refusal before the body is read leaves it in the stream: the connection cannot go on.
    const bool heeftBody = !p.is_done();
    const auto zonderBody = [heeftBody](Uitkomst u) {
        u.houdOpen = !heeftBody;
        return u;
    };

    if (kop.method() == http::verb::get && pad == "/gezond") {
        co_return zonderBody(json(200, {{"status", "gezond"}}));
    }
    if (kop.method() == http::verb::get && pad == "/metrics") {
        Uitkomst u;
        u.antwoord.result(http::status::ok);
        u.antwoord.set(http::field::content_type, "text/plain; version=0.0.4");
        u.antwoord.body() = metingen.tekst();
        co_return zonderBody(std::move(u));
    }
    const bool transcriptie = pad == transcriptieRoute;
    if (!transcriptie && pad != chatRoute) {
        Uitkomst u = json(404, {{"fout", "onbekend-pad"}});
        co_return zonderBody(std::move(u));
    }
    if (kop.method() != http::verb::post) {
        co_return zonderBody(json(405, {{"fout", "alleen-post"}}));
    }

    const std::string keuze = klein(kop["X-Tolmo-Aanbieder"]);
    if (keuze != "openai" && keuze != "mistral") {
        co_return zonderBody(weiger(400, "aanbieder"));
    }
    aanbieder = keuze;

    const std::string_view autorisatie = kop[http::field::authorization];
    constexpr std::string_view drager = "Bearer ";
    if (autorisatie.size() <= drager.size() ||
        klein(autorisatie.substr(0, drager.size())) != "bearer ") {
        co_return zonderBody(weiger(401, "geen-toegangscode"));
    }
    std::optional<CodeRij> code;
    try {
        const std::string hash = Toegangscode::hash(autorisatie.substr(drager.size()));
        code = co_await opOpslag([&] { return opslag->zoekCode(hash); });
    } catch (const OpslagFout& f) {
        log(std::string("Opslag niet bereikbaar: ") + f.what());
        co_return zonderBody(opslagWeg());
    }
    if (!code) {
        co_return zonderBody(weiger(401, "toegangscode-onbekend"));
    }
    naam = code->naam;
    if (code->ingetrokken) {
        co_return zonderBody(weiger(403, "toegangscode-ingetrokken"));
    }

    const std::uint64_t max = transcriptie ? c.maxUploadBytes : c.maxChatBytes;
    if (const auto lengte = p.content_length(); lengte && *lengte > max) {
        co_return zonderBody(weiger(413, "te-groot"));
    }
    const auto nu = std::chrono::system_clock::now();
    const auto seconden =
        std::chrono::duration_cast<std::chrono::seconds>(nu.time_since_epoch()).count();
    std::optional<bool> gedeeld;
    try {
        gedeeld = co_await opOpslag(
            [&] { return opslag->telVerzoek(code->id, seconden / 60, c.verzoekenPerMinuut); });
    } catch (const OpslagFout& f) {
        log(std::string("Opslag niet bereikbaar: ") + f.what());
        co_return zonderBody(opslagWeg());
    }
    if (gedeeld ? !*gedeeld : snelheid.tel(code->id, c.verzoekenPerMinuut, nu).has_value()) {
        co_return zonderBody(limiet("verzoeken-per-minuut", 60 - seconden % 60));
    }
    const std::string& sleutel = keuze == "openai" ? c.openAISleutel : c.mistralSleutel;
    if (sleutel.empty()) {
        co_return zonderBody(aanbiederWeg());
    }
    if (++doorgestuurd > c.plafond) {
        --doorgestuurd;
        co_return zonderBody(limiet("plafond", 1));
    }
    Uitkomst u = co_await stuurDoor(stream, buf, p, lus, *code,
                                    keuze == "openai" ? *openAI : *mistral, sleutel, transcriptie);
    --doorgestuurd;
    co_return u;
}

net::awaitable<Uitkomst> RelayServer::Binnen::stuurDoor(
    beast::tcp_stream& stream, beast::flat_buffer& buf, Parser& p, Lus& lus, const CodeRij& code,
    const AanbiederDoel& doel, const std::string& sleutel, bool transcriptie) {
    const std::uint64_t max = transcriptie ? c.maxUploadBytes : c.maxChatBytes;
    const std::string contentType(p.get()[http::field::content_type]);
    std::optional<Spoolbestand> spool;
    std::string chatBody;
    if (transcriptie) {
        spool.emplace(c.spoolMap);
        if (spool->fd() < 0) {
            log("Kan geen tijdelijk bestand maken in " + c.spoolMap.string() + ".");
            co_return Uitkomst{weiger(500, "intern").antwoord, false, "intern"};
        }
    }
    // The body in blocks: counted against the cap as it arrives, each block to the spool file.
    // Not zero-filled: a chat request would otherwise pay for clearing 64 KiB.
    const auto blok = std::make_unique_for_overwrite<char[]>(leesBlok);
    std::uint64_t gelezen = 0;
    while (!p.is_done()) {
        p.get().body().data = blok.get();
        p.get().body().size = leesBlok;
        beast::error_code ec;
        stream.expires_after(c.bodyTimeout);
        co_await http::async_read(stream, buf, p, net::redirect_error(net::use_awaitable, ec));
        if (ec == http::error::need_buffer) {
            ec = {};
        }
        const std::size_t n = leesBlok - p.get().body().size;
        gelezen += n;
        if (ec == http::error::body_limit || gelezen > max) {
            co_return Uitkomst{weiger(413, "te-groot").antwoord, false, "te-groot"};
        }
        if (ec) {
            // The client went away or stalled: nobody is left to answer.
            co_return Uitkomst{weiger(400, "onvolledig").antwoord, false, "onvolledig"};
        }
        if (transcriptie ? !spool->schrijf(blok.get(), n)
                         : (chatBody.append(blok.get(), n), false)) {
            log("Kan de upload niet tijdelijk opslaan in " + c.spoolMap.string() + ".");
            co_return Uitkomst{weiger(500, "intern").antwoord, false, "intern"};
        }
    }

    const auto nu = std::chrono::system_clock::now();
    const std::string dag = dagUtc(nu);
    std::optional<std::int64_t> reservering;
    double seconden = 0;
    if (transcriptie) {
        const auto bereik = MultipartBereik::zoek(spool->fd(), spool->grootte(),
                                                  MultipartBereik::grens(contentType));
        const auto duur =
            bereik ? AudioDuur::seconden(spool->fd(), bereik->begin, bereik->lengte) : std::nullopt;
        if (!duur || !(*duur > 0)) {
            co_return weiger(400, "audio");
        }
        if (*duur > c.maxAudioSeconden) {
            co_return weiger(413, "te-lang");
        }
        seconden = *duur;
        const auto gevraagd = static_cast<std::int64_t>(std::ceil(*duur));
        try {
            reservering =
                co_await opOpslag([&] { return opslag->reserveer(code.id, dag, gevraagd); });
        } catch (const OpslagFout& f) {
            log(std::string("Opslag niet bereikbaar: ") + f.what());
            co_return opslagWeg();
        }
        if (!reservering) {
            co_return limiet("minuten-per-dag", totMiddernacht(nu));
        }
    }

    const std::string doelPad =
        doel.pad + std::string(transcriptie ? transcriptieRoute : chatRoute);
    const auto vul = [&](auto& verzoek) {
        verzoek.method(http::verb::post);
        verzoek.target(doelPad);
        verzoek.version(11);
        verzoek.set(http::field::host, doel.host);
        verzoek.set(http::field::authorization, "Bearer " + sleutel);
        verzoek.set(http::field::content_type, contentType);
        verzoek.set(http::field::accept, "application/json");
        verzoek.keep_alive(true);
    };
    const auto begin = Klok::now();
    std::optional<AanbiederKlant::Antwoord> antwoord;
    if (transcriptie) {
        http::request<http::file_body> verzoek;
        vul(verzoek);
        beast::file f;
        f.native_handle(::dup(spool->fd()));
        beast::error_code ec;
        verzoek.body().reset(std::move(f), ec);
        verzoek.prepare_payload();
        antwoord = co_await lus.klant.stuur(doel, verzoek);
    } else {
        http::request<http::string_body> verzoek;
        vul(verzoek);
        verzoek.body() = std::move(chatBody);
        verzoek.prepare_payload();
        antwoord = co_await lus.klant.stuur(doel, verzoek);
    }
    metingen.aanbiederDuur(std::chrono::duration<double>(Klok::now() - begin).count());

    const bool gelukt = antwoord && antwoord->result_int() >= 200 && antwoord->result_int() <= 299;
    if (reservering) {
        try {
            co_await opOpslag([&] {
                opslag->verreken(*reservering, gelukt);
                return true;
            });
        } catch (const OpslagFout& f) {
            bewaar(*reservering, gelukt, f);
        }
    }
    if (!antwoord || antwoord->result_int() >= 500) {
        co_return aanbiederWeg();
    }
    const unsigned status = antwoord->result_int();
    if (status == 401 || status == 403) {
        // The operator's key was refused; the provider's text may quote part of it.
        log("De aanbieder weigerde de sleutel van de server (status " + std::to_string(status) +
            "). Controleer de sleutel.");
        co_return weiger(502, "aanbieder-sleutel");
    }
    if (status == 429) {
        Uitkomst u = limiet("aanbieder", 30);
        if (const auto na = (*antwoord)[http::field::retry_after]; !na.empty()) {
            u.antwoord.set(http::field::retry_after, na);
        }
        co_return u;
    }
    if (gelukt) {
        metingen.audio(seconden);
    }
    Uitkomst u;
    u.antwoord.result(status);
    const auto type = (*antwoord)[http::field::content_type];
    u.antwoord.set(http::field::content_type, type.empty() ? "application/json" : type);
    u.antwoord.body() = std::move(antwoord->body());
    co_return u;
}

void RelayServer::Binnen::verreken(std::int64_t reservering, bool gebruikt) {
    try {
        metOpslag([&] {
            opslag->verreken(reservering, gebruikt);
            return true;
        });
    } catch (const OpslagFout& f) {
        bewaar(reservering, gebruikt, f);
    }
}

void RelayServer::Binnen::bewaar(std::int64_t reservering, bool gebruikt, const OpslagFout& f) {
    log(std::string("Verrekening wacht op de database: ") + f.what());
    const std::lock_guard slot(openM);
    openVerrekeningen.emplace_back(reservering, gebruikt);
}

void RelayServer::Binnen::ruimOp() {
    std::vector<std::pair<std::int64_t, bool>> open;
    {
        const std::lock_guard slot(openM);
        open.swap(openVerrekeningen);
    }
    for (const auto& [id, gebruikt] : open) {
        verreken(id, gebruikt);
    }
    try {
        metOpslag([&] {
            opslag->ruimOp();
            return true;
        });
    } catch (const OpslagFout& f) {
        log(std::string("Opruimen van verlopen reserveringen mislukt: ") + f.what());
    }
}

void RelayServer::draai() {
    auto& b = *binnen_;
    Lus& eerste = *b.lussen.front();
    tcp::acceptor acceptor(eerste.io);
    const tcp::endpoint eindpunt(net::ip::make_address(b.c.luisterAdres), b.c.luisterPoort);
    beast::error_code ec;
    acceptor.open(eindpunt.protocol(), ec);
    if (!ec) {
        acceptor.set_option(net::socket_base::reuse_address(true), ec);
        acceptor.bind(eindpunt, ec);
    }
    if (!ec) {
        acceptor.listen(net::socket_base::max_listen_connections, ec);
    }
    if (ec) {
        throw std::runtime_error("Kan niet luisteren op " + b.c.luisterAdres + ":" +
                                 std::to_string(b.c.luisterPoort) + ": " + ec.message() + ".");
    }
    std::vector<net::executor_work_guard<net::io_context::executor_type>> werk;
    for (auto& l : b.lussen) {
        werk.push_back(net::make_work_guard(l->io));
    }
    net::co_spawn(eerste.io, b.accepteer(acceptor), net::detached);

    net::signal_set signalen(eerste.io, SIGTERM, SIGINT);
    net::steady_timer wachter(eerste.io);
    std::function<void()> kijk = [&] {
        // In flight: finish; idle keep-alive connections just close when the loops stop.
        if (b.onderweg == 0) {
            b.log("Alle lopende verzoeken zijn klaar; tolmo-server stopt.");
            for (auto& l : b.lussen) {
                l->io.stop();
            }
            return;
        }
        wachter.expires_after(std::chrono::milliseconds(20));
        wachter.async_wait([&](beast::error_code) { kijk(); });
    };
    signalen.async_wait([&](beast::error_code fout, int) {
        if (fout) {
            return;
        }
        b.log("Stopsignaal ontvangen: geen nieuwe verbindingen meer, lopende verzoeken maken af.");
        b.stoppen = true;
        beast::error_code genegeerd;
        acceptor.close(genegeerd);
        kijk();
    });

    b.log("tolmo-server luistert op " + b.c.luisterAdres + ":" +
          std::to_string(acceptor.local_endpoint().port()) + " met " +
          std::to_string(b.lussen.size()) + " event loop(s).");
    std::vector<std::thread> draden;
    for (std::size_t i = 1; i < b.lussen.size(); ++i) {
        draden.emplace_back([&l = *b.lussen[i]] { l.io.run(); });
    }
    // Off the event loops: a sweep that waits for the database holds up no request.
    std::mutex ruimM;
    std::condition_variable_any ruimCv;
    std::jthread ruimer([&](const std::stop_token& stop) {
        const auto interval = std::clamp(b.c.reserveringTimeout / 4, std::chrono::seconds(1),
                                         std::chrono::seconds(30));
        std::unique_lock slot(ruimM);
        for (;;) {
            ruimCv.wait_for(slot, stop, interval, [] { return false; });
            if (stop.stop_requested()) {
                return;
            }
            b.ruimOp();
        }
    });
    eerste.io.run();
    for (auto& t : draden) {
        t.join();
    }
    ruimer.request_stop();
}

}  // namespace tolmo::server
