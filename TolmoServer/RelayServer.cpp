#include "TolmoServer/RelayServer.h"

#include "TolmoServer/RelayBinnen.h"

namespace tolmo::server {

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
        if (!u.stroom) {
            u.antwoord.prepare_payload();
        }
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
        bool verder = true;
        if (u.stroom) {
            verder = co_await stroomDoor(stream, u, lus);
        } else {
            stream.expires_after(c.bodyTimeout);
            co_await http::async_write(stream, u.antwoord,
                                       net::redirect_error(net::use_awaitable, ec));
            verder = !ec;
        }
        if (u.verrekening) {
            const std::int64_t reservering = u.verrekening->first;
            const bool gebruikt = u.verrekening->second;
            try {
                co_await opOpslag([&] {
                    opslag->verreken(reservering, gebruikt);
                    return true;
                });
            } catch (const OpslagFout& f) {
                bewaar(reservering, gebruikt, f);
            }
        }
        --onderweg;
        if (!verder || !u.antwoord.keep_alive()) {
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

    // Who asks comes before what is asked: a request without a code learns nothing else.
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

    const std::string keuze = klein(kop["X-Tolmo-Aanbieder"]);
    if (keuze != "openai" && keuze != "mistral") {
        co_return zonderBody(weiger(400, "aanbieder"));
    }
    aanbieder = keuze;

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
    // A request counts against the per-minute limit first, as one refused later would. Any
    // dictation takes at least a second: a code with none left today is refused before its
    // upload, which a client that waits for "100 Continue" then never sends.
    if (transcriptie && code->vandaagGebruikt >= code->minutenPerDag * 60) {
        co_return zonderBody(limiet("minuten-per-dag", totMiddernacht(nu)));
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
