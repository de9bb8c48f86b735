#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <boost/asio/write.hpp>
#include <boost/beast/core/string.hpp>
#include <cmath>
#include <vector>

#include "TolmoServer/AudioDuur.h"
#include "TolmoServer/MultipartBereik.h"
#include "TolmoServer/RelayBinnen.h"

// GCC 12 reports the coroutine frame's own sized operator delete as mismatched with the frame's
// allocation, a false positive for coroutine frames; Asio allocates and frees the frame through
// its own pair of operators.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
#endif

namespace tolmo::server {
namespace {

// A temporary file that disappears when it is closed: the upload lives on disk, not in memory.
// A short one (a dictation of seconds) lives in an anonymous memory file instead: making and
// dropping a file on a journalled file system cost more than all the rest of its request. The
// loop keeps a few of those for the next request (only grootte() bytes of one are ever read).
// An upload of unknown length (streamed while the user speaks) starts in memory and moves to
// disk once it outgrows the bound.
class Spoolbestand {
  public:
    static constexpr std::uint64_t maxInGeheugen = 256 * 1024;
    static constexpr std::size_t maxBewaard = 16;

    Spoolbestand(std::filesystem::path map, bool kort, std::vector<int>& bewaard)
        : map_(std::move(map)), bewaard_(bewaard) {
        if (kort && !bewaard_.empty()) {
            fd_ = bewaard_.back();
            bewaard_.pop_back();
        } else if (kort) {
            fd_ = ::memfd_create("tolmo-upload", MFD_CLOEXEC);
        }
        inGeheugen_ = fd_ >= 0;
        if (fd_ < 0) {
            fd_ = opSchijf();
        }
    }
    ~Spoolbestand() { geefTerug(fd_, inGeheugen_); }
    Spoolbestand(const Spoolbestand&) = delete;
    Spoolbestand& operator=(const Spoolbestand&) = delete;

    [[nodiscard]] int fd() const { return fd_; }
    [[nodiscard]] std::uint64_t grootte() const { return grootte_; }
    [[nodiscard]] bool inGeheugen() const { return inGeheugen_; }

    // All of it into `doel` (grootte() bytes).
    bool leesAlles(char* doel) const {
        std::uint64_t klaar = 0;
        while (klaar < grootte_) {
            const ssize_t r =
                ::pread(fd_, doel + klaar, grootte_ - klaar, static_cast<off_t>(klaar));
            if (r <= 0) {
                return false;
            }
            klaar += static_cast<std::uint64_t>(r);
        }
        return true;
    }

    bool schrijf(const char* data, std::size_t n) {
        if (inGeheugen_ && grootte_ + n > maxInGeheugen && !naarSchijf()) {
            return false;
        }
        while (n > 0) {
            const ssize_t r = ::pwrite(fd_, data, n, static_cast<off_t>(grootte_));
            if (r <= 0) {
                return false;
            }
            data += r;
            n -= static_cast<std::size_t>(r);
            grootte_ += static_cast<std::uint64_t>(r);
        }
        return true;
    }

  private:
    int opSchijf() const {
        int fd = ::open(map_.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
        if (fd < 0) {
            std::string sjabloon = (map_ / "tolmo-upload-XXXXXX").string();
            fd = ::mkostemp(sjabloon.data(), O_CLOEXEC);
            if (fd >= 0) {
                ::unlink(sjabloon.c_str());
            }
        }
        return fd;
    }

    void geefTerug(int fd, bool inGeheugen) {
        if (inGeheugen && bewaard_.size() < maxBewaard) {
            bewaard_.push_back(fd);
        } else if (fd >= 0) {
            ::close(fd);
        }
    }

    // What is in memory so far goes to a file on disk, which takes the rest.
    bool naarSchijf() {
        const int schijf = opSchijf();
        if (schijf < 0) {
            return false;
        }
        // Through a buffer: copy_file_range refuses to cross from memory to another file system.
        std::vector<char> blok(64 * 1024);
        for (std::uint64_t van = 0; van < grootte_;) {
            const ssize_t r =
                ::pread(fd_, blok.data(), std::min<std::uint64_t>(blok.size(), grootte_ - van),
                        static_cast<off_t>(van));
            if (r <= 0 || ::pwrite(schijf, blok.data(), static_cast<std::size_t>(r),
                                   static_cast<off_t>(van)) != r) {
                ::close(schijf);
                return false;
            }
            van += static_cast<std::uint64_t>(r);
        }
        geefTerug(fd_, true);
        fd_ = schijf;
        inGeheugen_ = false;
        return true;
    }

    std::filesystem::path map_;
    int fd_ = -1;
    bool inGeheugen_ = false;
    std::uint64_t grootte_ = 0;
    std::vector<int>& bewaard_;
};

}  // namespace

net::awaitable<Uitkomst> RelayServer::Binnen::stuurDoor(
    beast::tcp_stream& stream, beast::flat_buffer& buf, Parser& p, Lus& lus, const CodeRij& code,
    const AanbiederDoel& doel, const std::string& sleutel, bool transcriptie) {
    const std::uint64_t max = transcriptie ? c.maxUploadBytes : c.maxChatBytes;
    const std::string contentType(p.get()[http::field::content_type]);
    std::optional<Spoolbestand> spool;
    std::string chatBody;
    if (transcriptie) {
        const auto lengte = p.content_length();
        spool.emplace(c.spoolMap, !lengte || *lengte <= Spoolbestand::maxInGeheugen,
                      lus.spoolBestanden.fds);
        if (spool->fd() < 0) {
            log("Kan geen tijdelijk bestand maken in " + c.spoolMap.string() + ".");
            co_return sluitNa(weiger(500, "intern"));
        }
    }
    // Everything that could refuse the request without its body has been checked: a client
    // that waits before sending it may go on.
    beast::error_code ec;
    if (!p.is_done() && p.get().version() >= 11 &&
        beast::iequals(p.get()[http::field::expect], "100-continue")) {
        static constexpr std::string_view verder = "HTTP/1.1 100 Continue\r\n\r\n";
        stream.expires_after(c.bodyTimeout);
        co_await net::async_write(stream, net::buffer(verder),
                                  net::redirect_error(net::use_awaitable, ec));
        if (ec) {
            co_return sluitNa(weiger(400, "onvolledig"));
        }
    }
    // The body in blocks as large as the socket has (up to 64 KiB a system call), each counted
    // against the cap and stored as it arrives. The time-out is reset by every block: it bounds
    // a pause, not the upload. Not zero-filled: a chat request would otherwise pay for clearing
    // 64 KiB.
    const auto blok = std::make_unique_for_overwrite<char[]>(leesBlok);
    std::uint64_t gelezen = 0;
    const auto bewaarStuk = [&](const char* data, std::size_t n) {
        gelezen += n;
        return transcriptie ? spool->schrijf(data, n) : (chatBody.append(data, n), true);
    };
    bool opgeslagen = true;
    if (const auto lengte = p.content_length(); lengte && !p.chunked()) {
        // A known length (checked against the cap already): read straight from the socket.
        const auto vooraf = static_cast<std::size_t>(std::min<std::uint64_t>(*lengte, buf.size()));
        opgeslagen = bewaarStuk(static_cast<const char*>(buf.data().data()), vooraf);
        buf.consume(vooraf);
        while (opgeslagen && gelezen < *lengte) {
            stream.expires_after(c.bodyTimeout);
            const std::size_t n = co_await stream.async_read_some(
                net::buffer(blok.get(), static_cast<std::size_t>(
                                            std::min<std::uint64_t>(leesBlok, *lengte - gelezen))),
                net::redirect_error(net::use_awaitable, ec));
            if (ec) {
                // The client went away or paused too long: nobody is left to answer.
                co_return sluitNa(weiger(400, "onvolledig"));
            }
            opgeslagen = bewaarStuk(blok.get(), n);
        }
    } else {
        // Chunked: through the parser, with room for large reads, given back afterwards so an
        // idle kept-alive connection stays small.
        buf.reserve(leesBlok);
        while (opgeslagen && !p.is_done()) {
            p.get().body().data = blok.get();
            p.get().body().size = leesBlok;
            stream.expires_after(c.bodyTimeout);
            co_await http::async_read_some(stream, buf, p,
                                           net::redirect_error(net::use_awaitable, ec));
            if (ec == http::error::need_buffer) {
                ec = {};
            }
            const std::size_t n = leesBlok - p.get().body().size;
            if (ec == http::error::body_limit || gelezen + n > max) {
                co_return sluitNa(weiger(413, "te-groot"));
            }
            if (ec) {
                co_return sluitNa(weiger(400, "onvolledig"));
            }
            opgeslagen = bewaarStuk(blok.get(), n);
        }
        buf.shrink_to_fit();
    }
    if (!opgeslagen) {
        log("Kan de upload niet tijdelijk opslaan in " + c.spoolMap.string() + ".");
        co_return sluitNa(weiger(500, "intern"));
    }

    const auto nu = std::chrono::system_clock::now();
    const std::string dag = dagUtc(nu);
    std::optional<std::int64_t> reservering;
    double seconden = 0;
    if (transcriptie) {
        const auto bereik = MultipartBereik::zoek(spool->fd(), spool->grootte(),
                                                  MultipartBereik::grens(contentType));
        if (bereik && bereik->bestandsDelen > 1) {
            // Which of two files a provider transcribes is its own choice; the minutes would be
            // counted for one of them.
            co_return json(400,
                           {{"fout", "audio"},
                            {"melding",
                             "Het verzoek bevat meer dan één bestand. Stuur alleen de opname, "
                             "in het veld file."}},
                           "audio");
        }
        const auto duur =
            bereik ? AudioDuur::seconden(spool->fd(), bereik->begin, bereik->lengte, bereik->type)
                   : std::nullopt;
        if (!duur || !(*duur > 0)) {
            co_return weiger(400, "audio");
        }
        if (*duur > c.maxAudioSeconden) {
            co_return weiger(413, "te-lang");
        }
        seconden = *duur;
        const auto gevraagd = static_cast<std::int64_t>(std::ceil(*duur));
        try {
            reservering =
                co_await opOpslag([&] { return opslag->reserveer(code.id, dag, gevraagd); });
        } catch (const OpslagFout& f) {
            log(std::string("Opslag niet bereikbaar: ") + f.what());
            co_return opslagWeg();
        }
        if (!reservering) {
            co_return limiet("minuten-per-dag", totMiddernacht(nu));
        }
    }

    const std::string doelPad =
        doel.pad + std::string(transcriptie ? transcriptieRoute : chatRoute);
    const auto vul = [&](auto& verzoek) {
        verzoek.method(http::verb::post);
        verzoek.target(doelPad);
        verzoek.version(11);
        verzoek.set(http::field::host, doel.host);
        verzoek.set(http::field::authorization, "Bearer " + sleutel);
        verzoek.set(http::field::content_type, contentType);
        verzoek.keep_alive(true);
    };
    const auto begin = Klok::now();
    std::unique_ptr<AanbiederKlant::Gesprek> gesprek;
    if (transcriptie && spool->inGeheugen()) {
        // A short upload goes out from memory in one send; Beast sends a file 4 KiB at a time.
        http::request<http::string_body> verzoek;
        vul(verzoek);
        verzoek.set(http::field::accept, "application/json");
        verzoek.body().resize(spool->grootte());
        if (!spool->leesAlles(verzoek.body().data())) {
            co_return sluitNa(weiger(500, "intern"));
        }
        verzoek.prepare_payload();
        gesprek = co_await lus.klant.stuur(doel, verzoek);
    } else if (transcriptie) {
        http::request<http::file_body> verzoek;
        vul(verzoek);
        verzoek.set(http::field::accept, "application/json");
        beast::file f;
        f.native_handle(::dup(spool->fd()));
        verzoek.body().reset(std::move(f), ec);
        verzoek.prepare_payload();
        gesprek = co_await lus.klant.stuur(doel, verzoek);
    } else {
        http::request<http::string_body> verzoek;
        vul(verzoek);
        // A streamed chat reply comes as server-sent events; the provider picks by the body.
        verzoek.set(http::field::accept, "application/json, text/event-stream");
        verzoek.body() = std::move(chatBody);
        verzoek.prepare_payload();
        gesprek = co_await lus.klant.stuur(doel, verzoek);
    }
    metingen.aanbiederDuur(std::chrono::duration<double>(Klok::now() - begin).count());

    const unsigned status = gesprek ? gesprek->kop().result_int() : 0;
    const bool gelukt = status >= 200 && status <= 299;
    Uitkomst u;
    if (reservering) {
        u.verrekening.emplace(*reservering, gelukt);
    }
    if (!gesprek || status >= 500) {
        u.antwoord = aanbiederWeg().antwoord;
        u.soort = "aanbieder-niet-beschikbaar";
        co_return u;
    }
    if (status == 401 || status == 403) {
        // The operator's key was refused; the provider's text may quote part of it.
        log("De aanbieder weigerde de sleutel van de server (status " + std::to_string(status) +
            "). Controleer de sleutel.");
        Uitkomst w = weiger(502, "aanbieder-sleutel");
        w.verrekening = u.verrekening;
        co_return w;
    }
    if (status == 429) {
        Uitkomst w = limiet("aanbieder", 30);
        if (const auto na = gesprek->kop()[http::field::retry_after]; !na.empty()) {
            w.antwoord.set(http::field::retry_after, na);
        }
        w.verrekening = u.verrekening;
        co_return w;
    }
    if (gelukt) {
        metingen.audio(seconden);
    }
    u.antwoord.result(status);
    const auto type = gesprek->kop()[http::field::content_type];
    u.antwoord.set(http::field::content_type, type.empty() ? "application/json" : type);
    u.stroom = std::move(gesprek);
    co_return u;
}

// The provider's reply to the client as it arrives: the header with the first piece, then each
// piece as the provider sends it (server-sent events of a streamed chat reply one by one).
// False when the connection cannot serve another request.
net::awaitable<bool> RelayServer::Binnen::stroomDoor(beast::tcp_stream& stream, Uitkomst& u,
                                                     Lus& lus) {
    auto& g = *u.stroom;
    http::response<http::buffer_body> r;
    r.base() = u.antwoord.base();
    if (const auto lengte = g.lengte()) {
        r.content_length(*lengte);
    } else {
        r.chunked(true);
    }
    http::response_serializer<http::buffer_body> sr(r);
    const auto blok = std::make_unique_for_overwrite<char[]>(leesBlok);
    beast::error_code ec;
    for (;;) {
        const auto n = co_await g.lees(blok.get(), leesBlok);
        if (!n) {
            // The provider broke off: the client has part of a reply and must see it end.
            co_return false;
        }
        if (*n == 0 && !g.klaar()) {
            continue;  // a chunk's header, no data yet
        }
        r.body().data = *n ? blok.get() : nullptr;
        r.body().size = *n;
        r.body().more = !g.klaar();
        stream.expires_after(c.bodyTimeout);
        co_await http::async_write(stream, sr, net::redirect_error(net::use_awaitable, ec));
        if (ec == http::error::need_buffer) {
            ec = {};
        }
        if (ec) {
            co_return false;
        }
        if (sr.is_done()) {
            break;
        }
    }
    lus.klant.geefTerug(std::move(u.stroom));
    co_return true;
}

}  // namespace tolmo::server
