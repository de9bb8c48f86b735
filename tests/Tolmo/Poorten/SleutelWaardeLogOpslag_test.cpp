#include "Tolmo/Poorten/SleutelWaardeLogOpslag.h"

#include <gtest/gtest.h>

#include "nep/GeheugenOpslag.h"

namespace tolmo {
namespace {

TEST(SleutelWaardeLogOpslag, RoundTripsAndSkipsOnlyTheBrokenEntries) {
    nep::GeheugenOpslag opslag;
    SleutelWaardeLogOpslag log(opslag, 2);
    EXPECT_TRUE(log.laad().empty());
    const std::vector<LogRegel> regels{{0, 0, "mac", "valt eraf"},
                                       {1, 1700000000000, "mac", "Dictaat gestart (menu)"},
                                       {2, -5, "", "ë \"quote\"\nnieuwe regel"}};
    for (const auto& r : regels) {
        log.voegToe(r);
    }
    EXPECT_EQ(log.laad(), std::vector<LogRegel>(regels.begin() + 1, regels.end()))
        << "the newest two are kept";

    opslag.waarden["logboek"] = std::string(
        R"([{"id":3,"tijd":1,"bron":"mac","tekst":"goed"},{"id":-1,"tijd":1,"tekst":"x"},)"
        R"({"id":4,"tekst":"geen tijd"},7,{"id":5,"tijd":2,"bron":9,"tekst":"bron kwijt"}])");
    const std::vector<LogRegel> verwacht{{3, 1, "mac", "goed"}, {5, 2, "", "bron kwijt"}};
    EXPECT_EQ(log.laad(), verwacht);
    for (const char* kapot : {"{", "{}", "\"tekst\""}) {
        opslag.waarden["logboek"] = std::string(kapot);
        EXPECT_TRUE(log.laad().empty()) << kapot;
    }
    opslag.waarden["logboek"] = true;
    EXPECT_TRUE(log.laad().empty());
}

}  // namespace
}  // namespace tolmo
