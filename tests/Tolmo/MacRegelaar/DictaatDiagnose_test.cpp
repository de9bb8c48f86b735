#include "Tolmo/MacRegelaar/DictaatDiagnose.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Opstelling.h"

namespace tolmo::test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

std::vector<std::string> stapNamen(const DictaatDiagnose::Dictaat& d) {
    std::vector<std::string> namen;
    for (const auto& [naam, seconden] : d.stappen) {
        namen.push_back(naam);
    }
    return namen;
}

// Each way a dictation ends leaves one record that says how, with what it knew by then, and
// nothing of what was said.
TEST(DictaatDiagnose, OneRecordPerDictationHowEverItEnds) {
    enum class Einde { geplakt, motorFout, escTijdensOpname };
    struct Geval {
        const char* naam;
        Einde einde;
        std::string uitkomst;
        std::string reden;
        std::vector<std::string> stappen;
        bool metTekens;
    };
    const auto timeout = HerkenningsFout::timeout(Motor::tolmo);
    const Geval gevallen[] = {
        {"geplakt",
         Einde::geplakt,
         "afgeleverd",
         "Cmd+V verstuurd, vorig klembord wordt teruggezet",
         {"opname", "transcriptie", "totaal"},
         true},
        {"motor faalt", Einde::motorFout, "fout", timeout.melding(), {"totaal"}, false},
        {"Esc tijdens de opname",
         Einde::escTijdensOpname,
         "geannuleerd",
         "opname",
         {"totaal"},
         false},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.naam);
        Opstelling o;
        o.transcript = "geheim verhaal over de buren";
        o.maak();
        if (g.einde == Einde::motorFout) {
            o.motorFout = timeout;
        }
        o.neemOp(2.0, 5000);
        if (g.einde == Einde::escTijdensOpname) {
            o.regelaar->annuleer();
        } else {
            o.regelaar->stop();
            o.verwerk();
        }
        const auto& alle = o.regelaar->diagnose().dictaten();
        ASSERT_EQ(alle.size(), 1U);
        const auto& d = alle.back();
        EXPECT_EQ(d.bron, "menu");
        EXPECT_EQ(d.motor, "mistral");
        EXPECT_EQ(d.route, "relayserver");
        EXPECT_EQ(d.ruisonderdrukking, "actief");
        EXPECT_EQ(d.uitkomst, g.uitkomst);
        EXPECT_EQ(d.reden, g.reden);
        EXPECT_EQ(stapNamen(d), g.stappen);
        EXPECT_EQ(d.maten.contains("tekensRuw"), g.metTekens);
        if (g.einde != Einde::escTijdensOpname) {
            EXPECT_EQ(d.maten.at("audioBytes"), 5000);
            EXPECT_EQ(d.maten.at("audioMs"), 1280);
        }
        EXPECT_THAT(o.regelaar->diagnose().tekst(), Not(HasSubstr("buren")));
    }
}

// The newest fifty survive a restart; a store holding something else starts an empty list.
TEST(DictaatDiagnose, KeepsTheNewestFiftyAcrossRuns) {
    Opstelling o;
    o.maak();
    for (int i = 0; i < 52; ++i) {
        o.neemOp(1.0 + i, 100 + static_cast<std::size_t>(i));
        o.regelaar->stop();
        o.verwerk();
    }
    DictaatDiagnose later(o.groep);
    later.laad();
    ASSERT_EQ(later.dictaten().size(), DictaatDiagnose::maximum);
    EXPECT_EQ(later.dictaten(), o.regelaar->diagnose().dictaten());
    EXPECT_EQ(later.dictaten().front().maten.at("audioBytes"), 102);
    EXPECT_EQ(later.dictaten().back().maten.at("audioBytes"), 151);

    for (const OpslagWaarde& kapot : {OpslagWaarde{true}, OpslagWaarde{std::string("{[")},
                                      OpslagWaarde{std::string("{\"a\":1}")}}) {
        o.groep.zet(std::string(DictaatDiagnose::sleutel), kapot);
        later.laad();
        EXPECT_TRUE(later.dictaten().empty());
    }
}

}  // namespace
}  // namespace tolmo::test
