#include "Tolmo/linux/freedesktop/AtSpiVeldSoort.h"

#include <gtest/gtest.h>

namespace tolmo {
namespace {

TEST(AtSpiVeldSoort, KindAndSecrecyFromRoleNameAndAttributes) {
    using S = InvoerSoort;
    struct Geval {
        AtSpiVeld veld;
        VeldSoort verwacht;
    };
    const Geval gevallen[] = {
        {{"password text", "Wachtwoord", {}}, {S::gewoon, true}},
        // A web page's password input that a toolkit reports as a plain entry.
        {{"entry", "", {{"text-input-type", "password"}}}, {S::gewoon, true}},
        {{"entry", "", {{"xml-roles", "combobox searchbox"}}}, {S::zoeken, false}},
        {{"entry", "", {{"text-input-type", "url"}}}, {S::adres, false}},
        {{"entry", "Address and search bar", {}}, {S::adres, false}},
        {{"combo box", "Search with Google or enter address", {}}, {S::adres, false}},
        {{"text", "", {{"placeholder-text", "Zoeken in mail…"}}}, {S::zoeken, false}},
        // A stem inside a word is another word; a button named Search takes no text.
        {{"entry", "Bezoekers", {}}, {S::gewoon, false}},
        {{"push button", "Search", {}}, {S::gewoon, false}},
        {{"text", "Bericht", {{"xml-roles", "textbox"}}}, {S::gewoon, false}},
    };
    for (const Geval& g : gevallen) {
        EXPECT_EQ(veldSoort(g.veld), g.verwacht) << g.veld.rol << " / " << g.veld.naam;
    }
}

}  // namespace
}  // namespace tolmo
