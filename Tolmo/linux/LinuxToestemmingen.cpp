#include "Tolmo/linux/LinuxToestemmingen.h"

#include <exception>

namespace tolmo {

bool LinuxToestemmingen::microfoon() const {
    try {
        return engine_.invoerFormaat().isGeldig();
    } catch (const std::exception&) {
        // No server (yet): asked again at the next poll.
        return false;
    }
}

}  // namespace tolmo
