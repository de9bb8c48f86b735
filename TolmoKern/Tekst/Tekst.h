#pragma once

#include <cstddef>
#include <functional>
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
    // An upper-case letter (Lu); title-case digraphs such as "ǅ" do not count.
    static bool isHoofdletter(char32_t c);
    // General category P (any punctuation).
    static bool isLeesteken(char32_t c);

    // Walks the grapheme clusters of valid UTF-8 from the start, straight over the bytes (no
    // copy of the text), calling f with each cluster's byte range until f returns false. f may
    // call any Tekst function, perTeken included.
    static void perTeken(std::string_view s,
                         const std::function<bool(std::size_t begin, std::size_t eind)>& f);
    // Byte offsets of the grapheme cluster boundaries of valid UTF-8, from 0 up to and
    // including s.size(); an empty string gives {0}.
    static std::vector<std::size_t> tekenGrenzen(std::string_view s);
    // Byte offset at which the last grapheme cluster of valid UTF-8 begins (0 for "").
    static std::size_t beginLaatsteTeken(std::string_view s);
    // Decodes the code point at byte offset i and moves i past it (U+FFFD for an invalid
    // sequence). Requires i < s.size().
    static char32_t codepuntOp(std::string_view s, std::size_t& i);
    // Decodes the code point that ends at byte offset i and moves i to its start. Requires i > 0.
    static char32_t codepuntVoor(std::string_view s, std::size_t& i);
    // The first code point (U+FFFD for an invalid sequence, 0 for an empty string).
    static char32_t eersteCodepunt(std::string_view s);

    // Full Unicode case mapping, independent of the user's locale.
    static std::string kleineLetters(std::string_view s);
    static std::string hoofdletters(std::string_view s);
    // Equal under full Unicode case folding ("STRASSE" equals "straße").
    static bool gelijkZonderHoofdletters(std::string_view a, std::string_view b);

    // Removes diacritics (é -> e, ë -> e) by canonical decomposition without combining marks.
    static std::string zonderDiacrieten(std::string_view s);

    static bool isGeldigeUtf8(std::string_view s);
    // s itself when it is valid UTF-8, otherwise s with every invalid sequence read as U+FFFD.
    static std::string geldigeUtf8(std::string_view s);
    // Decodes UTF-8 into code points (invalid sequences become U+FFFD).
    static std::u32string codepunten(std::string_view s);
    static std::string utf8(std::u32string_view s);

    // The word with its first letter title-cased and the rest untouched ("ijsje" -> "IJsje",
    // "\"hallo" -> "\"Hallo", "3e" stays "3e").
    static std::string metHoofdletter(std::string_view woord);

    // printf-style formatting of one number as in locale nl_NL: decimal comma, no grouping.
    // formaat is for example "%.1f".
    static std::string getalNL(const char* formaat, double waarde);
};

}  // namespace tolmo
