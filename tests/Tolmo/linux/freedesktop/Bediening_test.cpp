#include "Tolmo/linux/freedesktop/Bediening.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <future>

namespace tolmo {
namespace {

namespace fs = std::filesystem;
using Soort = Aanroep::Soort;

TEST(BedieningTest, TheCommandLine) {
    struct Geval {
        std::vector<std::string> args;
        Soort soort;
        Opdracht opdracht;
        std::string fout;
        std::optional<Weergavesysteem> sessie = std::nullopt;
    };
    for (const Geval& g : {
             Geval{{}, Soort::app, Opdracht::toon, ""},
             Geval{{"--start"}, Soort::opdracht, Opdracht::start, ""},
             Geval{{"--stop"}, Soort::opdracht, Opdracht::stop, ""},
             Geval{{"--wissel"}, Soort::opdracht, Opdracht::wissel, ""},
             Geval{{"--annuleer"}, Soort::opdracht, Opdracht::annuleer, ""},
             Geval{{"--stop", "--hulp"}, Soort::hulp, Opdracht::toon, ""},
             Geval{{"-h"}, Soort::hulp, Opdracht::toon, ""},
             // A plain second launch sends "toon"; the user never types it.
             Geval{{"--toon"}, Soort::fout, Opdracht::toon, "onbekende optie: --toon"},
             Geval{{"start"}, Soort::fout, Opdracht::toon, "onbekende optie: start"},
             Geval{
                 {"--start", "--stop"}, Soort::fout, Opdracht::toon, "geef één opdracht tegelijk"},
             Geval{{"--sessie", "wayland", "--start"},
                   Soort::opdracht,
                   Opdracht::start,
                   "",
                   Weergavesysteem::wayland},
             Geval{{"--sessie=x11"}, Soort::app, Opdracht::toon, "", Weergavesysteem::x11},
             Geval{{"--sessie"}, Soort::fout, Opdracht::toon, "na --sessie hoort x11 of wayland"},
             Geval{{"--sessie", "mir"},
                   Soort::fout,
                   Opdracht::toon,
                   "onbekende sessie: mir (kies x11 of wayland)"},
         }) {
        SCOPED_TRACE(g.args.empty() ? "" : g.args.front());
        const Aanroep a = leesAanroep(g.args);
        EXPECT_EQ(a.soort, g.soort);
        EXPECT_EQ(a.opdracht, g.opdracht);
        EXPECT_EQ(a.fout, g.fout);
        EXPECT_EQ(a.sessie, g.sessie);
    }
}

TEST(BedieningTest, CommandsReachTheRunningInstanceAndNotAGoneOne) {
    const fs::path pad = fs::temp_directory_path() / ("tolmo-bed-" + std::to_string(::getpid()));
    fs::remove(pad);
    EXPECT_EQ(stuur(pad, Opdracht::start).uitslag, Bezorging::Uitslag::draaitNiet);

    // What a crashed instance leaves: a socket file nobody listens on.
    const int oud = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un a{};
    a.sun_family = AF_UNIX;
    std::strcpy(a.sun_path, pad.c_str());
    ASSERT_EQ(::bind(oud, reinterpret_cast<const sockaddr*>(&a), sizeof(a)), 0);
    ::close(oud);
    EXPECT_EQ(stuur(pad, Opdracht::stop).uitslag, Bezorging::Uitslag::draaitNiet);

    {
        BedieningsServer server(pad);
        for (const Opdracht o : {Opdracht::start, Opdracht::annuleer, Opdracht::toon}) {
            auto bezorging = std::async(std::launch::async, [&] { return stuur(pad, o); });
            std::vector<Opdracht> ontvangen;
            while (ontvangen.empty() &&
                   bezorging.wait_for(std::chrono::milliseconds(5)) != std::future_status::ready) {
                ontvangen = server.verwerk();
            }
            EXPECT_EQ(ontvangen, std::vector<Opdracht>{o});
            EXPECT_EQ(bezorging.get().uitslag, Bezorging::Uitslag::afgeleverd);
        }
        // Nobody answers: a hung instance is reported, not waited on for ever.
        const Bezorging b = stuur(pad, Opdracht::stop, std::chrono::milliseconds(50));
        EXPECT_EQ(b.uitslag, Bezorging::Uitslag::mislukt);
        EXPECT_EQ(b.fout, "Tolmo draait maar antwoordt niet");
    }
    // The instance cleans up after itself.
    EXPECT_FALSE(fs::exists(pad));
}

}  // namespace
}  // namespace tolmo
