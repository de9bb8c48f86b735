// Tolmo's own declarations for the Mac syntax check; not Apple's header. Keychain items and
// random bytes, from https://developer.apple.com/documentation/security.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

extern "C" {
// https://developer.apple.com/documentation/security/keychain-item-class-keys-and-values and
// the attribute, search and return keys (macOS 10.6+)
extern const CFStringRef kSecClass;
extern const CFStringRef kSecClassGenericPassword;
extern const CFStringRef kSecAttrService;
extern const CFStringRef kSecAttrAccount;
extern const CFStringRef kSecReturnData;
extern const CFStringRef kSecMatchLimit;
extern const CFStringRef kSecMatchLimitOne;
extern const CFStringRef kSecValueData;
// https://developer.apple.com/documentation/security/secitemcopymatching(_:_:) and
// secitemadd, secitemupdate, secitemdelete (macOS 10.6+)
OSStatus SecItemCopyMatching(CFDictionaryRef query, CFTypeRef* result);
OSStatus SecItemAdd(CFDictionaryRef attributes, CFTypeRef* result);
OSStatus SecItemUpdate(CFDictionaryRef query, CFDictionaryRef attributesToUpdate);
OSStatus SecItemDelete(CFDictionaryRef query);

typedef const struct __SecRandom* SecRandomRef;
// https://developer.apple.com/documentation/security/ksecrandomdefault
extern const SecRandomRef kSecRandomDefault;
// https://developer.apple.com/documentation/security/secrandomcopybytes(_:_:_:) (macOS 10.7+)
int SecRandomCopyBytes(SecRandomRef rnd, size_t count, void* bytes);
}
