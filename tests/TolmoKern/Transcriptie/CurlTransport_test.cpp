#include "TolmoKern/Transcriptie/CurlTransport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <future>
#include <thread>

#include "TolmoKern/Keten/Geannuleerd.h"
#include "TolmoKern/Transcriptie/TransportFout.h"
#include "nep/Gevangen.h"
#include "nep/LoopbackServer.h"

namespace tolmo {
namespace {

using namespace std::chrono_literals;
using nep::LoopbackServer;
using Antwoord = LoopbackServer::Antwoord;

HTTPVerzoek post(const std::string& url, std::string body = "hallo") {
    HTTPVerzoek v;
    v.url = url;
    v.headers = {{"Content-Type", "text/plain"}, {"Authorization", "Bearer sleutel"}};
    v.body = std::move(body);
    return v;
}

TEST(CurlTransport, ReturnsAnyHttpReplyWithItsHeadersAndSendsTheBodyIntact) {
    LoopbackServer server;
    // Every byte value, and large enough to go out in many writes.
    std::string body(3'000'000, '\0');
    for (std::size_t i = 0; i < body.size(); ++i) {
        body[i] = static_cast<char>(i * 7 % 256);
    }
    for (unsigned status : {200U, 503U}) {
        SCOPED_TRACE(status);
        server.zetAntwoord(
            Antwoord::json(status, R"({"fout":"x"})", {{"Retry-After", "12"}, {"X-Een", " a b "}}));
        HTTPVerzoek v = post(server.url() + "v1/iets?x=1", body);
        v.maximaleAntwoordGrootte = 12;  // exactly the reply's size
        const HTTPAntwoord a = CurlTransport().verstuur(std::move(v), {});
        EXPECT_EQ(a.status, status);
        EXPECT_EQ(a.body, R"({"fout":"x"})");
        ASSERT_NE(zoekHeader(a.headers, "retry-after"), nullptr);
        EXPECT_EQ(*zoekHeader(a.headers, "Retry-After"), "12");
        EXPECT_EQ(*zoekHeader(a.headers, "x-een"), "a b");

        const auto ontvangen = server.verzoeken().back();
        EXPECT_EQ(ontvangen.methode, "POST");
        EXPECT_EQ(ontvangen.doel, "/v1/iets?x=1");
        EXPECT_EQ(ontvangen.header("Authorization"), "Bearer sleutel");
        EXPECT_EQ(ontvangen.header("Content-Length"), std::to_string(body.size()));
        EXPECT_FALSE(ontvangen.header("Expect")) << "no waiting for 100 Continue";
        EXPECT_TRUE(ontvangen.body == body);
    }
}

TEST(CurlTransport, FailuresBelowHttpMapToUrlErrors) {
    LoopbackServer server;
    struct Geval {
        const char* naam;
        std::optional<Antwoord> antwoord;
        std::string url;
        UrlFout verwacht;
    };
    Antwoord traag = Antwoord::json(200, R"({"text":"te laat"})");
    traag.vertraging = 5s;
    const std::string gesloten = "http://127.0.0.1:" + std::to_string(nep::vrijePoort()) + "/";
    const Geval gevallen[] = {
        {"gesloten poort", std::nullopt, gesloten, UrlFout::cannotConnectToHost},
        {"dicht zonder antwoord", Antwoord::sluit(), server.url(), UrlFout::badServerResponse},
        {"geen HTTP", Antwoord::ruweBytes("hallo daar\r\n\r\n"), server.url(),
         UrlFout::badServerResponse},
        {"staat stil", traag, server.url(), UrlFout::timedOut},
        {"geen URL", std::nullopt, "geen url", UrlFout::badURL},
        {"ander protocol", std::nullopt, "ftp://127.0.0.1/x", UrlFout::badURL},
        {"onbekende host", std::nullopt, "http://bestaat-niet.invalid/", UrlFout::cannotFindHost},
        {"te groot", Antwoord::json(200, std::string(4097, 'x')), server.url(),
         UrlFout::cannotParseResponse},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.naam);
        if (g.antwoord) {
            server.zetAntwoord(*g.antwoord);
        }
        HTTPVerzoek v = post(g.url);
        v.timeout = g.verwacht == UrlFout::timedOut ? 300ms : 10s;
        v.maximaleAntwoordGrootte = 4096;
        const auto f =
            nep::gevangen<TransportFout>([&] { return CurlTransport().verstuur(v, {}); });
        EXPECT_EQ(f ? f->code() : UrlFout::overig, g.verwacht) << (f ? f->detail() : "");
    }
}

// Overlapping requests from two threads (a chain still aborting while the next starts) each
// get their own connection and their own reply; afterwards both connections stay warm, though
// every request has a fresh transport: the connection cache belongs to the process.
TEST(CurlTransport, OverlappingRequestsFromTwoThreads) {
    LoopbackServer server;
    server.zetBehandelaar([](const LoopbackServer::Verzoek& v) {
        Antwoord a = Antwoord::json(200, "antwoord op " + v.body);
        a.vertraging = 300ms;
        return a;
    });
    const auto vraag = [&](std::string body) {
        return CurlTransport().verstuur(post(server.url(), std::move(body)), {}).body;
    };
    auto eerste = std::async(std::launch::async, vraag, "een");
    auto tweede = std::async(std::launch::async, vraag, "twee");
    EXPECT_EQ(eerste.get(), "antwoord op een");
    EXPECT_EQ(tweede.get(), "antwoord op twee");
    EXPECT_EQ(server.aantalVerbindingen(), 2U);
    auto derde = std::async(std::launch::async, vraag, "drie");
    EXPECT_EQ(vraag("vier"), "antwoord op vier");
    EXPECT_EQ(derde.get(), "antwoord op drie");
    EXPECT_EQ(server.aantalVerbindingen(), 2U) << "both connections were reused";
}

TEST(CurlTransport, StopAbortsAStalledUploadAtOnce) {
    LoopbackServer server;
    Antwoord staatStil = Antwoord::json(200, "{}");
    // The server takes the header and then stops reading, so the upload fills the socket
    // buffers and hangs.
    staatStil.pauzeVoorBody = 20s;
    server.zetAntwoord(staatStil);

    StopBron stop;
    auto klaar = std::async(std::launch::async, [&] {
        try {
            (void)CurlTransport().verstuur(post(server.url(), std::string(32 << 20, 'a')),
                                           stop.token());
            return std::string("geen fout");
        } catch (const Geannuleerd&) {
            return std::string("geannuleerd");
        } catch (const std::exception& e) {
            return std::string("andere fout: ") + e.what();
        }
    });
    ASSERT_TRUE(server.wachtOpBegonnen(1, 5s));
    std::this_thread::sleep_for(200ms);
    ASSERT_EQ(klaar.wait_for(0s), std::future_status::timeout) << "the upload should hang";
    stop.vraagStop();
    // Far below the stall and the 30-second time-out: the transfer was aborted, not waited out.
    ASSERT_EQ(klaar.wait_for(2s), std::future_status::ready);
    EXPECT_EQ(klaar.get(), "geannuleerd");
}

TEST(CurlTransport, ReportsUploadProgressUpToTheWholeBody) {
    LoopbackServer server;
    Antwoord traag = Antwoord::json(200, "{}");
    traag.vertraging = 300ms;
    server.zetAntwoord(traag);
    for (const std::size_t grootte : {std::size_t{0}, std::size_t{1}, std::size_t{4} << 20}) {
        SCOPED_TRACE(grootte);
        std::vector<std::pair<std::int64_t, std::int64_t>> meldingen;
        HTTPVerzoek v = post(server.url(), std::string(grootte, 'x'));
        v.voortgang = [&](std::int64_t verstuurd, std::int64_t totaal) {
            meldingen.emplace_back(verstuurd, totaal);
        };
        ASSERT_EQ(CurlTransport().verstuur(std::move(v), {}).status, 200);
        ASSERT_FALSE(meldingen.empty());
        for (std::size_t i = 1; i < meldingen.size(); ++i) {
            ASSERT_LE(meldingen[i - 1].first, meldingen[i].first) << "progress never goes back";
        }
        for (const auto& [verstuurd, totaal] : meldingen) {
            ASSERT_LE(verstuurd, static_cast<std::int64_t>(grootte));
            ASSERT_TRUE(totaal == 0 || totaal == static_cast<std::int64_t>(grootte)) << totaal;
        }
        EXPECT_EQ(meldingen.back().first, static_cast<std::int64_t>(grootte));
        // While the server holds its answer back the callback keeps coming, so a display can
        // show that it waits.
        const auto heel = std::count_if(meldingen.begin(), meldingen.end(), [&](const auto& m) {
            return m.first == static_cast<std::int64_t>(grootte);
        });
        EXPECT_GE(heel, 2);
    }
}

}  // namespace
}  // namespace tolmo
