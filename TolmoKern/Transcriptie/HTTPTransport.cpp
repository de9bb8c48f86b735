#include "TolmoKern/Transcriptie/HTTPTransport.h"

#include <algorithm>
#include <cctype>

namespace tolmo {

const std::string* zoekHeader(const HTTPHeaders& headers, std::string_view naam) {
    const auto gelijk = [naam](const std::string& kandidaat) {
        return std::equal(kandidaat.begin(), kandidaat.end(), naam.begin(), naam.end(),
                          [](char a, char b) {
                              return std::tolower(static_cast<unsigned char>(a)) ==
                                     std::tolower(static_cast<unsigned char>(b));
                          });
    };
    for (const auto& [n, waarde] : headers) {
        if (gelijk(n)) {
            return &waarde;
        }
    }
    return nullptr;
}

}  // namespace tolmo
