#include "nep/Proces.h"

#include "nep/LopendProces.h"

namespace tolmo::nep {

ProcesUitkomst voerProcesUit(const std::string& programma, const std::vector<std::string>& args,
                             const std::map<std::string, std::string>& omgeving,
                             const std::string& invoer) {
    // The inputs our tests give fit in a pipe, so writing them all before reading cannot block.
    LopendProces proces(programma, args, {omgeving, false});
    proces.schrijf(invoer);
    return proces.wacht();
}

}  // namespace tolmo::nep
