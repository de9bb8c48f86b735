#include <fcntl.h>
#include <unistd.h>

#include <cmath>

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
class Spoolbestand {
  public:
    explicit Spoolbestand(const std::filesystem::path& map) {
        fd_ = ::open(map.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
        if (fd_ < 0) {
            std::string sjabloon = (map / "tolmo-upload-XXXXXX").string();
            fd_ = ::mkostemp(sjabloon.data(), O_CLOEXEC);
            if (fd_ >= 0) {
                ::unlink(sjabloon.c_str());
            }
        }
    }
    ~Spoolbestand() {
        if (fd_ >= 0) {
            ::close(fd_);
        }
    }
    Spoolbestand(const Spoolbestand&) = delete;
    Spoolbestand& operator=(const Spoolbestand&) = delete;

    [[nodiscard]] int fd() const { return fd_; }
    [[nodiscard]] std::uint64_t grootte() const { return grootte_; }

    bool schrijf(const char* data, std::size_t n) {
        while (n > 0) {
            const ssize_t r = ::write(fd_, data, n);
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
    int fd_ = -1;
    std::uint64_t grootte_ = 0;
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
        spool.emplace(c.spoolMap);
        if (spool->fd() < 0) {
            log("Kan geen tijdelijk bestand maken in " + c.spoolMap.string() + ".");
            co_return Uitkomst{weiger(500, "intern").antwoord, false, "intern"};
        }
    }
    // The body in blocks: counted against the cap as it arrives, each block to the spool file.
    // Not zero-filled: a chat request would otherwise pay for clearing 64 KiB.
    const auto blok = std::make_unique_for_overwrite<char[]>(leesBlok);
    std::uint64_t gelezen = 0;
    while (!p.is_done()) {
        p.get().body().data = blok.get();
        p.get().body().size = leesBlok;
        beast::error_code ec;
        stream.expires_after(c.bodyTimeout);
        co_await http::async_read(stream, buf, p, net::redirect_error(net::use_awaitable, ec));
        if (ec == http::error::need_buffer) {
            ec = {};
        }
        const std::size_t n = leesBlok - p.get().body().size;
        gelezen += n;
        if (ec == http::error::body_limit || gelezen > max) {
            co_return Uitkomst{weiger(413, "te-groot").antwoord, false, "te-groot"};
        }
        if (ec) {
            // The client went away or stalled: nobody is left to answer.
            co_return Uitkomst{weiger(400, "onvolledig").antwoord, false, "onvolledig"};
        }
        if (transcriptie ? !spool->schrijf(blok.get(), n)
                         : (chatBody.append(blok.get(), n), false)) {
            log("Kan de upload niet tijdelijk opslaan in " + c.spoolMap.string() + ".");
            co_return Uitkomst{weiger(500, "intern").antwoord, false, "intern"};
        }
    }

    const auto nu = std::chrono::system_clock::now();
    const std::string dag = dagUtc(nu);
    std::optional<std::int64_t> reservering;
    double seconden = 0;
    if (transcriptie) {
        const auto bereik = MultipartBereik::zoek(spool->fd(), spool->grootte(),
                                                  MultipartBereik::grens(contentType));
        const auto duur =
            bereik ? AudioDuur::seconden(spool->fd(), bereik->begin, bereik->lengte) : std::nullopt;
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
        verzoek.set(http::field::accept, "application/json");
        verzoek.keep_alive(true);
    };
    const auto begin = Klok::now();
    std::optional<AanbiederKlant::Antwoord> antwoord;
    if (transcriptie) {
        http::request<http::file_body> verzoek;
        vul(verzoek);
        beast::file f;
        f.native_handle(::dup(spool->fd()));
        beast::error_code ec;
        verzoek.body().reset(std::move(f), ec);
        verzoek.prepare_payload();
        antwoord = co_await lus.klant.stuur(doel, verzoek);
    } else {
        http::request<http::string_body> verzoek;
        vul(verzoek);
        verzoek.body() = std::move(chatBody);
        verzoek.prepare_payload();
        antwoord = co_await lus.klant.stuur(doel, verzoek);
    }
    metingen.aanbiederDuur(std::chrono::duration<double>(Klok::now() - begin).count());

    const bool gelukt = antwoord && antwoord->result_int() >= 200 && antwoord->result_int() <= 299;
    if (reservering) {
        try {
            co_await opOpslag([&] {
                opslag->verreken(*reservering, gelukt);
                return true;
            });
        } catch (const OpslagFout& f) {
            bewaar(*reservering, gelukt, f);
        }
    }
    if (!antwoord || antwoord->result_int() >= 500) {
        co_return aanbiederWeg();
    }
    const unsigned status = antwoord->result_int();
    if (status == 401 || status == 403) {
        // The operator's key was refused; the provider's text may quote part of it.
        log("De aanbieder weigerde de sleutel van de server (status " + std::to_string(status) +
            "). Controleer de sleutel.");
        co_return weiger(502, "aanbieder-sleutel");
    }
    if (status == 429) {
        Uitkomst u = limiet("aanbieder", 30);
        if (const auto na = (*antwoord)[http::field::retry_after]; !na.empty()) {
            u.antwoord.set(http::field::retry_after, na);
        }
        co_return u;
    }
    if (gelukt) {
        metingen.audio(seconden);
    }
    Uitkomst u;
    u.antwoord.result(status);
    const auto type = (*antwoord)[http::field::content_type];
    u.antwoord.set(http::field::content_type, type.empty() ? "application/json" : type);
    u.antwoord.body() = std::move(antwoord->body());
    co_return u;
}

}  // namespace tolmo::server
