#include "Tolmo/MacRegelaar/SysteemFout.h"

#include <utility>

namespace tolmo {

std::string systeemFout(const std::error_code& code) {
    if (!code) {
        return "onbekende fout";
    }
    static const std::pair<std::errc, const char*> woorden[] = {
        {std::errc::no_space_on_device, "de schijf is vol"},
        {std::errc::filename_too_long, "de bestandsnaam is te lang"},
        {std::errc::read_only_file_system, "de schijf is alleen-lezen"},
        {std::errc::permission_denied, "geen toestemming"},
        {std::errc::operation_not_permitted, "geen toestemming"},
        {std::errc::io_error, "het apparaat gaf een lees- of schrijffout"},
        {std::errc::no_such_device, "het apparaat is weg"},
        {std::errc::no_such_device_or_address, "het apparaat is weg"},
        {std::errc::no_such_file_or_directory, "het bestand of de map bestaat niet"},
        {std::errc::too_many_files_open, "te veel open bestanden"},
    };
    for (const auto& [fout, woord] : woorden) {
        if (code == fout) {
            return std::string(woord) + " (" + code.message() + ")";
        }
    }
    return code.message();
}

std::string foutOmschrijving(const std::exception& fout) {
    if (const auto* s = dynamic_cast<const std::system_error*>(&fout)) {
        return systeemFout(s->code());
    }
    return fout.what();
}

}  // namespace tolmo
