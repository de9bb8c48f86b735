#include "Tolmo/Poorten/DraadWerker.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include "TolmoKern/Draad/Stop.h"

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

}  // namespace
}  // namespace tolmo
