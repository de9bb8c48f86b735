#include "TolmoServer/MultipartBereik.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <vector>

namespace tolmo::server {
namespace {

constexpr std::size_t blok = 64 * 1024;
constexpr std::size_t maxKop = 8 * 1024;

std::string klein(std::string_view s) {
    std::string uit(s);
    std::transform(uit.begin(), uit.end(), uit.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return uit;
}

std::size_t leesOp(int fd, std::uint64_t plek, char* buf, std::size_t n) {
    std::size_t gelezen = 0;
    while (gelezen < n) {
        const ssize_t r =
            ::pread(fd, buf + gelezen, n - gelezen, static_cast<off_t>(plek + gelezen));
        if (r <= 0) {
            break;
        }
        gelezen += static_cast<std::size_t>(r);
    }
    return gelezen;
}

// The first place at or after `vanaf` where `naald` starts, reading the file in blocks that
// overlap by the needle's length.
std::optional<std::uint64_t> vind(int fd, std::uint64_t grootte, std::uint64_t vanaf,
                                  std::string_view naald) {
    std::vector<char> buf(blok + naald.size());
    while (vanaf < grootte) {
        // Never past the body: the file may hold older bytes beyond it.
        const std::size_t n =
            leesOp(fd, vanaf, buf.data(),
                   static_cast<std::size_t>(std::min<std::uint64_t>(buf.size(), grootte - vanaf)));
        const std::string_view stuk(buf.data(), n);
        if (const auto p = stuk.find(naald); p != std::string_view::npos) {
            return vanaf + p;
        }
        if (n < buf.size()) {
            return std::nullopt;
        }
        vanaf += blok;
    }
    return std::nullopt;
}

// What a part's headers say about it: its field name, whether it carries a file name, and its
// Content-Type. Header names and parameter names ignore case; values may be quoted.
struct Deel {
    std::string naam;
    bool heeftBestandsnaam = false;
    std::string type;
};

std::string_view bijgesneden(std::string_view s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) {
        s.remove_prefix(1);
    }
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t')) {
        s.remove_suffix(1);
    }
    return s;
}

Deel leesKoppen(std::string_view koppen) {
    Deel d;
    while (!koppen.empty()) {
        const auto eol = koppen.find("\r\n");
        const std::string_view regel = koppen.substr(0, eol);
        koppen = eol == std::string_view::npos ? std::string_view() : koppen.substr(eol + 2);
        const auto dubbelepunt = regel.find(':');
        if (dubbelepunt == std::string_view::npos) {
            continue;
        }
        const std::string naam = klein(bijgesneden(regel.substr(0, dubbelepunt)));
        const std::string_view waarde = bijgesneden(regel.substr(dubbelepunt + 1));
        if (naam == "content-type") {
            d.type = std::string(waarde);
            continue;
        }
        if (naam != "content-disposition") {
            continue;
        }
        // form-data; name="file"; filename="d.wav" (a ';' inside quotes belongs to the value)
        std::size_t i = waarde.find(';');
        while (i != std::string_view::npos && i < waarde.size()) {
            std::size_t j = i + 1;
            const auto is = waarde.find('=', j);
            const std::string sleutel = klein(bijgesneden(waarde.substr(j, is - j)));
            if (is == std::string_view::npos) {
                break;
            }
            j = is + 1;
            while (j < waarde.size() && waarde[j] == ' ') {
                ++j;
            }
            std::string w;
            if (j < waarde.size() && waarde[j] == '"') {
                for (++j; j < waarde.size() && waarde[j] != '"'; ++j) {
                    if (waarde[j] == '\\' && j + 1 < waarde.size()) {
                        ++j;
                    }
                    w += waarde[j];
                }
                i = waarde.find(';', j);
            } else {
                i = waarde.find(';', j);
                w = std::string(bijgesneden(waarde.substr(j, i - j)));
            }
            if (sleutel == "name") {
                d.naam = w;
            } else if (sleutel == "filename" || sleutel == "filename*") {
                d.heeftBestandsnaam = true;
            }
        }
    }
    return d;
}

}  // namespace

std::string MultipartBereik::grens(std::string_view contentType) {
    const std::string laag = klein(contentType);
    if (!laag.starts_with("multipart/form-data")) {
        return {};
    }
    const auto p = laag.find("boundary=");
    if (p == std::string::npos) {
        return {};
    }
    std::string g(contentType.substr(p + 9));
    g = g.substr(0, g.find(';'));
    if (g.size() >= 2 && g.front() == '"' && g.back() == '"') {
        g = g.substr(1, g.size() - 2);
    }
    if (g.empty() || g.size() > 70) {
        return {};
    }
    return g;
}

std::optional<MultipartBereik> MultipartBereik::zoek(int fd, std::uint64_t grootte,
                                                     std::string_view grens) {
    if (grens.empty()) {
        return std::nullopt;
    }
    const std::string eerste = "--" + std::string(grens);
    const std::string scheiding = "\r\n" + eerste;
    std::string begin(eerste.size(), '\0');
    if (grootte < begin.size() || leesOp(fd, 0, begin.data(), begin.size()) != begin.size() ||
        begin != eerste) {
        return std::nullopt;
    }
    std::optional<MultipartBereik> bestand;
    unsigned bestanden = 0;
    std::uint64_t plek = eerste.size();
    std::string kop(maxKop, '\0');
    for (;;) {
        // After a delimiter: "--" ends the body, "\r\n" starts a part's headers.
        kop.resize(static_cast<std::size_t>(
            std::min<std::uint64_t>(maxKop, grootte - std::min(plek, grootte))));
        kop.resize(leesOp(fd, plek, kop.data(), kop.size()));
        if (kop.starts_with("--")) {
            break;
        }
        if (!kop.starts_with("\r\n")) {
            return std::nullopt;
        }
        const auto einde = kop.find("\r\n\r\n");
        if (einde == std::string::npos) {
            return std::nullopt;
        }
        const std::uint64_t data = plek + einde + 4;
        const auto volgende = vind(fd, grootte, data, scheiding);
        if (!volgende) {
            return std::nullopt;
        }
        const Deel deel = leesKoppen(std::string_view(kop).substr(2, einde - 2));
        if (deel.naam == "file" || deel.heeftBestandsnaam) {
            ++bestanden;
        }
        if (deel.naam == "file" && !bestand) {
            bestand = MultipartBereik{data, *volgende - data, deel.type, 0};
        }
        plek = *volgende + scheiding.size();
    }
    if (bestand) {
        bestand->bestandsDelen = bestanden;
    }
    return bestand;
}

}  // namespace tolmo::server
