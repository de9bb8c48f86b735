#pragma once

#include <boost/asio/awaitable.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/beast/http/file_body.hpp>
#include <boost/beast/http/message.hpp>
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
// plain HTTP for a base URL that says so (tests). A request on a reused connection that the
// provider had already closed is sent once more on a new one.
class AanbiederKlant {
  public:
    using Antwoord = boost::beast::http::response<boost::beast::http::string_body>;

    AanbiederKlant(boost::asio::io_context& io, boost::asio::ssl::context& tls,
                   std::chrono::seconds timeout);
    ~AanbiederKlant();
    AanbiederKlant(const AanbiederKlant&) = delete;
    AanbiederKlant& operator=(const AanbiederKlant&) = delete;

    // nullopt when the provider could not be reached, timed out or broke off the reply.
    boost::asio::awaitable<std::optional<Antwoord>> stuur(
        const AanbiederDoel& doel,
        boost::beast::http::request<boost::beast::http::string_body>& verzoek);
    boost::asio::awaitable<std::optional<Antwoord>> stuur(
        const AanbiederDoel& doel,
        boost::beast::http::request<boost::beast::http::file_body>& verzoek);

  private:
    struct Verbinding;

    template <class Body>
    boost::asio::awaitable<std::optional<Antwoord>> wissel(
        const AanbiederDoel& doel, boost::beast::http::request<Body>& verzoek);
    boost::asio::awaitable<std::unique_ptr<Verbinding>> verbind(const AanbiederDoel& doel);

    boost::asio::io_context& io_;
    boost::asio::ssl::context& tls_;
    std::chrono::seconds timeout_;
    std::map<std::string, std::vector<std::unique_ptr<Verbinding>>> vrij_;
};

}  // namespace tolmo::server
