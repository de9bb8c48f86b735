#include "Tolmo/linux/freedesktop/Bediening.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <iterator>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace tolmo {
namespace {

using Klok = std::chrono::steady_clock;

constexpr std::array<std::pair<Opdracht, std::string_view>, 5> woorden{{
    {Opdracht::start, "start"},
    {Opdracht::stop, "stop"},
    {Opdracht::wissel, "wissel"},
    {Opdracht::annuleer, "annuleer"},
    {Opdracht::toon, "toon"},
}};

// A command line longer than this is not one of ours.
constexpr std::size_t maximaleRegel = 64;

std::system_error systeemFout(const std::string& wat) {
    return {errno, std::generic_category(), wat};
}

std::optional<sockaddr_un> adres(const std::filesystem::path& pad) {
    sockaddr_un a{};
    a.sun_family = AF_UNIX;
    const std::string& s = pad.native();
    if (s.size() >= sizeof(a.sun_path)) {
        return std::nullopt;
    }
    std::memcpy(a.sun_path, s.c_str(), s.size() + 1);
    return a;
}

class Descriptor {
  public:
    explicit Descriptor(int fd) : fd_(fd) {}
    ~Descriptor() {
        if (fd_ >= 0) {
            ::close(fd_);
        }
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    [[nodiscard]] int fd() const { return fd_; }

  private:
    int fd_;
};

// Reads up to a newline before the deadline; nullopt on time-out, end of stream or an overlong
// line.
std::optional<std::string> leesRegel(int fd, Klok::time_point tot) {
    std::string regel;
    while (true) {
        const auto rest = std::chrono::duration_cast<std::chrono::milliseconds>(tot - Klok::now());
        if (rest.count() <= 0) {
            return std::nullopt;
        }
        pollfd p{fd, POLLIN, 0};
        const int n = ::poll(&p, 1, static_cast<int>(rest.count()));
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            return std::nullopt;
        }
        std::array<char, maximaleRegel> buffer{};
        const ssize_t gelezen = ::recv(fd, buffer.data(), buffer.size(), 0);
        if (gelezen < 0 && errno == EINTR) {
            continue;
        }
        if (gelezen <= 0) {
            return std::nullopt;
        }
        regel.append(buffer.data(), static_cast<std::size_t>(gelezen));
        if (const auto einde = regel.find('\n'); einde != std::string::npos) {
            regel.resize(einde);
            return regel;
        }
        if (regel.size() > maximaleRegel) {
            return std::nullopt;
        }
    }
}

void schrijfRegel(int fd, std::string_view tekst) {
    const std::string regel = std::string(tekst) + "\n";
    // Lines this short go out whole; a peer that has gone is its own problem, not ours.
    [[maybe_unused]] const auto n = ::send(fd, regel.data(), regel.size(), MSG_NOSIGNAL);
}

}  // namespace

const std::string_view gebruik =
    "Gebruik: tolmo-app [OPDRACHT]\n"
    "Zonder opdracht start Tolmo; draait Tolmo al, dan toont het systeemvak de stand.\n"
    "Opdrachten aan de Tolmo die draait (voor sneltoetsen van het bureaublad):\n"
    "  --start      begin een opname\n"
    "  --stop       stop de opname; de tekst wordt geplakt\n"
    "  --wissel     begin een opname, of stop de lopende\n"
    "  --annuleer   gooi de opname weg, of stop het verwerken\n"
    "Bij het starten:\n"
    "  --sessie x11|wayland   kies zelf met welk beeldsysteem Tolmo werkt (anders volgt\n"
    "                         Tolmo de sessie: WAYLAND_DISPLAY, XDG_SESSION_TYPE, DISPLAY)\n"
    "Zonder Tolmo te starten:\n"
    "  --bindingen sway|hyprland   de regels voor je compositor die de houdtoets en de\n"
    "                              wisselsneltoets aan Tolmo koppelen\n"
    "  --hulp       deze uitleg\n";

std::string_view woord(Opdracht opdracht) {
    for (const auto& [o, w] : woorden) {
        if (o == opdracht) {
            return w;
        }
    }
    return "toon";
}

std::optional<Opdracht> opdrachtVoor(std::string_view w) {
    for (const auto& [o, tekst] : woorden) {
        if (tekst == w) {
            return o;
        }
    }
    return std::nullopt;
}

Aanroep leesAanroep(const std::vector<std::string>& args) {
    Aanroep a;
    for (auto it = args.begin(); it != args.end(); ++it) {
        const std::string& arg = *it;
        if (arg == "--hulp" || arg == "--help" || arg == "-h") {
            return {Aanroep::Soort::hulp, Opdracht::toon, {}, {}};
        }
        if (arg == "--sessie" || arg.starts_with("--sessie=")) {
            std::string waarde;
            if (arg == "--sessie") {
                if (std::next(it) == args.end()) {
                    return {Aanroep::Soort::fout,
                            Opdracht::toon,
                            "na --sessie hoort x11 of wayland",
                            {}};
                }
                waarde = *++it;
            } else {
                waarde = arg.substr(std::string_view("--sessie=").size());
            }
            a.sessie = weergavesysteemUit(waarde);
            if (!a.sessie) {
                return {Aanroep::Soort::fout,
                        Opdracht::toon,
                        "onbekende sessie: " + waarde + " (kies x11 of wayland)",
                        {}};
            }
            continue;
        }
        const auto o =
            arg.starts_with("--") ? opdrachtVoor(std::string_view(arg).substr(2)) : std::nullopt;
        // "toon" is what a plain second launch sends; it is no option of its own.
        if (!o || *o == Opdracht::toon) {
            return {Aanroep::Soort::fout, Opdracht::toon, "onbekende optie: " + arg, {}};
        }
        if (a.soort == Aanroep::Soort::opdracht) {
            return {Aanroep::Soort::fout, Opdracht::toon, "geef één opdracht tegelijk", {}};
        }
        a.soort = Aanroep::Soort::opdracht;
        a.opdracht = *o;
    }
    return a;
}

std::filesystem::path bedieningsMap() {
    if (const char* xdg = std::getenv("XDG_RUNTIME_DIR"); xdg != nullptr && *xdg == '/') {
        return xdg;
    }
    const uid_t uid = ::getuid();
    const std::filesystem::path map = "/tmp/tolmo-" + std::to_string(uid);
    if (::mkdir(map.c_str(), 0700) != 0 && errno != EEXIST) {
        throw std::runtime_error("kan " + map.string() + " niet maken: " + std::strerror(errno));
    }
    // lstat: a link planted there by someone else is not our folder.
    struct stat st {};
    if (::lstat(map.c_str(), &st) != 0 || !S_ISDIR(st.st_mode) || st.st_uid != uid ||
        (st.st_mode & 077) != 0) {
        throw std::runtime_error("de map " + map.string() +
                                 " is niet alleen van jou; Tolmo gebruikt haar niet");
    }
    return map;
}

std::filesystem::path bedieningsPad() {
    return bedieningsMap() / "tolmo-app.sock";
}

Bezorging stuur(const std::filesystem::path& pad, Opdracht opdracht,
                std::chrono::milliseconds maximaal) {
    using U = Bezorging::Uitslag;
    const auto a = adres(pad);
    if (!a) {
        return {U::mislukt, "het pad " + pad.string() + " is te lang voor een socket"};
    }
    const Descriptor s(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (s.fd() < 0) {
        return {U::mislukt, std::strerror(errno)};
    }
    if (::connect(s.fd(), reinterpret_cast<const sockaddr*>(&*a), sizeof(*a)) != 0) {
        // No socket, or one left by an instance that has gone.
        if (errno == ENOENT || errno == ECONNREFUSED) {
            return {U::draaitNiet, {}};
        }
        return {U::mislukt, "verbinden met " + pad.string() + ": " + std::strerror(errno)};
    }
    schrijfRegel(s.fd(), woord(opdracht));
    const auto antwoord = leesRegel(s.fd(), Klok::now() + maximaal);
    if (antwoord == "ok") {
        return {U::afgeleverd, {}};
    }
    if (antwoord) {
        return {U::mislukt, "de Tolmo die draait kent de opdracht " + std::string(woord(opdracht)) +
                                " niet (een oudere versie?)"};
    }
    return {U::mislukt, "Tolmo draait maar antwoordt niet"};
}

int stuurVanafOpdrachtregel(Opdracht opdracht, std::string_view programma) {
    try {
        const Bezorging b = stuur(bedieningsPad(), opdracht);
        if (b.uitslag == Bezorging::Uitslag::afgeleverd) {
            return 0;
        }
        if (b.uitslag == Bezorging::Uitslag::draaitNiet) {
            std::cerr << programma << ": Tolmo draait niet. Start eerst tolmo-app.\n";
        } else {
            std::cerr << programma << ": " << b.fout << "\n";
        }
    } catch (const std::exception& e) {
        std::cerr << programma << ": " << e.what() << "\n";
    }
    return 1;
}

BedieningsServer::BedieningsServer(std::filesystem::path pad) : pad_(std::move(pad)) {
    const auto a = adres(pad_);
    if (!a) {
        throw std::system_error(std::make_error_code(std::errc::filename_too_long), pad_.string());
    }
    struct stat st {};
    if (::lstat(pad_.c_str(), &st) == 0 && S_ISSOCK(st.st_mode)) {
        ::unlink(pad_.c_str());
    }
    fd_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd_ < 0) {
        throw systeemFout("socket");
    }
    if (::bind(fd_, reinterpret_cast<const sockaddr*>(&*a), sizeof(*a)) != 0 ||
        ::chmod(pad_.c_str(), 0600) != 0 || ::listen(fd_, 16) != 0) {
        const auto fout = systeemFout(pad_.string());
        ::close(fd_);
        throw fout;
    }
}

BedieningsServer::~BedieningsServer() {
    ::close(fd_);
    ::unlink(pad_.c_str());
}

std::vector<Opdracht> BedieningsServer::verwerk() {
    std::vector<Opdracht> opdrachten;
    while (true) {
        const int verbinding = ::accept4(fd_, nullptr, nullptr, SOCK_CLOEXEC);
        if (verbinding < 0) {
            if (errno == EINTR || errno == ECONNABORTED) {
                continue;
            }
            return opdrachten;
        }
        const Descriptor v(verbinding);
        ucred wie{};
        socklen_t lengte = sizeof(wie);
        if (::getsockopt(v.fd(), SOL_SOCKET, SO_PEERCRED, &wie, &lengte) != 0 ||
            wie.uid != ::getuid()) {
            continue;
        }
        const auto regel = leesRegel(v.fd(), Klok::now() + std::chrono::milliseconds(100));
        if (!regel) {
            continue;
        }
        const auto o = opdrachtVoor(*regel);
        schrijfRegel(v.fd(), o ? "ok" : "onbekend");
        if (o) {
            opdrachten.push_back(*o);
        }
    }
}

}  // namespace tolmo
