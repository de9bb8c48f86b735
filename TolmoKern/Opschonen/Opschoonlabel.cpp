#include "TolmoKern/Opschonen/Opschoonlabel.h"

#include <algorithm>

#include "TolmoKern/Tekst/Tekst.h"

namespace tolmo {
namespace {

bool isAarzeling(const std::string& woord) {
    return std::find(Opschoonlabel::aarzelingen.begin(), Opschoonlabel::aarzelingen.end(), woord) !=
           Opschoonlabel::aarzelingen.end();
}

// The lower-cased words of a text: runs of characters whose base is a letter or digit, so an
// accent or other mark stays with its letter and everything else separates words.
std::vector<std::string> woordenVan(std::string_view tekst) {
    const std::string klein = Tekst::kleineLetters(tekst);
    const std::vector<std::size_t> grenzen = Tekst::tekenGrenzen(klein);
    std::vector<std::string> woorden;
    std::size_t begin = 0;
    bool inWoord = false;
    for (std::size_t i = 0; i + 1 < grenzen.size(); ++i) {
        const char32_t c = Tekst::eersteCodepunt(std::string_view(klein).substr(grenzen[i]));
        const bool deel = Tekst::isLetter(c) || Tekst::isCijfer(c);
        if (deel && !inWoord) {
            begin = grenzen[i];
        } else if (!deel && inWoord) {
            woorden.push_back(klein.substr(begin, grenzen[i] - begin));
        }
        inWoord = deel;
    }
    if (inWoord) {
        woorden.push_back(klein.substr(begin));
    }
    return woorden;
}

std::string samen(const std::vector<std::string>& woorden) {
    std::string uit;
    for (const std::string& w : woorden) {
        if (!uit.empty()) {
            uit += ' ';
        }
        uit += w;
    }
    return uit;
}

}  // namespace

std::optional<Opschoonlabel> zoekZelfcorrectie(const std::vector<std::string>& ruw,
                                               const std::vector<std::string>& opgeschoond) {
    if (ruw.empty() || ruw.size() < opgeschoond.size() + 2) {
        return std::nullopt;
    }
    // d words disappeared: "nee" and the d-1 words before it, which the d-1 after it replace.
    const std::size_t d = ruw.size() - opgeschoond.size();
    for (std::size_t i = d - 1; i + d - 1 < ruw.size(); ++i) {
        if (ruw[i] != "nee") {
            continue;
        }
        const std::size_t van = i + 1 - d;
        // Without ruw[van..i] the raw words must be exactly the cleaned ones.
        if (!std::equal(ruw.begin(), ruw.begin() + static_cast<std::ptrdiff_t>(van),
                        opgeschoond.begin()) ||
            !std::equal(ruw.begin() + static_cast<std::ptrdiff_t>(i + 1), ruw.end(),
                        opgeschoond.begin() + static_cast<std::ptrdiff_t>(van))) {
            continue;
        }
        std::vector<std::string> a(ruw.begin() + static_cast<std::ptrdiff_t>(van),
                                   ruw.begin() + static_cast<std::ptrdiff_t>(i));
        std::vector<std::string> b(ruw.begin() + static_cast<std::ptrdiff_t>(i + 1),
                                   ruw.begin() + static_cast<std::ptrdiff_t>(i + d));
        const auto heeftNee = [](const std::vector<std::string>& w) {
            return std::find(w.begin(), w.end(), "nee") != w.end();
        };
        if (heeftNee(a) || heeftNee(b) || a == b) {
            continue;
        }
        // "drie uur" -> "vier uur" is shown as "drie" -> "vier": only what really changed.
        while (a.size() >= 2 && b.size() >= 2 && a.front() == b.front()) {
            a.erase(a.begin());
            b.erase(b.begin());
        }
        while (a.size() >= 2 && b.size() >= 2 && a.back() == b.back()) {
            a.pop_back();
            b.pop_back();
        }
        return Opschoonlabel::zelfcorrectie(samen(a), samen(b));
    }
    return std::nullopt;
}

std::vector<Opschoonlabel> opschoonlabels(std::string_view ruw, std::string_view opgeschoond) {
    const std::string r = Tekst::trim(ruw);
    const std::string o = Tekst::trim(opgeschoond);
    if (r.empty() || o.empty() || r == o) {
        return {};
    }
    const std::vector<std::string> rWoorden = woordenVan(r);
    const std::vector<std::string> oWoorden = woordenVan(o);
    std::vector<std::string> rZonder;
    std::vector<std::string> oZonder;
    std::copy_if(rWoorden.begin(), rWoorden.end(), std::back_inserter(rZonder),
                 [](const std::string& w) { return !isAarzeling(w); });
    std::copy_if(oWoorden.begin(), oWoorden.end(), std::back_inserter(oZonder),
                 [](const std::string& w) { return !isAarzeling(w); });
    const auto weg = static_cast<std::int64_t>(rWoorden.size() - rZonder.size()) -
                     static_cast<std::int64_t>(oWoorden.size() - oZonder.size());

    std::vector<Opschoonlabel> labels;
    if (weg > 0) {
        labels.push_back(Opschoonlabel::ehWeggehaald(weg));
    }
    if (auto correctie = zoekZelfcorrectie(rZonder, oZonder)) {
        labels.push_back(std::move(*correctie));
    }
    if (labels.size() == 1) {
        const bool alleenEh =
            std::holds_alternative<Opschoonlabel::EhWeggehaald>(labels[0].waarde());
        // Fillers gone and nothing else about the words changed: that label says it all.
        if (!alleenEh || rZonder == oZonder) {
            return labels;
        }
        labels.push_back(Opschoonlabel::opgeschoond());
    }
    if (labels.empty()) {
        labels.push_back(Opschoonlabel::opgeschoond());
    }
    return labels;
}

std::ostream& operator<<(std::ostream& os, const Opschoonlabel& label) {
    std::visit(
        [&os](const auto& w) {
            using T = std::decay_t<decltype(w)>;
            if constexpr (std::is_same_v<T, Opschoonlabel::EhWeggehaald>) {
                os << "ehWeggehaald(" << w.aantal << ")";
            } else if constexpr (std::is_same_v<T, Opschoonlabel::Zelfcorrectie>) {
                os << "zelfcorrectie(\"" << w.eerst << "\", \"" << w.daarna << "\")";
            } else {
                os << "opgeschoond";
            }
        },
        label.waarde());
    return os;
}

}  // namespace tolmo

std::size_t std::hash<tolmo::Opschoonlabel>::operator()(
    const tolmo::Opschoonlabel& label) const noexcept {
    const std::size_t soort = label.waarde().index();
    std::size_t h = std::hash<std::size_t>{}(soort);
    const auto meng = [&h](std::size_t x) { h ^= x + 0x9e3779b97f4a7c15ULL + (h << 6) + (h >> 2); };
    if (const auto* eh = std::get_if<tolmo::Opschoonlabel::EhWeggehaald>(&label.waarde())) {
        meng(std::hash<std::int64_t>{}(eh->aantal));
    } else if (const auto* z = std::get_if<tolmo::Opschoonlabel::Zelfcorrectie>(&label.waarde())) {
        meng(std::hash<std::string>{}(z->eerst));
        meng(std::hash<std::string>{}(z->daarna));
    }
    return h;
}
