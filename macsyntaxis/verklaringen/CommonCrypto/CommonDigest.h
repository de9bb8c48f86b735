// Tolmo's own declarations for the Mac syntax check; not Apple's header. CommonCrypto's SHA-256
// (macOS 10.4+), as the CC_SHA256(3cc) manual page of CommonCrypto describes it.
#pragma once

#include <stdint.h>

#define CC_SHA256_DIGEST_LENGTH 32
typedef uint32_t CC_LONG;

extern "C" unsigned char* CC_SHA256(const void* data, CC_LONG len, unsigned char* md);
