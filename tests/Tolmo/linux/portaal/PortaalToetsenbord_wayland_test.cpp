// The paste keystroke through the RemoteDesktop portal, against the real portal frontend of the
// Debian 13 root with a fake desktop backend behind it: what the app keeps of the permission
// between runs, what it does when the user or the desktop says no, and what it types.
#include "Tolmo/linux/portaal/PortaalToetsenbord.h"

#include <gio/gio.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "nep/NepPortaalBus.h"

namespace tolmo {
namespace {

using namespace std::chrono_literals;
using Toets = nep::NepPortaal::Toets;

// Runs GLib's default context, where the portal's answers arrive, until klaar holds.
template <typename F>
bool pomp(F klaar) {
    return nep::wachtTot(
        [&] {
            while (g_main_context_iteration(nullptr, FALSE)) {
            }
            return klaar();
        },
        10s);
}

// One run of the app: its portal connection and its keyboard session.
struct AppRun {
    Portaal portaal{"app.tolmo.Tolmo"};
    PortaalToetsenbord toetsenbord;
    explicit AppRun(const std::filesystem::path& tokenBestand)
        : toetsenbord(portaal, tokenBestand, false) {}
    // What start reported.
    std::string start() {
        std::optional<std::string> uitkomst;
        toetsenbord.start([&](const std::string& fout) { uitkomst = fout; });
        if (!pomp([&] { return uitkomst.has_value(); })) {
            return "geen antwoord";
        }
        return *uitkomst;
    }
};

std::string lees(const std::filesystem::path& pad) {
    std::ifstream in(pad);
    std::string regel;
    std::getline(in, regel);
    return regel;
}

class PortaalToetsenbordTest : public ::testing::Test {
  protected:
    void SetUp() override {
        const auto root = nep::debian13Root();
        if (!root) {
            GTEST_SKIP() << nep::geenDebian13;
        }
        if (!std::filesystem::exists(*root / "usr/libexec/xdg-desktop-portal")) {
            GTEST_SKIP() << "de Debian 13-root heeft geen xdg-desktop-portal "
                            "(een oudere root; scripts/debian13-root.sh maakt een nieuwe)";
        }
        bus_ = std::make_unique<nep::NepPortaalBus>(root);
        ASSERT_EQ(bus_->fout(), "");
        token_ = bus_->map() / "staat" / "portaal-token";
    }
    nep::NepPortaal& backend() { return bus_->backend(); }

    std::unique_ptr<nep::NepPortaalBus> bus_;
    std::filesystem::path token_;
};

TEST_F(PortaalToetsenbordTest, DeToestemmingVanDeEersteRunGeldtInDeVolgendeZonderVraag) {
    // Each run starts from the token the run before it left: a token written wrongly, or one
    // the desktop no longer holds, makes the next run ask again.
    for (int run = 1; run <= 3; ++run) {
        SCOPED_TRACE("run " + std::to_string(run));
        AppRun app(token_);
        ASSERT_EQ(app.start(), "");
        EXPECT_TRUE(app.toetsenbord.actief());
        EXPECT_EQ(backend().dialogen(), 1);
        EXPECT_EQ(backend().herstelGegevens(),
                  std::vector<std::string>(static_cast<std::size_t>(run - 1), "toestemming-1"));
        struct stat s {};
        ASSERT_EQ(::stat(token_.c_str(), &s), 0);
        EXPECT_EQ(s.st_mode & 0777, 0600U);
        EXPECT_FALSE(std::filesystem::exists(token_.string() + ".nieuw"));
    }
    // The desktop keeps the grant for the app by the id it registered, not for whoever asks.
    const auto opgeslagen = nep::voerProcesUit(
        "/usr/bin/dbus-send", {"--bus=" + bus_->adres(), "--print-reply",
                               "--dest=org.freedesktop.impl.portal.PermissionStore",
                               "/org/freedesktop/impl/portal/PermissionStore",
                               "org.freedesktop.impl.portal.PermissionStore.Lookup",
                               "string:remote-desktop", "string:" + lees(token_)});
    EXPECT_NE(opgeslagen.uit.find("\"app.tolmo.Tolmo\""), std::string::npos) << opgeslagen.uit;
}

TEST_F(PortaalToetsenbordTest, EenTokenDatHetBureaubladNietKentVraagtOpnieuw) {
    const struct {
        const char* naam;
        const char* token;
    } gevallen[] = {
        {"vergeten", "5b0e7a52-3f1c-4f7e-9a51-2c8d6e4b1f07"},
        {"rommel", "geen token"},
    };
    int dialogen = 0;
    for (const auto& geval : gevallen) {
        SCOPED_TRACE(geval.naam);
        std::filesystem::create_directories(token_.parent_path());
        std::ofstream(token_) << geval.token << "\n";
        AppRun app(token_);
        ASSERT_EQ(app.start(), "");
        EXPECT_EQ(backend().dialogen(), ++dialogen);
        EXPECT_TRUE(backend().herstelGegevens().empty());
        const std::string nieuw = lees(token_);
        EXPECT_FALSE(nieuw.empty());
        EXPECT_NE(nieuw, geval.token);
    }
}

TEST_F(PortaalToetsenbordTest, WieWeigertKrijgtGeenSessieEnGeenToken) {
    backend().zetStartAntwoord(1);
    AppRun app(token_);
    EXPECT_EQ(app.start(), "je gaf Tolmo geen toestemming om te plakken");
    EXPECT_FALSE(app.toetsenbord.actief());
    EXPECT_FALSE(app.toetsenbord.stuurPlakToets(false));
    EXPECT_FALSE(app.toetsenbord.heeftToken());
    EXPECT_EQ(backend().dialogen(), 1);
    EXPECT_TRUE(backend().toetsen().empty());
}

TEST_F(PortaalToetsenbordTest, DePlakToetsKomtAlsKeysymsInDeJuisteVolgorde) {
    constexpr int ctrl = 0xffe3;
    constexpr int shift = 0xffe1;
    constexpr int v = 0x76;
    const struct {
        bool terminal;
        std::vector<Toets> verwacht;
    } gevallen[] = {
        {false, {{ctrl, 1}, {v, 1}, {v, 0}, {ctrl, 0}}},
        {true, {{ctrl, 1}, {shift, 1}, {v, 1}, {v, 0}, {shift, 0}, {ctrl, 0}}},
    };
    AppRun app(token_);
    ASSERT_EQ(app.start(), "");
    // The session's first keys are a Shift tap of its own, sent at its start.
    std::vector<Toets> alles{{shift, 1}, {shift, 0}};
    pomp([&] { return backend().toetsen().size() >= alles.size(); });
    EXPECT_EQ(backend().toetsen(), alles);
    for (const auto& geval : gevallen) {
        SCOPED_TRACE(geval.terminal ? "terminal" : "gewoon");
        ASSERT_TRUE(app.toetsenbord.stuurPlakToets(geval.terminal));
        alles.insert(alles.end(), geval.verwacht.begin(), geval.verwacht.end());
        pomp([&] { return backend().toetsen().size() >= alles.size(); });
        EXPECT_EQ(backend().toetsen(), alles);
    }
}

TEST_F(PortaalToetsenbordTest, SluitHetBureaubladDeSessieDanStoptHetPlakken) {
    AppRun app(token_);
    bool gesloten = false;
    app.toetsenbord.zetOpGesloten([&] { gesloten = true; });
    ASSERT_EQ(app.start(), "");
    ASSERT_EQ(backend().sessies().size(), 1U);
    backend().sluitSessie(backend().sessies().front());
    EXPECT_TRUE(pomp([&] { return gesloten; }));
    const auto voor = backend().toetsen();
    EXPECT_FALSE(app.toetsenbord.actief());
    EXPECT_FALSE(app.toetsenbord.stuurPlakToets(false));
    EXPECT_EQ(backend().toetsen(), voor);
}

// Needs no root: a bus with a backend but no frontend is a desktop without the portal.
TEST(PortaalToetsenbordZonderPortaal, ZegtDatHetBureaubladGeenPortaalHeeft) {
    nep::NepPortaalBus bus(std::nullopt);
    ASSERT_EQ(bus.fout(), "");
    AppRun app(bus.map() / "portaal-token");
    EXPECT_TRUE(app.portaal.verbonden());
    EXPECT_FALSE(app.toetsenbord.beschikbaar());
    EXPECT_EQ(app.start(), "het bureaublad heeft geen RemoteDesktop-portaal");
    EXPECT_FALSE(app.toetsenbord.stuurPlakToets(false));
}

}  // namespace
}  // namespace tolmo
