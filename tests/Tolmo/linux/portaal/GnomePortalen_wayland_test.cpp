// GNOME Shell 48 from the Debian 13 root with its portals authorised beforehand: a shortcut binds
// without a dialog and a real key press on the shell reaches the app as Activated, its release as
// Deactivated; a keyboard-only remote-desktop session starts from the stored grant and types into
// a GTK 4 editor.
#include <gtest/gtest.h>

#include <signal.h>

#include <chrono>
#include <cstdint>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "nep/GnomeServer.h"

namespace tolmo {
namespace {

using namespace std::chrono_literals;

// A client of the portals on its own bus connection, as the app is: it registers its app id,
// then either binds the shortcut "dicteer" and reports what the portal emits for it, or starts
// a remote-desktop session with the restore token and types TYPE. Written for gjs, which the
// root has.
constexpr const char* portaalKlant = R"(
const {Gio, GLib} = imports.gi;
const bus = Gio.DBus.session;
const P = 'org.freedesktop.portal.Desktop', O = '/org/freedesktop/portal/desktop';
const app = GLib.getenv('APP');
bus.call_sync(P, O, 'org.freedesktop.host.portal.Registry', 'Register',
    new GLib.Variant('(sa{sv})', [app, {}]), null, 0, -1, null);
const afzender = bus.get_unique_name().slice(1).replace(/\./g, '_');
const lus = new GLib.MainLoop(null, false);
let n = 0;
function vraag(iface, methode, args, opties) {
    const token = 't' + (++n);
    let antwoord = null;
    const id = bus.signal_subscribe(P, 'org.freedesktop.portal.Request', 'Response',
        `${O}/request/${afzender}/${token}`, null, 0,
        (c, s, p, i, naam, a) => { antwoord = a.recursiveUnpack(); lus.quit(); });
    opties.handle_token = new GLib.Variant('s', token);
    bus.call_sync(P, O, iface, methode, new GLib.Variant(args[0], [...args[1], opties]),
        null, 0, -1, null);
    lus.run();
    bus.signal_unsubscribe(id);
    return antwoord;
}
const soort = GLib.getenv('SOORT');
const iface = 'org.freedesktop.portal.' + soort;
const sessie = vraag(iface, 'CreateSession', ['(a{sv})', []],
    {session_handle_token: new GLib.Variant('s', 's1')})[1].session_handle;
if (soort === 'GlobalShortcuts') {
    bus.signal_subscribe(P, iface, null, O, null, 0,
        (c, s, p, i, naam, a) => printerr(naam + ' ' + a.recursiveUnpack()[1]));
    const [code, r] = vraag(iface, 'BindShortcuts', ['(oa(sa{sv})sa{sv})', [sessie,
        [['dicteer', {description: new GLib.Variant('s', 'Dicteren'),
                      preferred_trigger: new GLib.Variant('s', 'CTRL+ALT+d')}]], '']], {});
    printerr('gebonden ' + (r.shortcuts ?? []).map(s => s[0]).join(','));
} else {
    vraag(iface, 'SelectDevices', ['(oa{sv})', [sessie]], {
        types: new GLib.Variant('u', 1), persist_mode: new GLib.Variant('u', 2),
        restore_token: new GLib.Variant('s', GLib.getenv('TOKEN'))});
    const [code, r] = vraag(iface, 'Start', ['(osa{sv})', [sessie, '']], {});
    printerr('gestart ' + code + ' ' + r.restore_token);
    const toets = (keysym, neer) => bus.call_sync(P, O, iface, 'NotifyKeyboardKeysym',
        new GLib.Variant('(oa{sv}iu)', [sessie, {}, keysym, neer ? 1 : 0]), null, 0, -1, null);
    // The shell drops the keys of the first moments of a new session: a Shift goes first.
    toets(0xffe1, true);
    toets(0xffe1, false);
    GLib.usleep(200000);
    for (const teken of GLib.getenv('TYPE')) {
        toets(teken.codePointAt(0), true);
        toets(teken.codePointAt(0), false);
    }
    printerr('getypt');
}
lus.run();
)";

class GnomePortalenTest : public ::testing::Test {
  protected:
    void SetUp() override {
        if (!nep::debian13Root()) {
            GTEST_SKIP() << nep::geenDebian13;
        }
        gnome_ = std::make_unique<nep::GnomeServer>(*nep::debian13Root());
        ASSERT_TRUE(gnome_->fout().empty()) << gnome_->fout();
    }

    std::unique_ptr<nep::LopendProces> klant(const std::map<std::string, std::string>& omgeving) {
        std::vector<std::string> args{"env"};
        for (const auto& [naam, waarde] : omgeving) {
            args.push_back(naam + "=" + waarde);
        }
        args.insert(args.end(), {"gjs", "-c", portaalKlant});
        const auto opdracht = gnome_->inSessie(args);
        return std::make_unique<nep::LopendProces>(
            opdracht.front(), std::vector<std::string>{opdracht.begin() + 1, opdracht.end()},
            nep::LopendProces::Opties{});
    }

    std::unique_ptr<nep::GnomeServer> gnome_;
};

TEST_F(GnomePortalenTest, APreSeededShortcutBindsAndFollowsTheKey) {
    const std::string appId = "nl.tolmo.Proef";
    ASSERT_FALSE(gnome_->machtig(appId, {{"dicteer", "Dicteren", "<Control><Alt>d"}}).empty());
    auto app = klant({{"APP", appId}, {"SOORT", "GlobalShortcuts"}});
    ASSERT_TRUE(app->wachtOpFout("gebonden dicteer", 15s));

    for (std::uint32_t k : {0xffe3U, 0xffe9U, std::uint32_t{'d'}}) {  // Control_L, Alt_L, d
        gnome_->toets(k, true);
    }
    EXPECT_TRUE(app->wachtOpFout("Activated dicteer", 5s));
    EXPECT_FALSE(app->wachtOpFout("Deactivated", 300ms)) << "losgelaten voor het loslaten";
    for (std::uint32_t k : {std::uint32_t{'d'}, 0xffe9U, 0xffe3U}) {
        gnome_->toets(k, false);
    }
    EXPECT_TRUE(app->wachtOpFout("Deactivated dicteer", 5s));
}

TEST_F(GnomePortalenTest, TheStoredGrantStartsTypingWithoutADialog) {
    const std::string token = gnome_->machtig("tolmo-app", {});
    ASSERT_EQ(token.size(), 36U);
    ASSERT_TRUE(gnome_->startTekstverwerker());
    auto app = klant({{"APP", "tolmo-app"},
                      {"SOORT", "RemoteDesktop"},
                      {"TOKEN", token},
                      {"TYPE", "hallo wereld"}});
    const bool getypt = app->wachtOpFout("getypt", 15s);
    const std::string tekst = getypt ? gnome_->bewaardeTekst() : "";
    app->stuurSignaal(SIGKILL);
    const auto uit = app->wacht().fout;
    ASSERT_TRUE(getypt) << uit;
    EXPECT_EQ(tekst, "hallo wereld\n");
    const auto png = gnome_->map() / "scherm.png";
    ASSERT_TRUE(gnome_->schermafdruk(png));
    std::string kop(8, '\0');
    std::ifstream(png, std::ios::binary).read(kop.data(), 8);
    EXPECT_EQ(kop, "\x89PNG\r\n\x1a\n");
    // The answer carries the token for the next start (GNOME 48 hands back the one it was given).
    const auto begin = uit.find("gestart 0 ");
    ASSERT_NE(begin, std::string::npos) << uit;
    EXPECT_EQ(uit.find_first_of(" \n", begin + 10) - (begin + 10), 36U) << uit;
}

}  // namespace
}  // namespace tolmo
