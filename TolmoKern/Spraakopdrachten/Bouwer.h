#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "TolmoKern/Spraakopdrachten/Opdracht.h"

namespace tolmo {

// Collects the output of the command interpreter: the words that stay text and the effects of
// the commands, as pieces that are joined into one string at the end.
class Bouwer {
  public:
    struct Stuk {
        enum class Soort { woord, lijstregel, regel, alinea };
        Soort soort = Soort::woord;
        std::string tekst;  // the word, or a list line's words; empty for the two breaks

        bool operator==(const Stuk&) const = default;
    };

    std::vector<Stuk> stukken;
    bool hoofdletter = false;  // capitalise the next word
    std::string voorvoegsel;   // goes in front of the next word (an opening quote)
    // Present while a list is open: the number of its items closed so far.
    std::optional<std::size_t> lijst;
    // The words of the list item being built; empty outside a list.
    std::vector<std::string> huidigPunt;

    // A word of the transcript that stays text.
    void woord(std::string_view origineel);
    void voerUit(const Opdracht& opdracht);
    // Closes what is still open and joins the pieces. Call once, at the end.
    std::string tekst();

  private:
    void voegToe(std::string woord);
    void sluitPunt();
    void sluitLijst();
    std::string* laatsteWoord();
    void schrapLaatsteZin();
};

}  // namespace tolmo
