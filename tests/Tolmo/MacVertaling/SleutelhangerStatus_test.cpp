#include "Tolmo/MacVertaling/SleutelhangerStatus.h"

#include <gtest/gtest.h>

namespace tolmo {
namespace {

using S = SleutelhangerStatus;

TEST(SleutelhangerStatus, AbsentIsAnAnswerAndDuplicateMeansUpdate) {
    EXPECT_EQ(S::naLezen(0), S::Lezen::waarde);
    EXPECT_EQ(S::naLezen(-25300), S::Lezen::afwezig);
    EXPECT_EQ(S::naLezen(-25308), S::Lezen::fout);
    EXPECT_EQ(S::naToevoegen(0), S::Schrijven::klaar);
    EXPECT_EQ(S::naToevoegen(-25299), S::Schrijven::bijwerken);
    EXPECT_EQ(S::naToevoegen(-25300), S::Schrijven::fout);
    EXPECT_EQ(S::melding(-34018),
              "Tolmo mist de rechten voor de sleutelhanger. Is de app goed ondertekend?");
    EXPECT_EQ(S::melding(-50), "De sleutelhanger gaf fout -50.");
}

}  // namespace
}  // namespace tolmo
