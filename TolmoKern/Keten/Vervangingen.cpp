#include "TolmoKern/Keten/Vervangingen.h"

#include <unicode/uchar.h>

#include <algorithm>

#include "TolmoKern/Tekst/Tekst.h"

namespace tolmo {
namespace {

// One-to-one case folding per code point keeps match positions aligned with the original text.
char32_t gevouwen(char32_t c) {
    return static_cast<char32_t>(u_foldCase(static_cast<UChar32>(c), U_FOLD_CASE_DEFAULT));
}

bool isWoordteken(char32_t c) {
    if (Tekst::isLetter(c) || Tekst::isCijfer(c)) {
        return true;
    }
    // Combining marks belong to the letter before them.
    const auto cat = u_charType(static_cast<UChar32>(c));
    return cat == U_NON_SPACING_MARK || cat == U_COMBINING_SPACING_MARK || cat == U_ENCLOSING_MARK;
}

struct Stuk {
    std::u32string tekst;
    bool vervangen = false;
};

struct Regel {
    std::u32string variant;  // folded
    std::size_t lengte = 0;
    const std::string* vorm = nullptr;
};

}  // namespace

std::string Vervangingen::pasToe(const std::string& tekst, const Tabel& tabel,
                                 std::map<std::string, std::int64_t>& toepassingen) {
    std::vector<Regel> regels;
    for (const auto& [vorm, varianten] : tabel) {
        for (const std::string& variant : varianten) {
            const std::string schoon = Tekst::trim(variant);
            if (schoon.empty() || schoon == vorm) {
                continue;
            }
            std::u32string v = Tekst::codepunten(schoon);
            std::transform(v.begin(), v.end(), v.begin(), gevouwen);
            regels.push_back({std::move(v), 0, &vorm});
            regels.back().lengte = regels.back().variant.size();
        }
    }
    if (regels.empty()) {
        return tekst;
    }
    // Longest first; equal lengths in table order, so the outcome does not depend on chance.
    std::stable_sort(regels.begin(), regels.end(),
                     [](const Regel& a, const Regel& b) { return a.lengte > b.lengte; });

    std::vector<Stuk> stukken{{Tekst::codepunten(tekst), false}};
    for (const Regel& regel : regels) {
        const std::u32string vorm = Tekst::codepunten(*regel.vorm);
        const bool woordBegin = isWoordteken(regel.variant.front());
        const bool woordEind = isWoordteken(regel.variant.back());
        std::vector<Stuk> nieuw;
        for (std::size_t i = 0; i < stukken.size(); ++i) {
            Stuk& stuk = stukken[i];
            if (stuk.vervangen || stuk.tekst.size() < regel.lengte) {
                nieuw.push_back(std::move(stuk));
                continue;
            }
            // The neighbours of this piece, for word boundaries at its edges.
            const char32_t ervoor =
                nieuw.empty() || nieuw.back().tekst.empty() ? U' ' : nieuw.back().tekst.back();
            const char32_t erna = i + 1 < stukken.size() && !stukken[i + 1].tekst.empty()
                                      ? stukken[i + 1].tekst.front()
                                      : U' ';
            std::u32string gevouwenStuk = stuk.tekst;
            std::transform(gevouwenStuk.begin(), gevouwenStuk.end(), gevouwenStuk.begin(),
                           gevouwen);
            std::size_t vanaf = 0;
            std::size_t zoek = 0;
            while ((zoek = gevouwenStuk.find(regel.variant, zoek)) != std::u32string::npos) {
                const std::size_t eind = zoek + regel.lengte;
                const char32_t links = zoek > 0 ? stuk.tekst[zoek - 1] : ervoor;
                const char32_t rechts = eind < stuk.tekst.size() ? stuk.tekst[eind] : erna;
                if ((woordBegin && isWoordteken(links)) || (woordEind && isWoordteken(rechts))) {
                    ++zoek;
                    continue;
                }
                if (zoek > vanaf) {
                    nieuw.push_back({stuk.tekst.substr(vanaf, zoek - vanaf), false});
                }
                nieuw.push_back({vorm, true});
                ++toepassingen[*regel.vorm];
                vanaf = eind;
                zoek = eind;
            }
            if (vanaf == 0) {
                nieuw.push_back(std::move(stuk));
            } else if (vanaf < stuk.tekst.size()) {
                nieuw.push_back({stuk.tekst.substr(vanaf), false});
            }
        }
        stukken = std::move(nieuw);
    }
    std::u32string uit;
    for (const Stuk& s : stukken) {
        uit += s.tekst;
    }
    return Tekst::utf8(uit);
}

}  // namespace tolmo
