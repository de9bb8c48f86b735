#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tolmo {

// Text helpers over UTF-8 strings. A "character" is a grapheme cluster (what a user sees as
// one character), white space is Unicode White_Space, letters and digits are \p{L} and \p{N}.
// ICU stays inside these helpers; callers only see UTF-8. Invalid UTF-8 is read as U+FFFD.
class Tekst {
  public:
    // Number of grapheme clusters.
    static std::size_t aantalTekens(std::string_view s);
    // The first / last grapheme cluster, or "" for an empty string.
    static std::string eersteTeken(std::string_view s);
    static std::string laatsteTeken(std::string_view s);
    // The first n grapheme clusters (the whole string when it has fewer).
    static std::string eersteTekens(std::string_view s, std::size_t n);

    static bool isWitruimte(char32_t c);
    // Removes Unicode white space (newlines included) at both ends.
    static std::string trim(std::string_view s);
    // Splits at runs of white space; empty pieces are dropped.
    static std::vector<std::string> splitsOpWitruimte(std::string_view s);
    static bool bevatLetterOfCijfer(std::string_view s);
    static bool isLetter(char32_t c);
    static bool isCijfer(char32_t c);

    // Full Unicode case mapping, independent of the user's locale.
    static std::string kleineLetters(std::string_view s);
    static std::string hoofdletters(std::string_view s);

    // Removes diacritics (é -> e, ë -> e) by canonical decomposition without combining marks.
    static std::string zonderDiacrieten(std::string_view s);

    static bool isGeldigeUtf8(std::string_view s);
    // Decodes UTF-8 into code points (invalid sequences become U+FFFD).
    static std::u32string codepunten(std::string_view s);
    static std::string utf8(std::u32string_view s);

    // Reads the code point at byte offset i of valid UTF-8 and moves i past it (an invalid
    // sequence reads as U+FFFD and is skipped). For scanning text without copying it.
    static char32_t volgendCodepunt(std::string_view s, std::size_t& i);
    // Punctuation (\p{P}); an upper-case or title-case letter (Lu, Lt).
    static bool isLeesteken(char32_t c);
    static bool isHoofdletter(char32_t c);
    // The word with its first letter title-cased and the rest untouched ("ijsje" -> "IJsje",
    // "\"hallo" -> "\"Hallo", "3e" stays "3e").
    static std::string metHoofdletter(std::string_view woord);

    // printf-style formatting of one number as in locale nl_NL: decimal comma, no grouping.
    // formaat is for example "%.1f".
    static std::string getalNL(const char* formaat, double waarde);
};

}  // namespace tolmo
