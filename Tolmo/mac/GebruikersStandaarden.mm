#include "Tolmo/mac/GebruikersStandaarden.h"

#import <Foundation/Foundation.h>

namespace tolmo {

struct GebruikersStandaarden::Staat {
    NSUserDefaults* standaarden = nil;
};

namespace {

NSString* ns(const std::string& s) {
    return [NSString stringWithUTF8String:s.c_str()];
}

}  // namespace

GebruikersStandaarden::GebruikersStandaarden(std::optional<std::string> suite)
    : s_(std::make_unique<Staat>()) {
    s_->standaarden = suite ? [[NSUserDefaults alloc] initWithSuiteName:ns(*suite)]
                            : [NSUserDefaults standardUserDefaults];
}

GebruikersStandaarden::~GebruikersStandaarden() = default;

std::optional<OpslagWaarde> GebruikersStandaarden::lees(const std::string& sleutel) const {
    id waarde = [s_->standaarden objectForKey:ns(sleutel)];
    // Numbers and Booleans share NSNumber; only a stored Boolean is CFBoolean underneath.
    if ([waarde isKindOfClass:[NSNumber class]] &&
        CFGetTypeID((__bridge CFTypeRef)waarde) == CFBooleanGetTypeID()) {
        // BOOL is a signed char on x86_64, which no alternative of the variant takes.
        return OpslagWaarde(static_cast<bool>([waarde boolValue]));
    }
    if ([waarde isKindOfClass:[NSData class]]) {
        NSData* data = waarde;
        return OpslagWaarde(std::string(static_cast<const char*>(data.bytes), data.length));
    }
    if ([waarde isKindOfClass:[NSString class]]) {
        return OpslagWaarde(std::string([waarde UTF8String]));
    }
    return std::nullopt;
}

void GebruikersStandaarden::zet(const std::string& sleutel, OpslagWaarde waarde) {
    if (const bool* b = std::get_if<bool>(&waarde)) {
        [s_->standaarden setBool:*b forKey:ns(sleutel)];
    } else {
        const std::string& data = std::get<std::string>(waarde);
        [s_->standaarden setObject:[NSData dataWithBytes:data.data() length:data.size()]
                            forKey:ns(sleutel)];
    }
}

void GebruikersStandaarden::verwijder(const std::string& sleutel) {
    [s_->standaarden removeObjectForKey:ns(sleutel)];
}

}  // namespace tolmo
