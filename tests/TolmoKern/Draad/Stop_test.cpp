#include "TolmoKern/Draad/Stop.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <optional>
#include <string>

namespace tolmo {
namespace {

TEST(Stop, TerugroepenLopenEenKeerOpVolgordeOfMeteen) {
    StopBron bron;
    std::string volgorde;
    StopTerugroep a(bron.token(), [&] { volgorde += "a"; });
    std::optional<StopTerugroep> weg(std::in_place, bron.token(), [&] { volgorde += "x"; });
    StopTerugroep b(bron.token(), [&] { volgorde += "b"; });
    weg.reset();
    EXPECT_TRUE(bron.vraagStop());
    EXPECT_FALSE(bron.vraagStop()) << "a second request changes nothing";
    StopTerugroep laat(bron.token(), [&] { volgorde += "c"; });
    EXPECT_EQ(volgorde, "abc");
    EXPECT_TRUE(bron.token().stopGevraagd());
    EXPECT_FALSE(StopToken().stopMogelijk());
    EXPECT_FALSE(StopToken().stopGevraagd());
}

// A callback running on another thread outlives nothing: removing it waits for it to finish,
// and a callback that removes itself does not wait for itself.
TEST(Stop, WegnemenWachtOpEenLopendeTerugroep) {
    StopBron bron;
    std::atomic<bool> begonnen{false};
    std::atomic<bool> klaar{false};
    auto t = std::make_unique<StopTerugroep>(bron.token(), [&] {
        begonnen = true;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        klaar = true;
    });
    std::thread stopper([&] { bron.vraagStop(); });
    while (!begonnen) {
        std::this_thread::yield();
    }
    t.reset();
    EXPECT_TRUE(klaar);
    stopper.join();

    StopBron tweede;
    std::unique_ptr<StopTerugroep> zelf;
    zelf = std::make_unique<StopTerugroep>(tweede.token(), [&] { zelf.reset(); });
    tweede.vraagStop();
    EXPECT_EQ(zelf, nullptr);
}

TEST(Stop, EenDraadVraagtStopEnWachtAlsHijGaat) {
    std::atomic<bool> gezien{false};
    {
        Draad d([&](StopToken t) {
            while (!t.stopGevraagd()) {
                std::this_thread::yield();
            }
            gezien = true;
        });
    }
    EXPECT_TRUE(gezien);
    Draad a([] {});
    a = Draad([&](const StopToken&) { gezien = false; });
    a.join();
    EXPECT_FALSE(gezien);
}

}  // namespace
}  // namespace tolmo
