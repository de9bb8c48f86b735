#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "TolmoKern/Opschonen/Opschoner.h"

namespace tolmo {

// Tidies a transcript by fixed rules, without network or language model: hesitations out,
// stammered repeats collapsed, spacing and stray commas repaired, sentence starts capitalised
// and a closing stop. Pure string work; it keeps no state, so one instance serves any thread.
class RegelOpschoner final : public Opschoner {
  public:
    // The hesitation sounds this cleaner removes (and nothing else counts as one here).
    static constexpr std::array<std::string_view, 8> aarzelingen{"eh",  "ehm", "uh",  "uhm",
                                                                 "hmm", "äh",  "ähm", "euh"};

    // The whole cleaning. Empty when the dictation held nothing but hesitations.
    static std::string maakSchoon(std::string_view tekst, const std::vector<std::string>& woorden,
                                  Stijl stijl);
    // The first stage alone: hesitations, spacing, commas, the first capital (or, in the literal
    // style, one final stop less). A text with nothing letter-like left comes back untouched.
    static std::string basisOpschoning(std::string_view tekst, Stijl stijl);
    // True when a word must keep its casing: a word-list term, "I", or a mixed-case word.
    static bool houdtEigenSchrijfwijze(std::string_view woord,
                                       const std::vector<std::string>& woorden);
    // From the first letter or digit, the longest run of letters, digits, "'" and "-".
    static std::string eersteWoord(std::string_view tekst);

    // Rules have one way of working; they are closest to the light level, which keeps the
    // speaker's wording, and have no strict level.
    [[nodiscard]] Opschoonniveau niveau() const override { return Opschoonniveau::licht; }
    [[nodiscard]] std::unique_ptr<Opschoner> opNiveau(Opschoonniveau niveau) const override;
    OpschoonUitkomst schoonOp(const std::string& tekst, const std::vector<std::string>& woorden,
                              Stijl stijl, bool spraakopdrachtenActief, StopToken stop) override;
    // Tokens that hold a digit ("3", "12:30", "3,5" count once each).
    [[nodiscard]] std::int64_t telGetallen(const std::string& tekst) const override;
};

}  // namespace tolmo
