// Two real tolmo-server instances sharing one private PostgreSQL server, in front of one fake
// provider: the quota holds across instances, the database may go away and come back, and an
// instance that dies mid-request leaves no minutes taken for good.
#include <gtest/gtest.h>

#include <atomic>
#include <ctime>
#include <map>
#include <memory>
#include <thread>

#include "RelayHulp.h"
#include "nep/LoopbackServer.h"
#include "nep/LopendProces.h"
#include "nep/PostgresServer.h"

namespace tolmo {
namespace {

using namespace std::chrono_literals;
using nep::LoopbackServer;
using relay::status;

class RelayPostgresTest : public ::testing::Test {
  protected:
    void SetUp() override {
        if (!nep::PostgresServer::binMap()) {
            GTEST_SKIP() << "Geen PostgreSQL-server geïnstalleerd (pakket postgresql).";
        }
        pg_ = std::make_unique<nep::PostgresServer>();
        // A request of more than three seconds of audio waits at the provider until the test lets
        // it go.
        nep_.zetBehandelaar([this](const LoopbackServer::Verzoek& v) {
            for (int i = 0; v.body.size() > 3 * 32000 && !laatGaan_ && i < 1000; ++i) {
                std::this_thread::sleep_for(10ms);
            }
            return LoopbackServer::Antwoord::json(200, R"({"text":"ok"})");
        });
        omgeving_ = {{"TOLMO_SERVER_CONFIG", ""},
                     {"TOLMO_SERVER_DATABASE", pg_->verbinding()},
                     {"TOLMO_SERVER_OPENAI_URL", nep_.url()},
                     {"TOLMO_SERVER_VERZOEKEN_PER_MINUUT", "200"},
                     {"TOLMO_SERVER_RESERVERING_TIMEOUT", "6"},
                     {"TOLMO_SERVER_DRADEN", "2"},
                     {"OPENAI_API_KEY", "sk-nep"}};
        for (int i = 0; i < 2; ++i) {
            auto omg = omgeving_;
            omg["TOLMO_SERVER_LUISTER"] = "127.0.0.1:" + std::to_string(poorten_[i]);
            servers_[i] = relay::startServer(omg);
        }
    }

    // Each instance that still runs stops cleanly on SIGTERM.
    void TearDown() override {
        for (auto& proces : servers_) {
            if (proces) {
                proces->stuurSignaal(SIGTERM);
                EXPECT_EQ(proces->wacht().status, 0);
            }
        }
    }

    std::int64_t gebruikt(const std::string& naam) { return relay::gebruikt(omgeving_, naam); }

    std::unique_ptr<nep::PostgresServer> pg_;
    LoopbackServer nep_;
    std::atomic<bool> laatGaan_{false};
    relay::Omgeving omgeving_;
    const std::uint16_t poorten_[2] = {nep::vrijePoort(), nep::vrijePoort()};
    std::unique_ptr<nep::LopendProces> servers_[2];  // reset when killed
};

// 300 one-second requests of one code, half to each instance, all sent before any reply is
// read, in one clock minute: the two instances together admit 200 (verzoeken-per-minuut), of
// which a two-minute quota takes exactly 120.
TEST_F(RelayPostgresTest, QuotumExactOverTweeInstanties) {
    const std::string verzoek =
        relay::transcriptieVerzoek(relay::maakCode(omgeving_, "druk", 2), 1);
    while (std::time(nullptr) % 60 > 50) {
        std::this_thread::sleep_for(1s);
    }
    const auto statussen = relay::tegelijk(300, {poorten_[0], poorten_[1]}, verzoek);
    EXPECT_EQ(statussen,
              (std::map<std::string, int>{{"200", 120}, {"429", 80}, {"429 per minuut", 100}}));
    EXPECT_EQ(gebruikt("druk"), 120);
}

// The database stops while a request waits at the provider: both instances refuse with 503
// and the Dutch message but stay healthy; when it is back they serve again by themselves, and
// the settlement that failed meanwhile is made later (the 4 s stay used, though their
// reservation expired).
TEST_F(RelayPostgresTest, DatabaseWegEnTerug) {
    const std::string c = relay::maakCode(omgeving_, "wankel", 60);
    std::string traag;
    std::thread onderweg(
        [&] { traag = relay::stuur(poorten_[0], relay::transcriptieVerzoek(c, 4)); });
    ASSERT_TRUE(nep_.wachtOpBegonnen(1, 10s));
    pg_->stop();
    for (const std::uint16_t poort : poorten_) {
        const std::string weg = relay::stuur(poort, relay::transcriptieVerzoek(c, 1));
        EXPECT_EQ(status(weg), "503") << weg;
        EXPECT_NE(weg.find("De database van de server is tijdelijk niet bereikbaar."),
                  std::string::npos);
        EXPECT_NE(weg.find("Retry-After: 5"), std::string::npos);
        EXPECT_EQ(status(relay::haal(poort, "/gezond")), "200");
    }
    laatGaan_ = true;
    onderweg.join();
    EXPECT_EQ(status(traag), "200");
    pg_->start();
    for (const std::uint16_t poort : poorten_) {
        std::string terug;
        for (int i = 0; i < 50 && status(terug) != "200"; ++i) {
            std::this_thread::sleep_for(100ms);
            terug = relay::stuur(poort, relay::transcriptieVerzoek(c, 1));
        }
        EXPECT_EQ(status(terug), "200") << terug;
    }
    std::this_thread::sleep_for(7s);  // past the reservation's time-out and a sweep
    EXPECT_EQ(gebruikt("wankel"), 4 + 1 + 1);
    const auto metrics = relay::haal(poorten_[0], "/metrics");
    EXPECT_EQ(metrics.find("tolmo_opslag_fouten_totaal 0\n"), std::string::npos) << metrics;
}

// An instance killed while its request waits at the provider never settles; the other
// instance's sweep gives the reserved seconds back once they expire.
TEST_F(RelayPostgresTest, ReserveringVanGestorvenInstantieVerloopt) {
    const std::string c = relay::maakCode(omgeving_, "wees", 60);
    std::thread onderweg([&] { relay::stuur(poorten_[0], relay::transcriptieVerzoek(c, 4)); });
    ASSERT_TRUE(nep_.wachtOpBegonnen(1, 10s));
    EXPECT_EQ(gebruikt("wees"), 4);
    servers_[0]->stuurSignaal(SIGKILL);
    servers_[0]->wacht();
    servers_[0].reset();
    onderweg.join();
    laatGaan_ = true;
    std::int64_t over = -1;
    for (int i = 0; i < 40 && over != 0; ++i) {
        std::this_thread::sleep_for(250ms);
        over = gebruikt("wees");
    }
    EXPECT_EQ(over, 0);
}

}  // namespace
}  // namespace tolmo
