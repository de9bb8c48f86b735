#include "Tolmo/linux/pulse/BestandSchrijvers.h"

namespace tolmo {

std::unique_ptr<AudioSchrijver> BestandSchrijvers::open(const std::filesystem::path& pad,
                                                        AudioFormaat formaat) {
    return formaat == AudioFormaat::m4a ? m4a_.open(pad, formaat) : wav_.open(pad, formaat);
}

}  // namespace tolmo
