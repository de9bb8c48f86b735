#include "Tolmo/MacVertaling/MenuStand.h"

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace tolmo
