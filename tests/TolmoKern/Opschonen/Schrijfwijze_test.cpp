#include "TolmoKern/Opschonen/Schrijfwijze.h"

#include <gtest/gtest.h>

namespace tolmo {
namespace {

using Zinnen = std::vector<std::string>;

TEST(Schrijfwijze, GenormaliseerdeTermen) {
    EXPECT_EQ(Schrijfwijze::genormaliseerdeTermen(
                  {"  Tolmo ", "tolmo", "", " \n", "API", "api\t", "ÉÉN", "één", "Zaak"}),
              (Zinnen{"Tolmo", "API", "ÉÉN", "Zaak"}));

    // Duplicates and blanks do not use up the hundred places.
    Zinnen lijst{"dubbel", "DUBBEL", " "};
    for (int i = 0; i < 150; ++i) {
        lijst.push_back("term" + std::to_string(i));
    }
    const Zinnen termen = Schrijfwijze::genormaliseerdeTermen(lijst);
    ASSERT_EQ(termen.size(), Schrijfwijze::maxTermen);
    EXPECT_EQ(termen.front(), "dubbel");
    EXPECT_EQ(termen.back(), "term98");
}

TEST(Schrijfwijze, Voorbeeldzinnen) {
    const auto naam = [](const std::string& w) {
        return Zinnen{"Ik werk met " + w, "Dit gaat via " + w, "Het bericht van " + w,
                      "Ik heb " + w + " gebeld"};
    };
    const auto werkwoord = [](const std::string& w) {
        return Zinnen{"Kun je dit " + w, "Ik ga het nu " + w, "We moeten dat nog " + w};
    };
    const auto zelfstandig = [](const std::string& w) {
        return Zinnen{"Het staat op de " + w, "Kun je de " + w + " controleren",
                      "We bespreken de " + w, "Open een " + w};
    };
    const std::pair<std::string, Zinnen> gevallen[] = {
        {" \n ", {}},
        {"v2", naam("v2")},
        {"node.js", naam("node.js")},
        {"Plannen", naam("Plannen")},
        {"Ölmotor", naam("Ölmotor")},
        {"  plannen ", werkwoord("plannen")},
        {"één keer plannen", zelfstandig("één keer plannen")},
        {"plan", zelfstandig("plan")},
        {"ǅen", zelfstandig("ǅen")},  // title case is no upper case, but it is not lower either
    };
    for (const auto& [woord, zinnen] : gevallen) {
        EXPECT_EQ(Schrijfwijze::voorbeeldzinnen(woord), zinnen) << woord;
    }
}

TEST(Schrijfwijze, Vingerafdruk) {
    // Reference digests computed with sha256sum over the joined terms.
    const std::pair<Zinnen, std::string> gevallen[] = {
        {{" ", ""}, "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
        {{"Tolmo"}, "ab64e2ac122811fd9ad9cb353b3491635b9028747c7a5c6f10be0b2960c519c7"},
        {{" Tolmo", "tolmo", "API", "", "vergaderen\n"},
         "f93a2d4c2c452386a55a0ec2bcbeae7fa7a2e30c93604c8dc7152110f3aaa789"},
        {{"één", "Σοφία"}, "5d98dcdec29e2a70cd8fa57af8b863e862d694576fae79d4b90ee71cd6948206"},
    };
    for (const auto& [lijst, hex] : gevallen) {
        EXPECT_EQ(Schrijfwijze::vingerafdruk(lijst), hex);
    }
}

}  // namespace
}  // namespace tolmo
