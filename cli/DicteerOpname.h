#pragma once

#include <filesystem>
#include <functional>
#include <optional>

#include "TolmoKern/Audio/AudioFormaat.h"
#include "TolmoKern/Audio/Opname.h"
#include "TolmoKern/Instellingen/TolmoInstellingen.h"
#include "cli/CliOmgeving.h"
#include "cli/Onderbreking.h"

namespace tolmo::cli {

// Told the recording's file as soon as it exists, so that an upload can follow it.
using NaStart = std::function<void(const std::filesystem::path&)>;

// The file through the recorder's own conversion and measurement, into a 16 kHz mono file in
// the temporary directory.
Opname zetBestandOm(const std::filesystem::path& pad, AudioFormaat formaat,
                    const std::filesystem::path& map, const NaStart& naStart);

// Records the default input until Enter (or the end of standard input); nothing when the user
// cancelled with Ctrl-C, in which case the file is already gone.
std::optional<Opname> neemMicrofoonOp(CliOmgeving& o, Onderbreking& onderbreking,
                                      const TolmoInstellingen& instellingen, AudioFormaat formaat,
                                      const std::filesystem::path& map, const NaStart& naStart);

}  // namespace tolmo::cli
