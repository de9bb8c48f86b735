#include "Tolmo/Poorten/Timer.h"

#include <gtest/gtest.h>

#include <utility>

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

}  // namespace
}  // namespace tolmo
