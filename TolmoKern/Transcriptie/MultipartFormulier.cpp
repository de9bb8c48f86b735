#include "TolmoKern/Transcriptie/MultipartFormulier.h"

#include <sys/mman.h>

#include <array>
#include <cstdint>
#include <fstream>
#include <random>
#include <system_error>

#include "TolmoKern/Cryptografie/Cryptografie.h"

namespace tolmo {
namespace {

constexpr std::string_view crlf = "\r\n";

// A recording is megabytes of fresh memory: asking for huge pages (where the system offers
// them on request) saves thousands of page faults while it is read in.
void vraagGrotePaginas(char* begin, std::size_t lengte) {
#ifdef MADV_HUGEPAGE
    constexpr std::uintptr_t groot = std::uintptr_t{2} << 20;
    const auto van = (reinterpret_cast<std::uintptr_t>(begin) + groot - 1) & ~(groot - 1);
    const auto tot = (reinterpret_cast<std::uintptr_t>(begin) + lengte) & ~(groot - 1);
    if (tot > van) {
        ::madvise(reinterpret_cast<void*>(van), tot - van, MADV_HUGEPAGE);
    }
#else
    (void)begin;
    (void)lengte;
#endif
}

}  // namespace

MultipartFormulier::MultipartFormulier() : grens_(nieuweGrens()) {}

std::string MultipartFormulier::nieuweGrens() {
    std::array<unsigned char, 16> b{};
    if (!Cryptografie::willekeurigeBytes(b)) {
        std::random_device bron;
        for (unsigned char& c : b) {
            c = static_cast<unsigned char>(bron());
        }
    }
    b[6] = static_cast<unsigned char>((b[6] & 0x0F) | 0x40);  // version 4
    b[8] = static_cast<unsigned char>((b[8] & 0x3F) | 0x80);  // RFC 4122 variant
    constexpr std::string_view hex = "0123456789ABCDEF";
    std::string uit = "Tolmo-";
    for (std::size_t i = 0; i < b.size(); ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) {
            uit += '-';
        }
        uit += hex[b[i] >> 4];
        uit += hex[b[i] & 0x0F];
    }
    return uit;
}

std::string MultipartFormulier::contentType() const {
    return "multipart/form-data; boundary=" + grens_;
}

void MultipartFormulier::voegTekstToe(std::string_view naam, std::string_view waarde) {
    buffer_.append("--").append(grens_).append(crlf);
    buffer_.append("Content-Disposition: form-data; name=\"").append(naam).append("\"");
    buffer_.append(crlf).append(crlf);
    buffer_.append(waarde).append(crlf);
}

void MultipartFormulier::kopVanBestand(std::string_view naam, std::string_view bestandsnaam,
                                       std::string_view type) {
    buffer_.append("--").append(grens_).append(crlf);
    buffer_.append("Content-Disposition: form-data; name=\"").append(naam);
    buffer_.append("\"; filename=\"").append(bestandsnaam).append("\"").append(crlf);
    buffer_.append("Content-Type: ").append(type).append(crlf).append(crlf);
}

void MultipartFormulier::voegBestandToe(std::string_view naam, std::string_view bestandsnaam,
                                        std::string_view type, std::string_view bytes) {
    kopVanBestand(naam, bestandsnaam, type);
    buffer_.append(bytes).append(crlf);
}

bool MultipartFormulier::leesBestandIn(std::string_view naam, std::string_view bestandsnaam,
                                       std::string_view type, const std::filesystem::path& pad) {
    std::error_code fout;
    const auto grootte = std::filesystem::file_size(pad, fout);
    if (fout || grootte == 0) {
        return false;
    }
    std::ifstream in(pad, std::ios::binary);
    if (!in) {
        return false;
    }
    const std::size_t oud = buffer_.size();
    kopVanBestand(naam, bestandsnaam, type);
    // Room for the file, its CRLF and the closing line now, so that neither reading nor
    // finishing the body moves (and briefly doubles) the audio.
    buffer_.reserve(buffer_.size() + grootte + crlf.size() + slotregel().size());
    const std::size_t begin = buffer_.size();
    vraagGrotePaginas(buffer_.data() + begin, grootte);
    buffer_.resize(begin + grootte);
    in.read(buffer_.data() + begin, static_cast<std::streamsize>(grootte));
    if (static_cast<std::uintmax_t>(in.gcount()) != grootte) {
        buffer_.resize(oud);
        return false;
    }
    buffer_.append(crlf);
    return true;
}

std::string MultipartFormulier::slotregel() const {
    return "--" + grens_ + "--\r\n";
}

std::string MultipartFormulier::body() const& {
    std::string uit;
    const std::string slot = slotregel();
    uit.reserve(buffer_.size() + slot.size());
    uit.append(buffer_).append(slot);
    return uit;
}

std::string MultipartFormulier::body() && {
    buffer_.append(slotregel());
    return std::move(buffer_);
}

}  // namespace tolmo
