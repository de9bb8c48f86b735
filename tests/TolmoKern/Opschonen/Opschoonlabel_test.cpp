#include "TolmoKern/Opschonen/Opschoonlabel.h"

#include <gtest/gtest.h>

#include <unordered_set>

namespace tolmo {
namespace {

using L = Opschoonlabel;

TEST(Opschoonlabel, Opschoonlabels) {
    struct Geval {
        std::string ruw;
        std::string opgeschoond;
        std::vector<Opschoonlabel> labels;
    };
    using Labels = std::vector<Opschoonlabel>;
    const Geval gevallen[] = {
        // Nothing to compare, or nothing changed once the ends are trimmed.
        {" ok\n", "ok", {}},
        {"", "Ok.", {}},
        {"eh", " \n", {}},
        // Only punctuation and capitals changed.
        {"dat klopt", "Dat klopt.", {L::opgeschoond()}},
        // Only fillers went: that label alone. Fillers glued to an emoji are still words.
        {"EH ja", "Ja.", {L::ehWeggehaald(1)}},
        {"ehm👍 ja", "👍 Ja.", {L::ehWeggehaald(1)}},
        {"äh café crème", "Café crème.", {L::ehWeggehaald(1)}},
        // The label set is wider than the rule cleaner's.
        {"um ehh mmm ja", "Ja.", {L::ehWeggehaald(3)}},
        // Fillers and more: the general label follows.
        {"eh dat dat klopt", "Dat klopt.", {L::ehWeggehaald(1), L::opgeschoond()}},
        // More fillers afterwards than before counts as none removed.
        {"ja", "eh ja", {L::opgeschoond()}},
        // Self-corrections, with the shared words at both ends trimmed.
        {"om drie uur nee vier uur", "om vier uur", {L::zelfcorrectie("drie", "vier")}},
        {"eh om drie uur nee vier uur", "Om vier uur.",
         Labels{L::ehWeggehaald(1), L::zelfcorrectie("drie", "vier")}},
        {"ik kom om drie uur nee om vier uur morgen", "Ik kom om vier uur morgen.",
         Labels{L::zelfcorrectie("drie", "vier")}},
        {"bel Anna nee Bram", "Bel Bram.", {L::zelfcorrectie("anna", "bram")}},
        // Not a self-correction: the same words again, "nee" inside the replacement, a single
        // word dropped, or words that do not line up with the cleaned text.
        {"ja nee ja", "Ja.", {L::opgeschoond()}},
        {"prima nee nee wacht", "Nee wacht.", {L::opgeschoond()}},
        {"nee dat klopt", "Dat klopt.", {L::opgeschoond()}},
        {"om drie uur nee vier uur", "Om vijf uur.", {L::opgeschoond()}},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.ruw + " -> " + g.opgeschoond);
        EXPECT_EQ(opschoonlabels(g.ruw, g.opgeschoond), g.labels);
    }
}

// Equal labels hash alike, so a set keeps one of each.
TEST(Opschoonlabel, EqualLabelsHashAlike) {
    const std::unordered_set<Opschoonlabel> set{
        L::ehWeggehaald(1), L::ehWeggehaald(2),        L::zelfcorrectie("a", "b"),
        L::opgeschoond(),   L::ehWeggehaald(1),        L::zelfcorrectie("a", "b"),
        L::opgeschoond(),   L::zelfcorrectie("b", "a")};
    EXPECT_EQ(set.size(), 5U);
}

}  // namespace
}  // namespace tolmo
