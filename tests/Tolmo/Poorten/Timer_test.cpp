#include "Tolmo/Poorten/Timer.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "nep/NepHoofdLus.h"

namespace tolmo {
namespace {

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

TEST(Timer, MayBeCancelledFromItsOwnTask) {
    nep::NepHoofdLus lus(0);
    int keren = 0;
    Timer t;
    t = lus.herhalend(0.25, [&] {
        if (++keren == 3) {
            t.annuleer();
        }
    });
    lus.verstrijk(10.0);
    EXPECT_EQ(keren, 3);
    EXPECT_FALSE(t.actief());
}

TEST(NepHoofdLus, RunsTasksAndTimersInOrderAtTheirOwnTime) {
    nep::NepHoofdLus lus(10.0);
    std::vector<std::string> volgorde;
    auto noteer = [&](std::string wat) {
        return [&, wat] { volgorde.push_back(wat + "@" + std::to_string(lus.uptime())); };
    };
    Timer laat = lus.eenmalig(0.5, noteer("laat"));
    lus.postNa(0.2, [&] {
        volgorde.push_back("na0.2@" + std::to_string(lus.uptime()));
        lus.post(noteer("gepost door na0.2"));
    });
    Timer zelfdeMoment = lus.eenmalig(0.2, noteer("ook0.2"));
    lus.post(noteer("gepost"));
    EXPECT_TRUE(volgorde.empty()) << "nothing runs inside the call that scheduled it";
    lus.verstrijk(0.3);
    EXPECT_EQ(lus.uptime(), 10.3);
    lus.verstrijk(1.0);
    const std::vector<std::string> verwacht = {"gepost@10.000000", "na0.2@10.200000",
                                               "gepost door na0.2@10.200000", "ook0.2@10.200000",
                                               "laat@10.500000"};
    EXPECT_EQ(volgorde, verwacht);
}

}  // namespace
}  // namespace tolmo
