#include "TolmoKern/Instellingen/TolmoInstellingen.h"

#include <gtest/gtest.h>

#include "TolmoKern/Instellingen/GedeeldeOpslag.h"
#include "nep/GeheugenOpslag.h"

namespace tolmo {
namespace {

using nlohmann::json;

// Each row: a stored document and how what is read differs from the defaults (as written back).
TEST(TolmoInstellingen, EachKeyFallsBackOnItsOwn) {
    const std::pair<const char*, const char*> gevallen[] = {
        {R"({"motor":"mistral"})", R"({"motor":"mistral"})"},
        {R"({"weergave":"paars","opschonen":false,"woorden":["Tolmo"]})",
         R"({"opschonen":false,"woorden":["Tolmo"]})"},
        {R"({"opschonen":"ja","woorden":"Tolmo","motor":3,"ruisonderdrukking":false})",
         R"({"ruisonderdrukking":false})"},
        {R"({"motor":null,"syncBijgewerkt":null,"stijlPerApp":null})", "{}"},
        {"[1,2,3]", "{}"},
        // One bad element spoils the whole key.
        {R"({"woorden":["a",3],"stijlVoorbeelden":["x"]})", R"({"stijlVoorbeelden":["x"]})"},
        {R"({"stijlPerApp":[{"bundleId":"a","naam":"A","stijl":"chic"}],"standaardStijl":"los"})",
         R"({"standaardStijl":"los"})"},
        {R"({"stijlPerApp":[{"bundleId":"a","naam":"A","stijl":"letterlijk","x":1}]})",
         R"({"stijlPerApp":[{"bundleId":"a","naam":"A","stijl":"letterlijk"}]})"},
        // Dates in milliseconds, whole.
        {R"({"syncBijgewerkt":1700000000123.9,"herkomst":{"Tolmo":{"bron":"suggestie","datum":1700000000000}}})",
         R"({"syncBijgewerkt":1700000000123,"herkomst":{"Tolmo":{"bron":"suggestie","datum":1700000000000}}})"},
        {R"({"toepassingen":{"Tolmo":3.0},"vervangingen":{"Tolmo":["tol mo"]}})",
         R"({"toepassingen":{"Tolmo":3},"vervangingen":{"Tolmo":["tol mo"]}})"},
        {R"({"microfoonKlaar":"eenUur","abcKnop":"iosToetsenbord","opschoonNiveau":"licht","serverAanbieder":"openai","weergave":"donker"})",
         R"({"microfoonKlaar":"eenUur","abcKnop":"iosToetsenbord","opschoonNiveau":"licht","serverAanbieder":"openai","weergave":"donker"})"},
    };
    for (const auto& [document, anders] : gevallen) {
        SCOPED_TRACE(document);
        json verwacht = TolmoInstellingen::standaard().naarJson();
        verwacht.update(json::parse(anders));
        EXPECT_EQ(TolmoInstellingen::uitJson(json::parse(document)).naarJson(), verwacht);
    }
}

TEST(TolmoInstellingen, DefaultsAndRoundTrip) {
    const TolmoInstellingen& s = TolmoInstellingen::standaard();
    EXPECT_EQ(s.motor, Motor::openAI);
    EXPECT_EQ(s.opschoonNiveau, Opschoonniveau::strak);
    EXPECT_EQ(s.serverAanbieder, Aanbieder::mistral);

    const json j = s.naarJson();
    EXPECT_FALSE(j.contains("syncBijgewerkt")) << "an absent date is left out";
    EXPECT_EQ(j["motor"], "openai");
    EXPECT_EQ(j.size(), 20U) << "every other key is written";

    TolmoInstellingen anders = s;
    anders.motor = Motor::tolmo;
    anders.syncBijgewerkt = 1700000000000;
    anders.woorden = {"Tolmo", "Jan de Vries"};
    anders.herkomst["Tolmo"] = {"handmatig", 1600000000000};
    anders.stijlVoorbeelden = {"Hoi! Tot zo."};
    EXPECT_EQ(TolmoInstellingen::uitJson(json::parse(anders.naarJson().dump())), anders);
}

TEST(GedeeldeOpslag, LoadSaveAndMigrations) {
    nep::GeheugenOpslag groep;
    nep::GeheugenOpslag standaard;
    GedeeldeOpslag opslag(groep, standaard);

    EXPECT_EQ(opslag.laad(), TolmoInstellingen::standaard()) << "empty store";
    groep.waarden["instellingen"] = std::string("geen json");
    EXPECT_EQ(opslag.laad(), TolmoInstellingen::standaard()) << "garbage";
    groep.waarden["instellingen"] = true;
    EXPECT_EQ(opslag.laad(), TolmoInstellingen::standaard()) << "wrong kind of value";

    TolmoInstellingen s = TolmoInstellingen::standaard();
    s.woorden = {"Tolmo"};
    opslag.bewaar(s);
    EXPECT_EQ(opslag.laad(), s);

    // Invalid UTF-8 cannot be encoded: the document is removed and defaults come back.
    s.woorden = {"\xff\xfe"};
    opslag.bewaar(s);
    EXPECT_FALSE(groep.waarden.contains("instellingen"));
    EXPECT_EQ(opslag.laad(), TolmoInstellingen::standaard());

    // Noise suppression: switched off only the first time; a later choice of the user stays.
    EXPECT_TRUE(opslag.migreerRuisonderdrukkingUit());
    EXPECT_FALSE(opslag.laad().ruisonderdrukking);
    s = opslag.laad();
    s.ruisonderdrukking = true;
    opslag.bewaar(s);
    EXPECT_FALSE(opslag.migreerRuisonderdrukkingUit());
    EXPECT_TRUE(opslag.laad().ruisonderdrukking);
    EXPECT_EQ(std::get<bool>(groep.waarden.at("migratie.ruisonderdrukkingUit")), true);

    // ABC key: already built in, so nothing changes, but the flag is set all the same.
    EXPECT_FALSE(opslag.migreerAbcIngebouwd());
    s = opslag.laad();
    s.abcKnop = AbcKnop::iosToetsenbord;
    opslag.bewaar(s);
    EXPECT_FALSE(opslag.migreerAbcIngebouwd()) << "runs once only";
    EXPECT_EQ(opslag.laad().abcKnop, AbcKnop::iosToetsenbord);

    nep::GeheugenOpslag groep2;
    GedeeldeOpslag opslag2(groep2, standaard);
    s.abcKnop = AbcKnop::iosToetsenbord;
    opslag2.bewaar(s);
    EXPECT_TRUE(opslag2.migreerAbcIngebouwd());
    EXPECT_EQ(opslag2.laad().abcKnop, AbcKnop::ingebouwd);
}

TEST(GedeeldeOpslag, MacSettingsAndBooleans) {
    nep::GeheugenOpslag groep;
    nep::GeheugenOpslag standaard;
    GedeeldeOpslag opslag(groep, standaard);
    const MacInstellingen& m0 = MacInstellingen::standaard();

    struct Geval {
        const char* document;
        MacInstellingen verwacht;
    };
    const Geval gevallen[] = {
        {R"({"houdToets":"fn"})", {HoudToets::fn, std::nullopt}},
        {R"({"houdToets":"uit","wisselSneltoets":null})", {HoudToets::uit, std::nullopt}},
        {R"({"houdToets":"rechterCommand","wisselSneltoets":{"toetscode":40,"modificaties":9,"label":"K"}})",
         {HoudToets::rechterCommand, Toetscombinatie{40, {9}, "K"}}},
        // Read as a whole: any part that does not decode gives the defaults.
        {R"({"houdToets":"linkerShift"})", m0},
        {R"({"wisselSneltoets":{"toetscode":40,"modificaties":9,"label":"K"}})", m0},
        {R"({"houdToets":"fn","wisselSneltoets":{"toetscode":-1,"modificaties":9,"label":"K"}})",
         m0},
        {"[]", m0},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.document);
        standaard.waarden["mac.instellingen"] = std::string(g.document);
        EXPECT_EQ(opslag.laadMac(), g.verwacht);
    }
    MacInstellingen m{HoudToets::fn, Toetscombinatie{2, {3}, "D"}};
    opslag.bewaarMac(m);
    EXPECT_EQ(opslag.laadMac(), m);

    EXPECT_TRUE(opslag.klembordHerstellen());
    EXPECT_TRUE(opslag.toonBalk());
    standaard.waarden["mac.klembordHerstellen"] = std::string("nee");
    EXPECT_TRUE(opslag.klembordHerstellen()) << "not a Boolean: default";
    opslag.zetKlembordHerstellen(false);
    opslag.zetToonBalk(false);
    EXPECT_FALSE(opslag.klembordHerstellen());
    EXPECT_FALSE(opslag.toonBalk());
    EXPECT_TRUE(groep.waarden.empty()) << "desktop settings stay in the standard store";
}

}  // namespace
}  // namespace tolmo
