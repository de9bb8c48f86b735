#pragma once

#include <boost/asio/awaitable.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/beast/http/buffer_body.hpp>
#include <boost/beast/http/file_body.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>
#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "TolmoServer/AanbiederDoel.h"

namespace tolmo::server {

// The client side towards the providers, one per event loop so that its pool of kept-alive
// connections needs no lock: TLS with the system's certificates and host-name verification, or
// plain HTTP for a base URL that says so (tests). A reply is read header first, then its body
// in pieces as the provider sends them, so a streamed chat reply can be passed on as it comes.
//
// A request is sent at most once where the provider may have received it whole: a request is
// sent again on a new connection only when writing it failed, so the provider never saw its
// end. A pooled connection the provider has already closed is noticed before it is used.
class AanbiederKlant {
  public:
    struct Verbinding;

    // One exchange whose reply header has arrived.
    class Gesprek {
      public:
        explicit Gesprek(std::unique_ptr<Verbinding> v);
        ~Gesprek();
        Gesprek(const Gesprek&) = delete;
        Gesprek& operator=(const Gesprek&) = delete;

        [[nodiscard]] const boost::beast::http::response_header<>& kop() const;
        // The body's announced length; nullopt when it is chunked or runs until close.
        [[nodiscard]] std::optional<std::uint64_t> lengte() const;
        [[nodiscard]] bool klaar() const;
        // The next piece of the body, at most n bytes into buf; nullopt when the provider
        // broke off or timed out. Reading after klaar() returns 0.
        boost::asio::awaitable<std::optional<std::size_t>> lees(char* buf, std::size_t n);
        // The whole body, up to `max` bytes; nullopt when it broke off or is longer.
        boost::asio::awaitable<std::optional<std::string>> leesAlles(std::size_t max);

      private:
        friend class AanbiederKlant;
        std::unique_ptr<Verbinding> v_;
        boost::beast::http::response_parser<boost::beast::http::buffer_body> p_;
        std::string sleutel_;
        std::chrono::seconds timeout_{};
    };

    AanbiederKlant(boost::asio::io_context& io, boost::asio::ssl::context& tls,
                   std::chrono::seconds timeout);
    ~AanbiederKlant();
    AanbiederKlant(const AanbiederKlant&) = delete;
    AanbiederKlant& operator=(const AanbiederKlant&) = delete;

    // nullptr when the provider could not be reached, timed out or sent no reply header.
    boost::asio::awaitable<std::unique_ptr<Gesprek>> stuur(
        const AanbiederDoel& doel,
        boost::beast::http::request<boost::beast::http::string_body>& verzoek);
    boost::asio::awaitable<std::unique_ptr<Gesprek>> stuur(
        const AanbiederDoel& doel,
        boost::beast::http::request<boost::beast::http::file_body>& verzoek);

    // Takes the connection back into the pool when its reply was read to the end and the
    // provider keeps it open; otherwise it is closed.
    void geefTerug(std::unique_ptr<Gesprek> g);

  private:
    template <class Body>
    boost::asio::awaitable<std::unique_ptr<Gesprek>> wissel(
        const AanbiederDoel& doel, boost::beast::http::request<Body>& verzoek);
    boost::asio::awaitable<std::unique_ptr<Verbinding>> verbind(const AanbiederDoel& doel);

    boost::asio::io_context& io_;
    boost::asio::ssl::context& tls_;
    std::chrono::seconds timeout_;
    std::map<std::string, std::vector<std::unique_ptr<Verbinding>>> vrij_;
};

}  // namespace tolmo::server
