#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tolmo {

// Words worth proposing for the word list after a dictation: names and terms that the cleanup
// wrote differently from what the speech engine heard. Once they are in the list, the engine
// and the cleaner spell them right from the start.
class WoordSuggesties {
  public:
    // More than a few proposals at once reads as noise, and the user adds them one by one.
    static constexpr std::size_t maximum = 3;

    // The words of tekst that do not occur, spelled exactly so, in ruw; in order of first
    // appearance, each once. Words are the pieces between white space with the punctuation
    // around them removed ("(ChatGPT)," gives "ChatGPT"); inner punctuation stays ("e-mail").
    static std::vector<std::string> anders(std::string_view ruw, std::string_view tekst);

    // A name or term: at least two characters, a letter among them, and a capital after the
    // first letter or a digit ("iPhone", "KLM", "Q3"). A capital only at the start could just
    // begin a sentence.
    static bool lijktOpTerm(std::string_view woord);

    // Up to maximum words from anders() that look like terms and are not yet in the word list
    // (compared without regard to case).
    static std::vector<std::string> voorstellen(std::string_view ruw, std::string_view tekst,
                                                const std::vector<std::string>& woordenlijst);

    // The words of a text as anders() sees them.
    static std::vector<std::string> woorden(std::string_view tekst);
};

}  // namespace tolmo
