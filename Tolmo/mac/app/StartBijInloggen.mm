#include "Tolmo/mac/app/StartBijInloggen.h"

#import <Foundation/Foundation.h>
#import <ServiceManagement/ServiceManagement.h>

namespace tolmo {

bool StartBijInloggen::aan() {
    return SMAppService.mainAppService.status == SMAppServiceStatusEnabled;
}

std::optional<std::string> StartBijInloggen::zet(bool aanzetten) {
    NSError* fout = nil;
    const BOOL gelukt = aanzetten ? [SMAppService.mainAppService registerAndReturnError:&fout]
                                  : [SMAppService.mainAppService unregisterAndReturnError:&fout];
    if (gelukt) {
        return std::nullopt;
    }
    return std::string(fout != nil ? fout.localizedDescription.UTF8String : "onbekende fout");
}

}  // namespace tolmo
