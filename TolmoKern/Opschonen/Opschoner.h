#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>
#include "TolmoKern/Draad/Stop.h"

#include "TolmoKern/Opschonen/Opschoonniveau.h"
#include "TolmoKern/Opschonen/Stijl.h"

namespace tolmo {

// What one cleaning returned: the text, the label of the route or tier that handled it, and
// the time the service itself reported, when it did.
struct OpschoonUitkomst {
    std::string tekst;
    std::optional<std::string> verwerking;
    std::optional<double> dienstTijd;
};

// A cleaner of transcripts. schoonOp throws HerkenningsFout on failure and Geannuleerd when
// stop is requested.
class Opschoner {
  public:
    virtual ~Opschoner() = default;

    [[nodiscard]] virtual Opschoonniveau niveau() const = 0;
    // The same cleaner at another level; empty when it has no such level.
    [[nodiscard]] virtual std::unique_ptr<Opschoner> opNiveau(Opschoonniveau niveau) const = 0;
    virtual OpschoonUitkomst schoonOp(const std::string& tekst,
                                      const std::vector<std::string>& woorden, Stijl stijl,
                                      bool spraakopdrachtenActief, StopToken stop) = 0;
    // Numbers and quantities in a text; strict cleaning must not lose any.
    [[nodiscard]] virtual std::int64_t telGetallen(const std::string& tekst) const = 0;
};

}  // namespace tolmo
