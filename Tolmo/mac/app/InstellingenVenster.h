#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Tolmo/MacRegelaar/DictaatRegelaar.h"

namespace tolmo {

// The settings window with the tabs Algemeen, Server, Toestemmingen and Logboek. Its content is
// built from the controller each time it is shown; every switch writes through at once.
class InstellingenVenster {
  public:
    enum class Tab { algemeen, server, toestemmingen, logboek };

    struct Handelingen {
        std::function<bool()> klembordHerstellen;
        std::function<void(bool)> zetKlembordHerstellen;
        std::function<bool()> toonBalk;
        std::function<void(bool)> zetToonBalk;
        std::function<DictaatRegelaar::Toestemmingsstand()> toestemmingen;
        std::function<std::string()> mechanisme;
        std::function<std::vector<std::string>()> logregels;
        std::function<std::string()> serverAdres;
        // Each answers a Dutch sentence when the value is not taken.
        std::function<std::optional<std::string>(const std::string&)> zetServerAdres;
        std::function<std::optional<std::string>(const std::string&)> zetToegangscode;
    };

    explicit InstellingenVenster(Handelingen handelingen);
    ~InstellingenVenster();
    InstellingenVenster(const InstellingenVenster&) = delete;
    InstellingenVenster& operator=(const InstellingenVenster&) = delete;

    void toon(Tab tab);

    struct Staat;

  private:
    std::unique_ptr<Staat> s_;
};

}  // namespace tolmo
