// The Mac app's portable translation helpers: menu state, Quartz key events, the default
// input's transport, the relay server's address, Keychain answers, focused fields and the first
// launch's permission question.
#include <gtest/gtest.h>

#include "Tolmo/MacVertaling/AudioTransport.h"
#include "Tolmo/MacVertaling/EersteStart.h"
#include "Tolmo/MacVertaling/MenuStand.h"
#include "Tolmo/MacVertaling/QuartzToetsen.h"
#include "Tolmo/MacVertaling/ServerAdres.h"
#include "Tolmo/MacVertaling/SleutelhangerStatus.h"
#include "Tolmo/MacVertaling/ToegankelijkheidsVeld.h"

namespace tolmo {
namespace {

using T = DictaatRegelaar::Toestand;

TEST(MenuStand, OneActionPerStateAndAMessageOnlyAtRest) {
    TolmoInstellingen inst;
    inst.motor = Motor::tolmo;
    const Melding fout{"Microfoon staat uit. Zie Instellingen > Toestemmingen.", true, {}};
    const Melding metTitel{"Plak met ⌘V.", false, "Tekst staat op het klembord"};
    struct Geval {
        T toestand;
        std::optional<Melding> melding;
        std::string status;
        MenuStand::Actie actie;
        std::string teken;
    };
    const Geval gevallen[] = {
        {T::klaar, std::nullopt, "Klaar om te dicteren", MenuStand::Actie::start, ""},
        {T::klaar, fout, fout.tekst, MenuStand::Actie::start, ""},
        {T::klaar, metTitel, "Tekst staat op het klembord", MenuStand::Actie::start, ""},
        {T::neemtOp, fout, "Neemt op…", MenuStand::Actie::stop, "●"},
        {T::verwerken, std::nullopt, "Bezig met verwerken…", MenuStand::Actie::annuleer, "…"},
    };
    for (const auto& g : gevallen) {
        const MenuStand m = MenuStand::van(g.toestand, g.melding, inst);
        EXPECT_EQ(m.status, g.status);
        EXPECT_EQ(m.actie, g.actie);
        EXPECT_EQ(m.balkTeken, g.teken);
    }
}

TEST(MenuStand, RouteNamesTheServerAndItsProvider) {
    TolmoInstellingen inst;
    inst.motor = Motor::tolmo;
    inst.serverAanbieder = Aanbieder::openAI;
    EXPECT_EQ(MenuStand::routeTekst(inst), "Route: Tolmo-server (OpenAI)");
    inst.serverAanbieder = Aanbieder::mistral;
    EXPECT_EQ(MenuStand::routeTekst(inst), "Route: Tolmo-server (Mistral)");
    inst.motor = Motor::test;
    EXPECT_EQ(MenuStand::routeTekst(inst), "Route: testmodus (geen netwerk)");
}

using Soort = ToetsBron::Soort;

TEST(QuartzToetsen, ReadsTheTwoKeyKindsAndTheTwoSwitchOffs) {
    const std::uint64_t rechterOption = ToetsVlaggen::option | ToetsVlaggen::rechterOption;
    struct Geval {
        std::uint32_t type;
        std::int64_t code;
        QuartzToetsen::Betekenis verwacht;
        std::int64_t merk = 0;
    };
    const Geval gevallen[] = {
        {12, 61, ToetsBron::Gebeurtenis{Soort::modificatie, 61, ToetsVlaggen{rechterOption}}},
        {10, 0xFFFF,
         ToetsBron::Gebeurtenis{Soort::toetsOmlaag, 0xFFFF, ToetsVlaggen{rechterOption}}},
        {10, 0x10000, std::monostate{}},  // no virtual key code fits: not some other key
        {12, -1, std::monostate{}},
        {11, 9, std::monostate{}},  // key up is not watched
        // Our own paste keystroke carries the mark; another program's user data is not ours.
        {10, 9, ToetsBron::Gebeurtenis{Soort::toetsOmlaag, 9, ToetsVlaggen{rechterOption}, true},
         ToetsBron::eigenMerk},
        {10, 9, ToetsBron::Gebeurtenis{Soort::toetsOmlaag, 9, ToetsVlaggen{rechterOption}}, 42},
        {0xFFFFFFFE, 0, ToetsBron::TapUit::timeOut},
        {0xFFFFFFFF, 0, ToetsBron::TapUit::gebruikersInvoer},
    };
    for (const auto& g : gevallen) {
        EXPECT_EQ(QuartzToetsen::vertaal(g.type, g.code, rechterOption, g.merk), g.verwacht)
            << "type " << g.type << ", code " << g.code;
    }
}

TEST(AudioTransport, OnlyTheBluetoothKindsCount) {
    EXPECT_EQ(AudioTransport::uitCoreAudio(0x626C7565), AudioEngine::Transport::bluetooth);
    EXPECT_EQ(AudioTransport::uitCoreAudio(0x626C6561), AudioEngine::Transport::bluetoothLE);
    EXPECT_EQ(AudioTransport::uitCoreAudio(viercc("bltn")), AudioEngine::Transport::anders);
    EXPECT_EQ(AudioTransport::uitCoreAudio(0), AudioEngine::Transport::anders);
}

TEST(ServerAdres, EnvironmentThenUserThenBuildAndEmptyCountsAsAbsent) {
    using O = std::optional<std::string>;
    EXPECT_EQ(ServerAdres::kies(O("https://a"), O("https://b"), O("https://c")), "https://a");
    EXPECT_EQ(ServerAdres::kies(O(""), O("https://b"), O("https://c")), "https://b");
    EXPECT_EQ(ServerAdres::kies(std::nullopt, O(""), O("https://c")), "https://c");
    EXPECT_EQ(ServerAdres::kies(std::nullopt, std::nullopt, O("")), std::nullopt);
}

TEST(ServerAdres, OnlyHttpAddressesWithAHost) {
    const std::pair<const char*, std::optional<std::string>> gevallen[] = {
        {"  https://relay.tolmo.app/ \n", "https://relay.tolmo.app/"},
        {"http://127.0.0.1:8080", "http://127.0.0.1:8080"},
        {"https://", std::nullopt},
        {"https:///pad", std::nullopt},
        {"https://relay tolmo.app", std::nullopt},
        {"ftp://relay.tolmo.app", std::nullopt},
        {"relay.tolmo.app", std::nullopt},
        {"   ", std::nullopt},
    };
    for (const auto& [invoer, verwacht] : gevallen) {
        EXPECT_EQ(ServerAdres::geldig(invoer), verwacht) << invoer;
    }
}

using S = SleutelhangerStatus;

TEST(SleutelhangerStatus, AbsentIsAnAnswerAndDuplicateMeansUpdate) {
    EXPECT_EQ(S::naLezen(0), S::Lezen::waarde);
    EXPECT_EQ(S::naLezen(-25300), S::Lezen::afwezig);
    EXPECT_EQ(S::naLezen(-25308), S::Lezen::fout);
    EXPECT_EQ(S::naToevoegen(0), S::Schrijven::klaar);
    EXPECT_EQ(S::naToevoegen(-25299), S::Schrijven::bijwerken);
    EXPECT_EQ(S::naToevoegen(-25300), S::Schrijven::fout);
    EXPECT_EQ(S::melding(-34018),
              "Tolmo mist de rechten voor de sleutelhanger. Is de app goed ondertekend?");
    EXPECT_EQ(S::melding(-50), "De sleutelhanger gaf fout -50.");
}

TEST(ToegankelijkheidsVeld, RoleAndSubroleGiveKindAndSecret) {
    using V = ToegankelijkheidsVeld;
    struct Geval {
        const char* rol;
        const char* subrol;
        V verwacht;
    };
    const Geval gevallen[] = {
        {"AXTextField", "AXSecureTextField", {InvoerSoort::gewoon, true}},
        {"AXUnknown", "AXSecureTextField", {InvoerSoort::gewoon, true}},
        {"AXTextField", "AXSearchField", {InvoerSoort::zoeken, false}},
        {"AXComboBox", "AXSearchField", {InvoerSoort::zoeken, false}},
        {"AXButton", "AXSearchField", {}},
        {"AXTextArea", "", {}},
    };
    for (const auto& g : gevallen) {
        EXPECT_EQ(V::van(g.rol, g.subrol), g.verwacht) << g.rol << " / " << g.subrol;
    }
}

// The first launch names exactly what is missing, once; the menu keeps naming it until given.
TEST(EersteStart, AsksOnceForWhatIsMissing) {
    using Stand = DictaatRegelaar::Toestemmingsstand;
    struct Geval {
        Stand nu;
        bool alGevraagd;
        std::vector<std::string> regels;  // the bullet lines, by their first word
        std::string menu;
    };
    const Geval gevallen[] = {
        {{false, false, false},
         false,
         {"Microfoon", "Invoermonitoring", "Toegankelijkheid"},
         "Nog nodig: Microfoon, Invoermonitoring, Toegankelijkheid"},
        {{true, false, true}, false, {"Invoermonitoring"}, "Nog nodig: Invoermonitoring"},
        {{false, true, true}, true, {}, "Nog nodig: Microfoon"},
        {{true, true, true}, false, {}, ""},
    };
    for (const auto& g : gevallen) {
        SCOPED_TRACE(g.nu.tekst());
        const auto v = EersteStart::vraag(g.nu, g.alGevraagd);
        EXPECT_EQ(EersteStart::ontbrekend(g.nu), g.menu);
        ASSERT_EQ(v.has_value(), !g.regels.empty());
        if (!v) {
            continue;
        }
        std::vector<std::string> regels;
        for (std::size_t p = v->tekst.find("• "); p != std::string::npos;
             p = v->tekst.find("• ", p + 1)) {
            regels.push_back(v->tekst.substr(p + 4, v->tekst.find(':', p) - p - 4));
        }
        EXPECT_EQ(regels, g.regels);
        EXPECT_EQ(v->ontbreekt,
                  (Stand{!g.nu.microfoon, !g.nu.invoermonitoring, !g.nu.toegankelijkheid}));
        EXPECT_EQ(v->knoppen.front(), "Doorgaan");
    }
}

}  // namespace
}  // namespace tolmo
