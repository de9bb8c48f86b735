#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tolmo {

// Carries out the spoken commands in a transcript ("nieuwe regel", "komma", "schrap dat", ...).
// A command phrase counts only when it stands on its own: each command has its own test of the
// words around it, so "de nieuwe regel geldt" and "3 punt 5" stay text.
class Spraakopdrachten {
  public:
    // One word of the transcript, as it lies between white space.
    struct Token {
        std::string origineel;      // the word as it stands, punctuation included
        std::string kern;           // lowercased, punctuation trimmed off both ends
        bool isRegeleinde = false;  // the word ends a sentence

        bool operator==(const Token&) const = default;
    };

    // The transcript with its commands carried out. Pure and thread-safe; invalid UTF-8 is
    // read as U+FFFD, so the result is always valid UTF-8.
    static std::string pasToe(const std::string& transcript);

    // Splits at Unicode white space.
    static std::vector<Token> tokens(std::string_view tekst);

    // True when the word, with closing quotes and a closing parenthesis taken off its end,
    // ends in ".", "?" or "!".
    static bool eindigtZin(std::string_view woord);
};

}  // namespace tolmo
