#include "TolmoKern/Opschonen/ChatOpschoner.h"

#include <gtest/gtest.h>

#include "TolmoKern/Tekst/Tekst.h"

namespace tolmo {
namespace {

using Teksten = std::vector<std::string>;

bool bevat(const std::string& s, std::string_view deel) {
    return s.find(deel) != std::string::npos;
}

TEST(ChatOpschoner, PromptAssembly) {
    const std::string regel5Strak = "spreker, behalve wat regel 10 weghaalt. Herformuleer niet";
    const std::string regel10 = "\n10. Haal ook weg:";
    const std::string negenAan = "\n9. Staat er nog een gesproken leesteken";
    const std::string negenUit = "\n9. Woorden als komma, punt, vraagteken";
    struct Geval {
        const char* naam;
        Stijl stijl;
        Opschoonniveau niveau;
        bool opdrachten;
        std::vector<std::string> woorden;
        std::vector<std::string> voorbeelden;
        std::vector<std::string> wel;
        std::vector<std::string> niet;
    };
    const Geval gevallen[] = {
        {"strak met letterlijk krijgt de lichte prompt", Stijl::letterlijk, Opschoonniveau::strak,
         true, Teksten{}, Teksten{},
         Teksten{"Stijl: letterlijk.", negenAan, "spreker. Herformuleer niet"},
         Teksten{regel10, regel5Strak}},
        {"strak zakelijk", Stijl::zakelijk, Opschoonniveau::strak, false, Teksten{}, Teksten{},
         Teksten{regel5Strak, regel10, negenUit, "\n\nStijl: zakelijk."}, Teksten{negenAan}},
        {"neutraal zonder stijlregel, lege woordenlijst", Stijl::neutraal, Opschoonniveau::licht,
         true, Teksten{" ", ""}, Teksten{}, Teksten{negenAan},
         Teksten{"Stijl:", "Woordenlijst", "<voorbeelden>"}},
        {"vier voorbeelden, drie gebruikt", Stijl::los, Opschoonniveau::licht, true, Teksten{},
         Teksten{"een", "twee", "drie", "vier"},
         Teksten{"<voorbeelden>\n<voorbeeld>\neen\n</voorbeeld>\n<voorbeeld>\ntwee\n</"
                 "voorbeeld>\n<voorbeeld>\ndrie\n</voorbeeld>\n</voorbeelden>"},
         Teksten{"vier"}},
        {"tags uit voorbeelden", Stijl::los, Opschoonniveau::licht, true, Teksten{},
         Teksten{"Hoi</transcriptie> daar < voorbeeld >en </VOORBEELDEN>weg  \n"},
         Teksten{"<voorbeeld>\nHoi daar en weg\n</voorbeeld>"},
         Teksten{"</transcriptie> daar", "< voorbeeld >"}},
        {"termen", Stijl::neutraal, Opschoonniveau::licht, true,
         Teksten{" Tolmo ", "tolmo", "Jan de Vries"}, Teksten{},
         Teksten{
             "\n\nWoordenlijst (juiste schrijfwijze van namen en termen; alleen gebruiken als de "
             "spreker ze "
             "echt zegt):\nTolmo\nJan de Vries"},
         Teksten{"tolmo\n"}},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.naam);
        const std::string p =
            ChatOpschoner::systeemprompt(g.woorden, g.stijl, g.opdrachten, g.voorbeelden, g.niveau);
        EXPECT_TRUE(p.starts_with("Je maakt gedicteerde tekst netjes."));
        for (const std::string& w : g.wel) {
            EXPECT_TRUE(bevat(p, w)) << w << "\n---\n" << p;
        }
        for (const std::string& n : g.niet) {
            EXPECT_FALSE(bevat(p, n)) << n << "\n---\n" << p;
        }
    }
    // The fixed variant is the light base with rule 9 for commands on, nothing more.
    EXPECT_EQ(ChatOpschoner::vasteSysteemprompt(),
              ChatOpschoner::systeemprompt({}, Stijl::neutraal, true, {}, Opschoonniveau::licht));
    EXPECT_TRUE(ChatOpschoner::vasteSysteemprompt().ends_with(
        "8. Laat regeleinden, lege regels en opsommingsregels die beginnen met \"- \" precies "
        "staan.\n"
        "9. Staat er nog een gesproken leesteken als los woord dat duidelijk als opdracht bedoeld "
        "is, zoals "
        "komma of vraagteken, zet dan het leesteken neer."));
}

TEST(ChatOpschoner, LengthAndQuantities) {
    // 105 characters, 210 bytes: 1.3 × 105 = 136.5, and the budget is 136 + 30, rounded down.
    EXPECT_EQ(ChatOpschoner::tokenBudget(Tekst::utf8(std::u32string(105, U'é'))), 166);
    EXPECT_EQ(ChatOpschoner::tokenBudget(""), 30);

    const std::pair<const char*, std::int64_t> gevallen[] = {
        {"om 12:30 en 3,5 uur", 3},
        {"om half een", 1},
        {"tweeëntwintig", 1},
        {"een boek", 0},
        {"een uur later", 3},
        {"Anderhalf kwartier", 2},
        {"eenentwintig appels en twee peren", 2},
        {"twee-en-twintig", 2},
        {"een", 0},
        {"tienduizend euro", 2},
        {"v1.2 en 3.4.5", 2},
        {"geen getal hier", 0},
    };
    for (const auto& [tekst, aantal] : gevallen) {
        EXPECT_EQ(ChatOpschoner::telHoeveelheden(tekst), aantal) << tekst;
    }
}

}  // namespace
}  // namespace tolmo
