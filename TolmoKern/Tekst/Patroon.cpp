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

// Converts increasing UTF-16 indexes of u into byte offsets of its UTF-8 form, walking forward
// from the previous answer so that all the matches of one text cost one pass over it.
// Offsets refer to the re-encoded text, which equals the input whenever the input is valid UTF-8.
class Utf8Posities {
  public:
    explicit Utf8Posities(const icu::UnicodeString& u) : u_(u) {}

    std::size_t byte(int32_t index) {
        while (index_ < index && index_ < u_.length()) {
            const UChar32 c = u_.char32At(index_);
            byte_ += c < 0x80 ? 1 : c < 0x800 ? 2 : c < 0x10000 ? 3 : 4;
            index_ += U16_LENGTH(c);
        }
        return byte_;
    }

  private:
    const icu::UnicodeString& u_;
    int32_t index_ = 0;
    std::size_t byte_ = 0;
};

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
    Utf8Posities pos(u);
    while (m->find(status) && U_SUCCESS(status)) {
        Treffer t;
        const int32_t b = m->start(status);
        const int32_t e = m->end(status);
        t.begin = pos.byte(b);
        t.eind = pos.byte(e);
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
