#include "Tolmo/mac/Sleutelhanger.h"

#import <Foundation/Foundation.h>
#import <Security/Security.h>

#include <stdexcept>

#include "Tolmo/MacVertaling/SleutelhangerStatus.h"

namespace tolmo {
namespace {

NSString* ns(std::string_view s) {
    return [[NSString alloc] initWithBytes:s.data() length:s.size() encoding:NSUTF8StringEncoding];
}

NSMutableDictionary* zoekvraag(std::string_view account) {
    return [@{
        (__bridge id)kSecClass : (__bridge id)kSecClassGenericPassword,
        (__bridge id)kSecAttrService : ns(Sleutelhanger::dienst),
        (__bridge id)kSecAttrAccount : ns(account),
    } mutableCopy];
}

}  // namespace

std::optional<std::string> Sleutelhanger::lees(std::string_view account) {
    NSMutableDictionary* vraag = zoekvraag(account);
    vraag[(__bridge id)kSecReturnData] = @YES;
    vraag[(__bridge id)kSecMatchLimit] = (__bridge id)kSecMatchLimitOne;
    CFTypeRef resultaat = nullptr;
    const OSStatus status = SecItemCopyMatching((__bridge CFDictionaryRef)vraag, &resultaat);
    NSData* data = (__bridge_transfer NSData*)resultaat;
    if (SleutelhangerStatus::naLezen(status) != SleutelhangerStatus::Lezen::waarde ||
        data.length == 0) {
        return std::nullopt;
    }
    return std::string(static_cast<const char*>(data.bytes), data.length);
}

void Sleutelhanger::zet(std::string_view account, const std::string& waarde) {
    NSData* data = [NSData dataWithBytes:waarde.data() length:waarde.size()];
    NSMutableDictionary* nieuw = zoekvraag(account);
    nieuw[(__bridge id)kSecValueData] = data;
    OSStatus status = SecItemAdd((__bridge CFDictionaryRef)nieuw, nullptr);
    switch (SleutelhangerStatus::naToevoegen(status)) {
        case SleutelhangerStatus::Schrijven::klaar:
            return;
        case SleutelhangerStatus::Schrijven::bijwerken:
            status = SecItemUpdate((__bridge CFDictionaryRef)zoekvraag(account),
                                   (__bridge CFDictionaryRef) @{(__bridge id)kSecValueData : data});
            if (status == SleutelhangerStatus::gelukt) {
                return;
            }
            break;
        case SleutelhangerStatus::Schrijven::fout:
            break;
    }
    throw std::runtime_error(SleutelhangerStatus::melding(status));
}

void Sleutelhanger::wis(std::string_view account) {
    SecItemDelete((__bridge CFDictionaryRef)zoekvraag(account));
}

std::optional<std::string> Sleutelhanger::sleutel(Aanbieder aanbieder) const {
    return lees(aanbiederWaarden.naam(aanbieder));
}

std::optional<std::string> Sleutelhanger::toegangscode() const {
    return lees("server");
}

}  // namespace tolmo
