#include "TolmoServer/AanbiederKlant.h"

#include <openssl/ssl.h>
#include <sys/socket.h>

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/ssl/host_name_verification.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/write.hpp>
#include <boost/beast/ssl/ssl_stream.hpp>
#include <cerrno>

// GCC 12 reports the coroutine frame's own sized operator delete as mismatched with the frame's
// allocation, a false positive for coroutine frames.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
#endif

namespace tolmo::server {

namespace net = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
using tcp = net::ip::tcp;

namespace {

constexpr std::size_t maxVrijPerDoel = 64;
// The socket is read in blocks this large: a small buffer would make one system call per 512
// bytes of a reply.
constexpr std::size_t leesBlok = 64 * 1024;

}  // namespace

struct AanbiederKlant::Verbinding {
    std::optional<beast::tcp_stream> plat;
    std::optional<beast::ssl_stream<beast::tcp_stream>> veilig;
    beast::flat_buffer buf;

    beast::tcp_stream& tcp() { return plat ? *plat : beast::get_lowest_layer(*veilig); }

    // A pooled connection is idle: anything readable on it (the provider's FIN, a reset, a
    // TLS alert) means the provider is done with it, and a request sent on it would be lost
    // after it left.
    bool nogOpen() {
        char c = 0;
        const ssize_t r = ::recv(tcp().socket().native_handle(), &c, 1, MSG_PEEK | MSG_DONTWAIT);
        return r < 0 && (errno == EAGAIN || errno == EWOULDBLOCK);
    }

    // Runs one Beast operation on whichever stream this connection has, plain or TLS; the
    // operation is given the stream and the completion token.
    template <class Operatie>
    net::awaitable<beast::error_code> opStroom(Operatie operatie) {
        beast::error_code ec;
        const auto teken = net::redirect_error(net::use_awaitable, ec);
        if (plat) {
            co_await operatie(*plat, teken);
        } else {
            co_await operatie(*veilig, teken);
        }
        co_return ec;
    }

    template <class Body>
    net::awaitable<beast::error_code> schrijf(http::request<Body>& verzoek) {
        return opStroom([&verzoek](auto& stroom, auto teken) {
            return http::async_write(stroom, verzoek, teken);
        });
    }

    template <class Parser>
    net::awaitable<beast::error_code> leesKop(Parser& p) {
        return opStroom([this, &p](auto& stroom, auto teken) {
            return http::async_read_header(stroom, buf, p, teken);
        });
    }

    template <class Parser>
    net::awaitable<beast::error_code> leesStuk(Parser& p) {
        return opStroom([this, &p](auto& stroom, auto teken) {
            return http::async_read_some(stroom, buf, p, teken);
        });
    }
};

AanbiederKlant::Gesprek::Gesprek(std::unique_ptr<Verbinding> v) : v_(std::move(v)) {
    p_.body_limit(boost::none);
}

AanbiederKlant::Gesprek::~Gesprek() = default;

const http::response_header<>& AanbiederKlant::Gesprek::kop() const {
    return p_.get().base();
}

std::optional<std::uint64_t> AanbiederKlant::Gesprek::lengte() const {
    if (p_.chunked()) {
        return std::nullopt;
    }
    if (const auto n = p_.content_length()) {
        return *n;
    }
    return p_.is_done() ? std::optional<std::uint64_t>(0) : std::nullopt;
}

bool AanbiederKlant::Gesprek::klaar() const {
    return p_.is_done();
}

net::awaitable<std::optional<std::size_t>> AanbiederKlant::Gesprek::lees(char* buf, std::size_t n) {
    if (p_.is_done()) {
        co_return 0;
    }
    p_.get().body().data = buf;
    p_.get().body().size = n;
    v_->tcp().expires_after(timeout_);
    beast::error_code ec = co_await v_->leesStuk(p_);
    if (ec == http::error::need_buffer) {
        ec = {};
    }
    if (ec) {
        co_return std::nullopt;
    }
    co_return n - p_.get().body().size;
}

net::awaitable<std::optional<std::string>> AanbiederKlant::Gesprek::leesAlles(std::size_t max) {
    std::string uit;
    char blok[16 * 1024];
    while (!klaar()) {
        const auto n = co_await lees(blok, sizeof blok);
        if (!n || uit.size() + *n > max) {
            co_return std::nullopt;
        }
        uit.append(blok, *n);
    }
    co_return uit;
}

AanbiederKlant::AanbiederKlant(net::io_context& io, net::ssl::context& tls,
                               std::chrono::seconds timeout)
    : io_(io), tls_(tls), timeout_(timeout) {}

AanbiederKlant::~AanbiederKlant() = default;

net::awaitable<std::unique_ptr<AanbiederKlant::Verbinding>> AanbiederKlant::verbind(
    const AanbiederDoel& doel) {
    beast::error_code ec;
    tcp::resolver resolver(io_);
    const auto adressen = co_await resolver.async_resolve(
        doel.host, doel.poort, net::redirect_error(net::use_awaitable, ec));
    if (ec) {
        co_return nullptr;
    }
    auto v = std::make_unique<Verbinding>();
    v->buf.reserve(leesBlok);
    if (doel.tls) {
        v->veilig.emplace(io_, tls_);
    } else {
        v->plat.emplace(io_);
    }
    v->tcp().expires_after(timeout_);
    co_await v->tcp().async_connect(adressen, net::redirect_error(net::use_awaitable, ec));
    if (ec) {
        co_return nullptr;
    }
    v->tcp().socket().set_option(tcp::no_delay(true), ec);
    if (doel.tls) {
        // SNI; the macro SSL_set_tlsext_host_name casts in C style.
        if (SSL_ctrl(v->veilig->native_handle(), SSL_CTRL_SET_TLSEXT_HOSTNAME,
                     TLSEXT_NAMETYPE_host_name, const_cast<char*>(doel.host.c_str())) != 1) {
            co_return nullptr;
        }
        v->veilig->set_verify_callback(net::ssl::host_name_verification(doel.host));
        co_await v->veilig->async_handshake(net::ssl::stream_base::client,
                                            net::redirect_error(net::use_awaitable, ec));
        if (ec) {
            co_return nullptr;
        }
    }
    co_return v;
}

template <class Body>
net::awaitable<std::unique_ptr<AanbiederKlant::Gesprek>> AanbiederKlant::wissel(
    const AanbiederDoel& doel, http::request<Body>& verzoek) {
    const std::string sleutel = doel.sleutel();
    for (int poging = 0; poging < 2; ++poging) {
        std::unique_ptr<Verbinding> v;
        auto& vrij = vrij_[sleutel];
        while (!v && !vrij.empty()) {
            v = std::move(vrij.back());
            vrij.pop_back();
            if (!v->nogOpen()) {
                v.reset();
            }
        }
        if (!v) {
            v = co_await verbind(doel);
            if (!v) {
                co_return nullptr;
            }
        }
        if constexpr (std::is_same_v<Body, http::file_body>) {
            beast::error_code ec;
            verzoek.body().file().seek(0, ec);
        }
        v->tcp().expires_after(timeout_);
        // Awaited in statements of their own: GCC 12 mis-builds a co_await in an if's condition.
        const beast::error_code ec = co_await v->schrijf(verzoek);
        if (ec) {
            // The provider never got the whole request, so it cannot have acted on it: once
            // more on a fresh connection, unless it simply did not answer in time.
            if (poging == 0 && ec != beast::error::timeout) {
                continue;
            }
            co_return nullptr;
        }
        // From here the provider may have the whole request: whatever fails now, it is not
        // sent again, or a provider that did the work would be paid twice.
        auto g = std::make_unique<Gesprek>(std::move(v));
        g->sleutel_ = sleutel;
        g->timeout_ = timeout_;
        const beast::error_code kopFout = co_await g->v_->leesKop(g->p_);
        if (kopFout) {
            co_return nullptr;
        }
        co_return g;
    }
    co_return nullptr;
}

net::awaitable<std::unique_ptr<AanbiederKlant::Gesprek>> AanbiederKlant::stuur(
    const AanbiederDoel& doel, http::request<http::string_body>& verzoek) {
    co_return co_await wissel(doel, verzoek);
}

net::awaitable<std::unique_ptr<AanbiederKlant::Gesprek>> AanbiederKlant::stuur(
    const AanbiederDoel& doel, http::request<http::file_body>& verzoek) {
    co_return co_await wissel(doel, verzoek);
}

void AanbiederKlant::geefTerug(std::unique_ptr<Gesprek> g) {
    if (!g || !g->klaar() || !g->p_.get().keep_alive()) {
        return;
    }
    auto& vrij = vrij_[g->sleutel_];
    if (vrij.size() < maxVrijPerDoel) {
        g->v_->tcp().expires_never();
        vrij.push_back(std::move(g->v_));
    }
}

}  // namespace tolmo::server
