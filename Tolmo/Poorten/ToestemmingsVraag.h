#pragma once

#include <functional>
#include <string>
#include <vector>

namespace tolmo {

// A modal question to the user, brought to the front. The answer comes later, on the main
// thread: the index of the button chosen, or -1 when the dialog was closed another way.
class ToestemmingsVraag {
  public:
    using Antwoord = std::function<void(int knop)>;

    virtual ~ToestemmingsVraag() = default;
    virtual void vraag(const std::string& titel, const std::string& tekst,
                       const std::vector<std::string>& knoppen, Antwoord antwoord) = 0;
};

}  // namespace tolmo
