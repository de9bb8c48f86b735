#include "TolmoServer/AanbiederKlant.h"

#include <openssl/ssl.h>

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/ssl/host_name_verification.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/write.hpp>
#include <boost/beast/ssl/ssl_stream.hpp>

namespace tolmo::server {

namespace net = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
using tcp = net::ip::tcp;

namespace {

constexpr std::size_t maxVrijPerDoel = 64;
constexpr std::uint64_t maxAntwoordBytes = 16 * 1024 * 1024;

template <class Stream, class Body>
net::awaitable<beast::error_code> wisselOp(Stream& stream, beast::flat_buffer& buf,
                                           http::request<Body>& verzoek,
                                           http::response_parser<http::string_body>& p) {
    beast::error_code ec;
    co_await http::async_write(stream, verzoek, net::redirect_error(net::use_awaitable, ec));
    if (!ec) {
        co_await http::async_read(stream, buf, p, net::redirect_error(net::use_awaitable, ec));
    }
    co_return ec;
}

}  // namespace

struct AanbiederKlant::Verbinding {
    std::optional<beast::tcp_stream> plat;
    std::optional<beast::ssl_stream<beast::tcp_stream>> veilig;
    beast::flat_buffer buf;

    beast::tcp_stream& tcp() { return plat ? *plat : beast::get_lowest_layer(*veilig); }
};

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
net::awaitable<std::optional<AanbiederKlant::Antwoord>> AanbiederKlant::wissel(
    const AanbiederDoel& doel, http::request<Body>& verzoek) {
    const std::string sleutel = doel.sleutel();
    for (int poging = 0; poging < 2; ++poging) {
        std::unique_ptr<Verbinding> v;
        auto& vrij = vrij_[sleutel];
        const bool hergebruikt = !vrij.empty();
        if (hergebruikt) {
            v = std::move(vrij.back());
            vrij.pop_back();
        } else {
            v = co_await verbind(doel);
            if (!v) {
                co_return std::nullopt;
            }
        }
        if constexpr (std::is_same_v<Body, http::file_body>) {
            beast::error_code ec;
            verzoek.body().file().seek(0, ec);
        }
        http::response_parser<http::string_body> p;
        p.body_limit(maxAntwoordBytes);
        v->tcp().expires_after(timeout_);
        const beast::error_code ec = v->plat ? co_await wisselOp(*v->plat, v->buf, verzoek, p)
                                             : co_await wisselOp(*v->veilig, v->buf, verzoek, p);
        if (ec) {
            // A kept-alive connection the provider closed meanwhile fails before any reply.
            if (hergebruikt && poging == 0 && ec != beast::error::timeout && !p.got_some()) {
                continue;
            }
            co_return std::nullopt;
        }
        Antwoord antwoord = p.release();
        if (antwoord.keep_alive() && vrij_[sleutel].size() < maxVrijPerDoel) {
            v->tcp().expires_never();
            vrij_[sleutel].push_back(std::move(v));
        }
        co_return antwoord;
    }
    co_return std::nullopt;
}

net::awaitable<std::optional<AanbiederKlant::Antwoord>> AanbiederKlant::stuur(
    const AanbiederDoel& doel, http::request<http::string_body>& verzoek) {
    co_return co_await wissel(doel, verzoek);
}

net::awaitable<std::optional<AanbiederKlant::Antwoord>> AanbiederKlant::stuur(
    const AanbiederDoel& doel, http::request<http::file_body>& verzoek) {
    co_return co_await wissel(doel, verzoek);
}

}  // namespace tolmo::server
