#include <gtest/gtest.h>

#include "TolmoKern/Opschonen/Schrijfstijl.h"
#include "TolmoKern/Opschonen/StijlBepaling.h"
#include "TolmoKern/Tekst/Tekst.h"

namespace tolmo {
namespace {

TEST(StijlBepaling, StijlVoorApp) {
    StijlBepaling standaard;
    standaard.standaardStijl = Stijl::los;
    StijlBepaling eigen;
    eigen.standaardStijl = Stijl::zakelijk;
    eigen.stijlPerApp = {{"org.Voorbeeld.App", "Eerste", Stijl::letterlijk},
                         {"ORG.voorbeeld.app", "Tweede", Stijl::neutraal},
                         {"com.ÉÉN.app", "Één", Stijl::los}};
    StijlBepaling leeg;
    leeg.standaardStijl = Stijl::letterlijk;
    leeg.stijlPerApp.clear();

    struct Geval {
        std::optional<std::string_view> bundleId;
        const StijlBepaling* bepaling;
        Stijl stijl;
    };
    const Geval gevallen[] = {
        {"com.apple.mail", &standaard, Stijl::zakelijk},
        {"COM.APPLE.MAIL", &standaard, Stijl::zakelijk},
        // Absent or merely similar identifiers get the default style.
        {std::nullopt, &standaard, Stijl::los},
        {"com.apple.mail ", &standaard, Stijl::los},
        {"com.apple", &standaard, Stijl::los},
        // The first matching row wins; case folding goes beyond ASCII.
        {"org.voorbeeld.app", &eigen, Stijl::letterlijk},
        {"com.één.app", &eigen, Stijl::los},
        {"com.apple.mail", &eigen, Stijl::zakelijk},
        {"com.apple.mail", &leeg, Stijl::letterlijk},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.bundleId.value_or("<geen>"));
        EXPECT_EQ(stijlVoorApp(g.bundleId, *g.bepaling), g.stijl);
    }
}

TEST(StijlBepaling, StijlVoorVeld) {
    StijlBepaling bepaling;
    bepaling.standaardStijl = Stijl::zakelijk;
    struct Geval {
        InvoerSoort soort;
        std::optional<Stijl> gekozen;
        Stijl stijl;
    };
    const Geval gevallen[] = {
        {InvoerSoort::gewoon, std::nullopt, Stijl::zakelijk},
        {InvoerSoort::chat, std::nullopt, Stijl::los},
        {InvoerSoort::adres, std::nullopt, Stijl::letterlijk},
        {InvoerSoort::zoeken, std::nullopt, Stijl::letterlijk},
        // A style the user chose for the field wins, checked before the kind of field.
        {InvoerSoort::zoeken, Stijl::neutraal, Stijl::neutraal},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(std::string(invoerSoortWaarden.naam(g.soort)));
        EXPECT_EQ(stijlVoorVeld(g.soort, g.gekozen, bepaling), g.stijl);
    }
}

TEST(Schrijfstijl, GenormaliseerdeVoorbeelden) {
    const std::string familie = "👨‍👩‍👧";
    const std::string accent = "e\u0301";
    const std::array<std::string, 3> leeg{"", "", ""};

    std::vector<std::string> vijf;
    for (char c : std::string("abcde")) {
        vijf.emplace_back(1000, c);
    }
    auto drie = Schrijfstijl::genormaliseerdeVoorbeelden(vijf);
    EXPECT_EQ(drie, (std::array<std::string, 3>{std::string(400, 'a'), std::string(400, 'b'),
                                                std::string(400, 'c')}));

    EXPECT_EQ(Schrijfstijl::genormaliseerdeVoorbeelden({}), leeg);
    EXPECT_EQ(Schrijfstijl{}.genormaliseerd(), leeg);
    EXPECT_EQ(Schrijfstijl::genormaliseerdeVoorbeelden({"hoi", ""}),
              (std::array<std::string, 3>{"hoi", "", ""}));

    // 400 characters exactly stay whole; the 401st goes, even when a character is many bytes.
    const std::string precies = std::string(399, 'x') + familie;
    const std::string teLang = std::string(399, 'x') + familie + accent;
    std::string accenten;
    for (int i = 0; i < 401; ++i) {
        accenten += accent;
    }
    const auto uit = Schrijfstijl::genormaliseerdeVoorbeelden({precies, teLang, accenten});
    EXPECT_EQ(uit[0], precies);
    EXPECT_EQ(uit[1], precies);
    EXPECT_EQ(Tekst::aantalTekens(uit[2]), 400U);
    EXPECT_EQ(uit[2].size(), 400 * accent.size());
}

}  // namespace
}  // namespace tolmo
