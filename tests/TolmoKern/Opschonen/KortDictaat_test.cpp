// The rule cleaner inside the dictation chain: short dictations get the basic tidy, longer
// ones go through the cleaner interface.
#include <gtest/gtest.h>

#include "TolmoKern/Keten/TolmoKeten.h"
#include "TolmoKern/Opschonen/RegelOpschoner.h"
#include "nep/NepMotor.h"

namespace tolmo {
namespace {

TEST(KortDictaat, BasisOpschoningInDeKeten) {
    struct Geval {
        std::string ruw;
        Stijl stijl;
        std::string tekst;
        bool kort;
    };
    const Geval gevallen[] = {
        {"eh, ok.", Stijl::letterlijk, "ok", true},
        {"eh ok.", Stijl::neutraal, "Ok.", true},
        {"eh", Stijl::neutraal, "eh", true},
        {"dat dat klopt", Stijl::neutraal, "Dat dat klopt", true},  // no collapse in the tidy
        {"eh ik denk dat dat dat wel klopt hoor", Stijl::neutraal, "Ik denk dat wel klopt hoor.",
         false},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.ruw);
        TolmoKeten keten;
        keten.transcriptie = std::make_unique<nep::NepMotor>(g.ruw);
        keten.opschoner = std::make_unique<RegelOpschoner>();
        keten.kortDictaatStap = &RegelOpschoner::basisOpschoning;
        const KetenResultaat r = keten.verwerk(Opname{}, g.stijl, StopToken{});
        EXPECT_EQ(r.tekst, g.tekst);
        EXPECT_EQ(r.ruw, g.ruw);
        EXPECT_EQ(r.tijden.opschonenOvergeslagen.has_value(), g.kort);
    }
}

}  // namespace
}  // namespace tolmo
