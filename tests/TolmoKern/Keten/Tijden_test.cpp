#include "TolmoKern/Keten/Tijden.h"

#include <gtest/gtest.h>

namespace tolmo {
namespace {

TEST(Tijden, RenderingForTheLog) {
    Tijden alles;
    alles.opname = 3.44;
    alles.transcriptie = 1.2;
    alles.opschonen = 0.756;
    alles.opschoonVerwerking = "snel";
    alles.opschoonDienstTijd = 0.5;
    alles.opschonenHerhaald = "Strak gaf minder getallen, opnieuw op Licht";
    alles.totaal = 2.005;
    Tijden kort;
    kort.opname = 0.96;
    kort.transcriptie = 0.4;
    kort.opschonenOvergeslagen = "kort dictaat";
    Tijden zonderDetails;
    zonderDetails.opschonen = 1;
    const std::pair<Tijden, const char*> gevallen[] = {
        {Tijden{}, "Tijden: opname 0,0 s"},
        {alles,
         "Tijden: opname 3,4 s, upload+transcriptie 1,20 s, opschonen 0,76 s (tier snel, bij "
         "dienst 0,50 s), "
         "Strak gaf minder getallen, opnieuw op Licht, totaal 2,00 s"},
        {kort,
         "Tijden: opname 1,0 s, upload+transcriptie 0,40 s, opschonen overgeslagen (kort dictaat)"},
        {zonderDetails, "Tijden: opname 0,0 s, opschonen 1,00 s"},
    };
    for (const auto& [tijden, verwacht] : gevallen) {
        EXPECT_EQ(tijden.tekst(), verwacht);
    }
}

}  // namespace
}  // namespace tolmo
