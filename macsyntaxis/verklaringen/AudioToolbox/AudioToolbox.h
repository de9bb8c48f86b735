// Tolmo's own declarations for the Mac syntax check; not Apple's header. The adapters take only
// the format codes from here, which CoreAudio/CoreAudio.h of this folder declares.
#pragma once

#include <CoreAudio/CoreAudio.h>
