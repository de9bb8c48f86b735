#include "TolmoKern/Tekst/Patroon.h"

#include <unicode/regex.h>
#include <unicode/unistr.h>
#include <unicode/utf16.h>

#include <stdexcept>

namespace tolmo {

struct Patroon::Icu {
    std::unique_ptr<icu::RegexPattern> patroon;
};

namespace {

icu::UnicodeString naarIcu(std::string_view s) {
    return icu::UnicodeString::fromUTF8(icu::StringPiece(s.data(), static_cast<int32_t>(s.size())));
}

std::string naarUtf8(const icu::UnicodeString& u) {
    std::string uit;
    u.toUTF8String(uit);
    return uit;
}

// Byte offset in the UTF-8 form for every UTF-16 index of u (one past the end included).
// Offsets refer to the re-encoded text, which equals the input whenever the input is valid UTF-8.
std::vector<std::size_t> utf8Posities(const icu::UnicodeString& u) {
    std::vector<std::size_t> pos(static_cast<std::size_t>(u.length()) + 1, 0);
    std::size_t byte = 0;
    int32_t i = 0;
    while (i < u.length()) {
        const UChar32 c = u.char32At(i);
        const int32_t breedte = U16_LENGTH(c);
        const std::size_t bytes = c < 0x80 ? 1 : c < 0x800 ? 2 : c < 0x10000 ? 3 : 4;
        for (int32_t k = 0; k < breedte && i + k < u.length(); ++k) {
            pos[static_cast<std::size_t>(i + k)] = byte;
        }
        byte += bytes;
        i += breedte;
    }
    pos[static_cast<std::size_t>(u.length())] = byte;
    return pos;
}

}  // namespace

Patroon::Patroon(std::string_view patroon, bool hoofdletterOngevoelig) {
    UErrorCode status = U_ZERO_ERROR;
    UParseError fout{};
    icu_ = std::make_unique<Icu>();
    icu_->patroon.reset(icu::RegexPattern::compile(
        naarIcu(patroon), hoofdletterOngevoelig ? UREGEX_CASE_INSENSITIVE : 0, fout, status));
    if (U_FAILURE(status) || !icu_->patroon) {
        throw std::invalid_argument("ongeldig patroon: " + std::string(patroon));
    }
}

Patroon::~Patroon() = default;

bool Patroon::komtVoor(std::string_view tekst) const {
    const icu::UnicodeString u = naarIcu(tekst);
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::RegexMatcher> m(icu_->patroon->matcher(u, status));
    return U_SUCCESS(status) && m->find(status) && U_SUCCESS(status);
}

bool Patroon::isVolledig(std::string_view tekst) const {
    const icu::UnicodeString u = naarIcu(tekst);
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::RegexMatcher> m(icu_->patroon->matcher(u, status));
    return U_SUCCESS(status) && m->matches(status) && U_SUCCESS(status);
}

std::vector<Patroon::Treffer> Patroon::vindAlle(std::string_view tekst) const {
    const icu::UnicodeString u = naarIcu(tekst);
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::RegexMatcher> m(icu_->patroon->matcher(u, status));
    std::vector<Treffer> treffers;
    if (U_FAILURE(status)) {
        return treffers;
    }
    std::vector<std::size_t> pos;
    while (m->find(status) && U_SUCCESS(status)) {
        if (pos.empty()) {
            pos = utf8Posities(u);
        }
        Treffer t;
        const int32_t b = m->start(status);
        const int32_t e = m->end(status);
        t.begin = pos[static_cast<std::size_t>(b)];
        t.eind = pos[static_cast<std::size_t>(e)];
        t.tekst = naarUtf8(m->group(status));
        for (int32_t g = 0; g <= m->groupCount(); ++g) {
            if (m->start(g, status) < 0) {
                t.groepen.emplace_back(std::nullopt);
            } else {
                t.groepen.emplace_back(naarUtf8(m->group(g, status)));
            }
        }
        treffers.push_back(std::move(t));
    }
    return treffers;
}

std::string Patroon::vervangAlles(std::string_view tekst, std::string_view vervanging) const {
    const icu::UnicodeString u = naarIcu(tekst);
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::RegexMatcher> m(icu_->patroon->matcher(u, status));
    if (U_FAILURE(status)) {
        return std::string(tekst);
    }
    const icu::UnicodeString uit = m->replaceAll(naarIcu(vervanging), status);
    return U_SUCCESS(status) ? naarUtf8(uit) : std::string(tekst);
}

std::string Patroon::vervangMet(std::string_view tekst,
                                const std::function<std::string(const Treffer&)>& f) const {
    const std::vector<Treffer> treffers = vindAlle(tekst);
    if (treffers.empty()) {
        return std::string(tekst);
    }
    // Offsets refer to the re-encoded input, so rebuild from that (identical for valid UTF-8).
    std::string bron;
    naarIcu(tekst).toUTF8String(bron);
    std::string uit;
    uit.reserve(bron.size());
    std::size_t vorige = 0;
    for (const Treffer& t : treffers) {
        uit.append(bron, vorige, t.begin - vorige);
        uit += f(t);
        vorige = t.eind;
    }
    uit.append(bron, vorige, std::string::npos);
    return uit;
}

}  // namespace tolmo
