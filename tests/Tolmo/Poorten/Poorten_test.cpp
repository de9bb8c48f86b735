// The ports' own portable parts: the worker thread, the log store over a key-value store and
// the timer handle.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <utility>

#include "Tolmo/Poorten/DraadWerker.h"
#include "Tolmo/Poorten/SleutelWaardeLogOpslag.h"
#include "Tolmo/Poorten/Timer.h"
#include "TolmoKern/Draad/Stop.h"
#include "nep/GeheugenOpslag.h"
#include "nep/NepHoofdLus.h"

namespace tolmo {
namespace {

// Each task runs on a thread of its own with the caller's stop token, and the worker waits for
// running tasks when it goes, so nothing a task touches can disappear under it.
TEST(DraadWerker, RunsOffTheCallingThreadAndJoinsOnDestruction) {
    const auto hoofd = std::this_thread::get_id();
    std::atomic<bool> andereDraad{false};
    std::atomic<int> gestopt{0};
    StopBron bron;
    {
        DraadWerker werker;
        for (int i = 0; i < 3; ++i) {
            werker.start(
                [&](StopToken stop) {
                    andereDraad = std::this_thread::get_id() != hoofd;
                    while (!stop.stopGevraagd()) {
                        std::this_thread::yield();
                    }
                    ++gestopt;
                },
                bron.token());
        }
        bron.vraagStop();
    }
    EXPECT_TRUE(andereDraad);
    EXPECT_EQ(gestopt, 3);
}

TEST(SleutelWaardeLogOpslag, RoundTripsAndSkipsOnlyTheBrokenEntries) {
    nep::GeheugenOpslag opslag;
    SleutelWaardeLogOpslag log(opslag, 2);
    EXPECT_TRUE(log.laad().empty());
    const std::vector<LogRegel> regels{{0, 0, "mac", "valt eraf"},
                                       {1, 1700000000000, "mac", "Dictaat gestart (menu)"},
                                       {2, -5, "", "ë \"quote\"\nnieuwe regel"}};
    for (const auto& r : regels) {
        log.voegToe(r);
    }
    EXPECT_EQ(log.laad(), std::vector<LogRegel>(regels.begin() + 1, regels.end()))
        << "the newest two are kept";

    opslag.waarden["logboek"] = std::string(
        R"([{"id":3,"tijd":1,"bron":"mac","tekst":"goed"},{"id":-1,"tijd":1,"tekst":"x"},)"
        R"({"id":4,"tekst":"geen tijd"},7,{"id":5,"tijd":2,"bron":9,"tekst":"bron kwijt"}])");
    const std::vector<LogRegel> verwacht{{3, 1, "mac", "goed"}, {5, 2, "", "bron kwijt"}};
    EXPECT_EQ(log.laad(), verwacht);
    for (const char* kapot : {"{", "{}", "\"tekst\""}) {
        opslag.waarden["logboek"] = std::string(kapot);
        EXPECT_TRUE(log.laad().empty()) << kapot;
    }
    opslag.waarden["logboek"] = true;
    EXPECT_TRUE(log.laad().empty());
}

TEST(Timer, EndsWithItsHolder) {
    nep::NepHoofdLus lus(0);
    int herhaald = 0, eenmaal = 0;
    Timer a = lus.herhalend(1.0, [&] { ++herhaald; });
    lus.verstrijk(2.5);
    EXPECT_EQ(herhaald, 2);

    // Assigning another timer stops the one held before.
    a = lus.eenmalig(1.0, [&] { ++eenmaal; });
    lus.verstrijk(3.0);
    EXPECT_EQ(herhaald, 2);
    EXPECT_EQ(eenmaal, 1);

    // Moving hands over the timer; the moved-from handle stops nothing.
    Timer b = lus.herhalend(1.0, [&] { ++herhaald; });
    Timer c = std::move(b);
    EXPECT_FALSE(b.actief());  // NOLINT(bugprone-use-after-move): checking the moved-from state
    b.annuleer();
    lus.verstrijk(1.0);
    EXPECT_EQ(herhaald, 3);
    { const Timer weg = std::move(c); }
    lus.verstrijk(5.0);
    EXPECT_EQ(herhaald, 3);
    EXPECT_EQ(lus.actieveTimers(), 0);
}

}  // namespace
}  // namespace tolmo
