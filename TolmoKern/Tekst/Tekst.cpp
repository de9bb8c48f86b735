#include "TolmoKern/Tekst/Tekst.h"

#include <unicode/brkiter.h>
#include <unicode/locid.h>
#include <unicode/normalizer2.h>
#include <unicode/stringoptions.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utext.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace tolmo {
namespace {

icu::UnicodeString naarIcu(std::string_view s) {
    return icu::UnicodeString::fromUTF8(icu::StringPiece(s.data(), static_cast<int32_t>(s.size())));
}

std::string naarUtf8(const icu::UnicodeString& u) {
    std::string uit;
    u.toUTF8String(uit);
    return uit;
}

// Creating a break iterator loads rule data; each thread keeps one and resets its text.
icu::BreakIterator& tekenIterator() {
    thread_local std::unique_ptr<icu::BreakIterator> iterator = [] {
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<icu::BreakIterator> it(
            icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
        if (U_FAILURE(status) || !it) {
            std::abort();  // ICU data missing: nothing in the program can work without it.
        }
        return it;
    }();
    return *iterator;
}

}  // namespace

std::size_t Tekst::aantalTekens(std::string_view s) {
    if (s.empty()) {
        return 0;
    }
    const icu::UnicodeString u = naarIcu(s);
    icu::BreakIterator& it = tekenIterator();
    it.setText(u);
    std::size_t aantal = 0;
    for (int32_t p = it.next(); p != icu::BreakIterator::DONE; p = it.next()) {
        ++aantal;
    }
    return aantal;
}

std::string Tekst::eersteTekens(std::string_view s, std::size_t n) {
    if (n == 0 || s.empty()) {
        return {};
    }
    const icu::UnicodeString u = naarIcu(s);
    icu::BreakIterator& it = tekenIterator();
    it.setText(u);
    int32_t eind = it.first();
    for (std::size_t i = 0; i < n; ++i) {
        const int32_t volgende = it.next();
        if (volgende == icu::BreakIterator::DONE) {
            break;
        }
        eind = volgende;
    }
    return naarUtf8(icu::UnicodeString(u, 0, eind));
}

std::string Tekst::eersteTeken(std::string_view s) {
    return eersteTekens(s, 1);
}

std::string Tekst::laatsteTeken(std::string_view s) {
    if (s.empty()) {
        return {};
    }
    const icu::UnicodeString u = naarIcu(s);
    icu::BreakIterator& it = tekenIterator();
    it.setText(u);
    const int32_t eind = it.last();
    const int32_t begin = it.previous();
    return naarUtf8(icu::UnicodeString(u, begin, eind - begin));
}

bool Tekst::isWitruimte(char32_t c) {
    return u_hasBinaryProperty(static_cast<UChar32>(c), UCHAR_WHITE_SPACE);
}

bool Tekst::isLetter(char32_t c) {
    return u_isalpha(static_cast<UChar32>(c)) != 0;
}

bool Tekst::isCijfer(char32_t c) {
    const auto cat = u_charType(static_cast<UChar32>(c));
    return cat == U_DECIMAL_DIGIT_NUMBER || cat == U_LETTER_NUMBER || cat == U_OTHER_NUMBER;
}

bool Tekst::isHoofdletter(char32_t c) {
    return u_charType(static_cast<UChar32>(c)) == U_UPPERCASE_LETTER;
}

bool Tekst::isLeesteken(char32_t c) {
    return (U_GET_GC_MASK(static_cast<UChar32>(c)) & U_GC_P_MASK) != 0;
}

void Tekst::perTeken(std::string_view s,
                     const std::function<bool(std::size_t begin, std::size_t eind)>& f) {
    if (s.empty()) {
        return;
    }
    // One iterator per nesting level, so that f may walk another text while this one is open.
    thread_local std::vector<std::unique_ptr<icu::BreakIterator>> iteratoren;
    thread_local std::size_t diepte = 0;
    if (iteratoren.size() <= diepte) {
        iteratoren.emplace_back(tekenIterator().clone());
    }
    icu::BreakIterator& it = *iteratoren[diepte];
    struct Niveau {
        std::size_t& d;
        explicit Niveau(std::size_t& x) : d(x) { ++d; }
        ~Niveau() { --d; }
        Niveau(const Niveau&) = delete;
        Niveau& operator=(const Niveau&) = delete;
    } niveau(diepte);

    // A UText over the UTF-8 bytes: native indexes are byte offsets, and nothing is converted.
    UErrorCode status = U_ZERO_ERROR;
    UText tekst = UTEXT_INITIALIZER;
    utext_openUTF8(&tekst, s.data(), static_cast<int64_t>(s.size()), &status);
    it.setText(&tekst, status);
    utext_close(&tekst);  // the iterator keeps its own shallow copy
    if (U_FAILURE(status)) {
        std::abort();  // only on allocation failure
    }
    int32_t begin = it.first();
    for (int32_t eind = it.next(); eind != icu::BreakIterator::DONE; eind = it.next()) {
        if (!f(static_cast<std::size_t>(begin), static_cast<std::size_t>(eind))) {
            break;
        }
        begin = eind;
    }
}

std::vector<std::size_t> Tekst::tekenGrenzen(std::string_view s) {
    std::vector<std::size_t> grenzen{0};
    perTeken(s, [&grenzen](std::size_t, std::size_t eind) {
        grenzen.push_back(eind);
        return true;
    });
    return grenzen;
}

std::size_t Tekst::beginLaatsteTeken(std::string_view s) {
    if (s.empty()) {
        return 0;
    }
    // Only the tail matters; the iterator backs up to a safe point on its own.
    UErrorCode status = U_ZERO_ERROR;
    UText tekst = UTEXT_INITIALIZER;
    utext_openUTF8(&tekst, s.data(), static_cast<int64_t>(s.size()), &status);
    icu::BreakIterator& it = tekenIterator();
    it.setText(&tekst, status);
    utext_close(&tekst);
    if (U_FAILURE(status)) {
        std::abort();
    }
    it.last();
    const int32_t begin = it.previous();
    return begin == icu::BreakIterator::DONE ? 0 : static_cast<std::size_t>(begin);
}

char32_t Tekst::codepuntOp(std::string_view s, std::size_t& i) {
    auto index = static_cast<int32_t>(i);
    UChar32 c = 0;
    const auto* bytes = reinterpret_cast<const uint8_t*>(s.data());
    U8_NEXT(bytes, index, static_cast<int32_t>(s.size()), c);
    i = static_cast<std::size_t>(index);
    return c < 0 ? U'\uFFFD' : static_cast<char32_t>(c);
}

char32_t Tekst::codepuntVoor(std::string_view s, std::size_t& i) {
    // Back over at most three continuation bytes, then decode forwards: the sequence is valid
    // only when it ends exactly at i; otherwise the last byte alone stands for U+FFFD.
    std::size_t begin = i - 1;
    while (begin > 0 && i - begin < 4 && (static_cast<unsigned char>(s[begin]) & 0xC0U) == 0x80U) {
        --begin;
    }
    std::size_t j = begin;
    const char32_t c = codepuntOp(s, j);
    if (j == i) {
        i = begin;
        return c;
    }
    --i;
    return U'\uFFFD';
}

char32_t Tekst::eersteCodepunt(std::string_view s) {
    if (s.empty()) {
        return 0;
    }
    std::size_t i = 0;
    return codepuntOp(s, i);
}

std::u32string Tekst::codepunten(std::string_view s) {
    std::u32string uit;
    uit.reserve(s.size());
    int32_t i = 0;
    const auto lengte = static_cast<int32_t>(s.size());
    const auto* bytes = reinterpret_cast<const uint8_t*>(s.data());
    while (i < lengte) {
        UChar32 c = 0;
        U8_NEXT(bytes, i, lengte, c);
        uit.push_back(c < 0 ? U'\uFFFD' : static_cast<char32_t>(c));
    }
    return uit;
}

std::string Tekst::utf8(std::u32string_view s) {
    std::string uit;
    uit.reserve(s.size());
    for (char32_t c : s) {
        uint8_t buf[4];
        int32_t n = 0;
        UBool fout = false;
        U8_APPEND(buf, n, 4, static_cast<UChar32>(c), fout);
        if (fout) {
            uit += "\xEF\xBF\xBD";
        } else {
            uit.append(reinterpret_cast<const char*>(buf), static_cast<std::size_t>(n));
        }
    }
    return uit;
}

std::string Tekst::trim(std::string_view s) {
    const std::u32string c = codepunten(s);
    std::size_t begin = 0;
    std::size_t eind = c.size();
    while (begin < eind && isWitruimte(c[begin])) {
        ++begin;
    }
    while (eind > begin && isWitruimte(c[eind - 1])) {
        --eind;
    }
    if (begin == 0 && eind == c.size() && isGeldigeUtf8(s)) {
        return std::string(s);
    }
    return utf8(std::u32string_view(c).substr(begin, eind - begin));
}

std::vector<std::string> Tekst::splitsOpWitruimte(std::string_view s) {
    std::vector<std::string> stukken;
    std::u32string stuk;
    for (char32_t c : codepunten(s)) {
        if (isWitruimte(c)) {
            if (!stuk.empty()) {
                stukken.push_back(utf8(stuk));
                stuk.clear();
            }
        } else {
            stuk.push_back(c);
        }
    }
    if (!stuk.empty()) {
        stukken.push_back(utf8(stuk));
    }
    return stukken;
}

bool Tekst::bevatLetterOfCijfer(std::string_view s) {
    for (std::size_t i = 0; i < s.size();) {
        const char32_t c = codepuntOp(s, i);
        if (isLetter(c) || isCijfer(c)) {
            return true;
        }
    }
    return false;
}

std::string Tekst::kleineLetters(std::string_view s) {
    icu::UnicodeString u = naarIcu(s);
    u.toLower(icu::Locale::getRoot());
    return naarUtf8(u);
}

std::string Tekst::hoofdletters(std::string_view s) {
    icu::UnicodeString u = naarIcu(s);
    u.toUpper(icu::Locale::getRoot());
    return naarUtf8(u);
}

std::string Tekst::zonderDiacrieten(std::string_view s) {
    UErrorCode status = U_ZERO_ERROR;
    const icu::Normalizer2* nfd = icu::Normalizer2::getNFDInstance(status);
    const icu::Normalizer2* nfc = icu::Normalizer2::getNFCInstance(status);
    if (U_FAILURE(status)) {
        return std::string(s);
    }
    const icu::UnicodeString ontleed = nfd->normalize(naarIcu(s), status);
    icu::UnicodeString zonder;
    for (int32_t i = 0; i < ontleed.length();) {
        const UChar32 c = ontleed.char32At(i);
        if (u_charType(c) != U_NON_SPACING_MARK) {
            zonder.append(c);
        }
        i += U16_LENGTH(c);
    }
    const icu::UnicodeString uit = nfc->normalize(zonder, status);
    return U_SUCCESS(status) ? naarUtf8(uit) : std::string(s);
}

bool Tekst::gelijkZonderHoofdletters(std::string_view a, std::string_view b) {
    return naarIcu(a).caseCompare(naarIcu(b), U_FOLD_CASE_DEFAULT) == 0;
}

std::string Tekst::geldigeUtf8(std::string_view s) {
    if (isGeldigeUtf8(s)) {
        return std::string(s);
    }
    return utf8(codepunten(s));
}

bool Tekst::isGeldigeUtf8(std::string_view s) {
    int32_t i = 0;
    const auto lengte = static_cast<int32_t>(s.size());
    const auto* bytes = reinterpret_cast<const uint8_t*>(s.data());
    while (i < lengte) {
        UChar32 c = 0;
        U8_NEXT(bytes, i, lengte, c);
        if (c < 0) {
            return false;
        }
    }
    return true;
}

std::string Tekst::metHoofdletter(std::string_view woord) {
    // Plain ASCII needs no case tables; only "ij" is special, Dutch capitalises it as "IJ".
    if (!woord.empty() && woord[0] >= 'a' && woord[0] <= 'z' &&
        !(woord[0] == 'i' && woord.size() > 1 && woord[1] == 'j')) {
        std::string uit(woord);
        uit[0] = static_cast<char>(uit[0] - 'a' + 'A');
        return uit;
    }
    // One title segment for the whole word: ICU skips leading punctuation to the first letter
    // or digit, and with the Dutch locale an initial "ij" becomes "IJ".
    static const icu::Locale nederlands("nl");
    icu::UnicodeString u = naarIcu(woord);
    u.toTitle(nullptr, nederlands, U_TITLECASE_WHOLE_STRING | U_TITLECASE_NO_LOWERCASE);
    return naarUtf8(u);
}

std::string Tekst::getalNL(const char* formaat, double waarde) {
    char buf[64];
    const int n = std::snprintf(buf, sizeof buf, formaat, waarde);
    std::string uit(buf, n < 0 ? 0 : static_cast<std::size_t>(std::min(n, 63)));
    for (char& c : uit) {
        if (c == '.') {
            c = ',';
        }
    }
    return uit;
}

}  // namespace tolmo
