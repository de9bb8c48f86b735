#include "Tolmo/mac/Sleutelhanger.h"

#import <Foundation/Foundation.h>
#import <Security/Security.h>

#include <map>
#include <mutex>
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

constexpr std::string_view accounts[] = {"openai", "mistral", "server"};

}  // namespace

struct Sleutelhanger::Kopie {
    std::mutex slot;
    bool gelezen = false;
    // Raised by every write: a read that began before it must not put the old value back.
    int versie = 0;
    std::map<std::string, std::optional<std::string>, std::less<>> waarden;
};

Sleutelhanger::Sleutelhanger() : kopie_(std::make_shared<Kopie>()) {
    ververs();
}

Sleutelhanger::~Sleutelhanger() = default;

void Sleutelhanger::ververs() {
    // The block keeps the copy alive; the vault may go first.
    std::shared_ptr<Kopie> k = kopie_;
    dispatch_async(dispatch_get_global_queue(QOS_CLASS_USER_INITIATED, 0), ^{
      int begin = 0;
      {
          const std::lock_guard<std::mutex> l(k->slot);
          begin = k->versie;
      }
      std::map<std::string, std::optional<std::string>, std::less<>> nieuw;
      for (const std::string_view account : accounts) {
          nieuw[std::string(account)] = lees(account);
      }
      const std::lock_guard<std::mutex> l(k->slot);
      if (k->versie == begin) {
          k->waarden = std::move(nieuw);
          k->gelezen = true;
      }
    });
}

std::optional<std::string> Sleutelhanger::uitKopie(std::string_view account) const {
    {
        const std::lock_guard<std::mutex> l(kopie_->slot);
        if (kopie_->gelezen) {
            const auto it = kopie_->waarden.find(account);
            return it != kopie_->waarden.end() ? it->second : std::nullopt;
        }
    }
    return lees(account);
}

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
            break;
        case SleutelhangerStatus::Schrijven::bijwerken:
            status = SecItemUpdate((__bridge CFDictionaryRef)zoekvraag(account),
                                   (__bridge CFDictionaryRef) @{(__bridge id)kSecValueData : data});
            if (status == SleutelhangerStatus::gelukt) {
                break;
            }
            throw std::runtime_error(SleutelhangerStatus::melding(status));
        case SleutelhangerStatus::Schrijven::fout:
            throw std::runtime_error(SleutelhangerStatus::melding(status));
    }
    const std::lock_guard<std::mutex> l(kopie_->slot);
    ++kopie_->versie;
    kopie_->waarden[std::string(account)] = waarde;
}

void Sleutelhanger::wis(std::string_view account) {
    SecItemDelete((__bridge CFDictionaryRef)zoekvraag(account));
    const std::lock_guard<std::mutex> l(kopie_->slot);
    ++kopie_->versie;
    kopie_->waarden[std::string(account)] = std::nullopt;
}

std::optional<std::string> Sleutelhanger::sleutel(Aanbieder aanbieder) const {
    return uitKopie(aanbiederWaarden.naam(aanbieder));
}

std::optional<std::string> Sleutelhanger::toegangscode() const {
    return uitKopie("server");
}

}  // namespace tolmo
