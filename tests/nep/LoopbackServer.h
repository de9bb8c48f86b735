#pragma once

// <utility> before Asio: Boost 1.74's headers use std::exchange without including it.
#include <utility>

#include <sys/socket.h>

#include <algorithm>
#include <boost/asio/buffer.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/buffers_range.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/string.hpp>
#include <boost/beast/http.hpp>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <limits>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace tolmo::nep {

// A port on 127.0.0.1 where nothing listens (until someone takes it).
inline std::uint16_t vrijePoort() {
    boost::asio::io_context io;
    boost::asio::ip::tcp::acceptor a(io, {boost::asio::ip::make_address("127.0.0.1"), 0});
    return a.local_endpoint().port();
}

// An HTTP/1.1 server on 127.0.0.1 (a free port) for tests and benchmarks that talk to a real
// socket. It records every request (raw bytes, method, target, headers, body, when its last
// byte arrived) and how many TCP connections it accepted, and answers from a script: each
// request takes the next scripted answer (the last one repeats), or a handler decides. An
// answer can be delayed, can stall the upload by not reading the body, can close the
// connection without a reply, or can be bytes that are not HTTP at all. It honours
// "Expect: 100-continue" and keep-alive. Each connection has its own thread; the destructor
// wakes and joins them all.
class LoopbackServer {
  public:
    using Headers = std::vector<std::pair<std::string, std::string>>;

    struct Verzoek {
        std::string methode;
        std::string doel;
        Headers headers;
        std::string body;
        std::string ruw;
        std::chrono::steady_clock::time_point laatsteByte;

        [[nodiscard]] std::optional<std::string> header(std::string_view naam) const {
            for (const auto& [n, w] : headers) {
                if (boost::beast::iequals(n, naam)) {
                    return w;
                }
            }
            return std::nullopt;
        }
    };

    struct Antwoord {
        enum class Soort { http, sluitZonderAntwoord, ruweBytes };

        Soort soort = Soort::http;
        unsigned status = 200;
        Headers headers{};
        std::string body{};
        // Wait this long after the whole request arrived before answering.
        std::chrono::milliseconds vertraging{0};
        // Stop reading for this long once the request's header is in, so an upload stalls.
        // Only scripted answers can do this: a handler sees the request when it is complete.
        std::chrono::milliseconds pauzeVoorBody{0};
        std::string ruw{};

        static Antwoord json(unsigned status, std::string body, Headers extra = {}) {
            extra.insert(extra.begin(), {"Content-Type", "application/json"});
            return {.status = status, .headers = std::move(extra), .body = std::move(body)};
        }
        static Antwoord sluit() { return {.soort = Soort::sluitZonderAntwoord}; }
        static Antwoord ruweBytes(std::string bytes) {
            return {.soort = Soort::ruweBytes, .ruw = std::move(bytes)};
        }
    };

    struct Opties {
        // Off for large uploads (benchmarks): only the length and the header are recorded.
        bool bewaarBody = true;
    };

    LoopbackServer() : LoopbackServer(Opties{}) {}
    explicit LoopbackServer(Opties opties)
        : opties_(opties),
          acceptor_(io_, {boost::asio::ip::make_address("127.0.0.1"), 0}),
          accepteerder_([this] { accepteer(); }) {}

    ~LoopbackServer() {
        {
            // Under the lock, so that no connection thread closes its socket (and the number is
            // reused) in between.
            const std::lock_guard slot(m_);
            stoppen_ = true;
            for (int fd : openSockets_) {
                ::shutdown(fd, SHUT_RDWR);
            }
        }
        cv_.notify_all();
        // Wakes the blocking accept; the loop sees stoppen_ and ends.
        {
            boost::asio::io_context io;
            boost::asio::ip::tcp::socket wek(io);
            boost::system::error_code ec;
            wek.connect(acceptor_.local_endpoint(), ec);
        }
        accepteerder_.join();
        for (std::thread& t : draden_) {
            t.join();
        }
    }

    LoopbackServer(const LoopbackServer&) = delete;
    LoopbackServer& operator=(const LoopbackServer&) = delete;

    // "http://127.0.0.1:<port>/", ready to take a path.
    [[nodiscard]] std::string url() const {
        return "http://127.0.0.1:" + std::to_string(acceptor_.local_endpoint().port()) + "/";
    }

    void zetAntwoorden(std::vector<Antwoord> script) {
        const std::lock_guard slot(m_);
        script_ = std::move(script);
        behandelaar_ = nullptr;
    }
    void zetAntwoord(Antwoord a) { zetAntwoorden({std::move(a)}); }
    void zetBehandelaar(std::function<Antwoord(const Verzoek&)> behandelaar) {
        const std::lock_guard slot(m_);
        behandelaar_ = std::move(behandelaar);
    }

    [[nodiscard]] std::vector<Verzoek> verzoeken() const {
        const std::lock_guard slot(m_);
        return verzoeken_;
    }
    [[nodiscard]] std::size_t aantalVerzoeken() const {
        const std::lock_guard slot(m_);
        return verzoeken_.size();
    }
    [[nodiscard]] std::size_t aantalVerbindingen() const {
        const std::lock_guard slot(m_);
        return verbindingen_;
    }
    // Waits until the headers of n requests have arrived; false when that took longer than max.
    bool wachtOpBegonnen(std::size_t n, std::chrono::milliseconds max) {
        std::unique_lock slot(m_);
        return cv_.wait_for(slot, max, [&] { return begonnen_ >= n; });
    }

  private:
    // A request body that is kept only when asked.
    struct TelBody {
        struct value_type {
            std::string data;
            bool bewaar = true;
        };
        class reader {
          public:
            template <bool isRequest, class Fields>
            reader(boost::beast::http::header<isRequest, Fields>&, value_type& b) : b_(b) {}
            void init(const boost::optional<std::uint64_t>&, boost::system::error_code& ec) {
                ec = {};
            }
            template <class Buffers>
            std::size_t put(const Buffers& buffers, boost::system::error_code& ec) {
                std::size_t n = 0;
                for (const auto b : boost::beast::buffers_range_ref(buffers)) {
                    if (b_.bewaar) {
                        b_.data.append(static_cast<const char*>(b.data()), b.size());
                    }
                    n += b.size();
                }
                ec = {};
                return n;
            }
            void finish(boost::system::error_code& ec) { ec = {}; }

          private:
            value_type& b_;
        };
    };

    void accepteer() {
        for (;;) {
            boost::asio::ip::tcp::socket s(io_);
            boost::system::error_code ec;
            acceptor_.accept(s, ec);
            const std::lock_guard slot(m_);
            if (stoppen_) {
                return;
            }
            if (ec) {
                continue;
            }
            ++verbindingen_;
            openSockets_.push_back(s.native_handle());
            draden_.emplace_back([this, s = std::move(s)]() mutable { bedien(std::move(s)); });
        }
    }

    // Waits d, or less when the server stops; false when it stops.
    bool wacht(std::chrono::milliseconds d) {
        std::unique_lock slot(m_);
        return !cv_.wait_for(slot, d, [&] { return stoppen_; });
    }

    Antwoord kiesUitScript() {
        const std::lock_guard slot(m_);
        ++begonnen_;
        const std::size_t i = volgende_++;
        cv_.notify_all();
        if (script_.empty()) {
            return Antwoord::json(200, R"({"text":"ok"})");
        }
        return script_[std::min(i, script_.size() - 1)];
    }

    void bedien(boost::asio::ip::tcp::socket s) {
        boost::system::error_code ec;
        s.set_option(boost::asio::ip::tcp::no_delay(true), ec);
        boost::beast::flat_buffer buffer;
        while (bedienEen(s, buffer)) {
        }
        {
            const std::lock_guard slot(m_);
            std::erase(openSockets_, s.native_handle());
        }
        s.shutdown(boost::asio::ip::tcp::socket::shutdown_both, ec);
        s.close(ec);
    }

    // One request and its answer; false when the connection is to be closed.
    bool bedienEen(boost::asio::ip::tcp::socket& s, boost::beast::flat_buffer& buffer) {
        namespace http = boost::beast::http;
        http::request_parser<TelBody> parser;
        parser.body_limit(std::numeric_limits<std::uint64_t>::max());
        parser.eager(true);
        parser.get().body().bewaar = opties_.bewaarBody;

        Verzoek v;
        std::optional<Antwoord> gekozen;
        bool meer = buffer.size() == 0;
        boost::system::error_code ec;
        while (!parser.is_done()) {
            if (meer) {
                const std::size_t n = s.read_some(buffer.prepare(1 << 16), ec);
                if (ec) {
                    return false;
                }
                buffer.commit(n);
            }
            const std::size_t n = parser.put(buffer.data(), ec);
            if (opties_.bewaarBody) {
                v.ruw.append(static_cast<const char*>(buffer.data().data()), n);
            }
            buffer.consume(n);
            if (ec && ec != http::error::need_more) {
                return false;
            }
            meer = ec || buffer.size() == 0;
            if (!gekozen && parser.is_header_done()) {
                gekozen = kiesUitScript();
                if (gekozen->pauzeVoorBody.count() > 0 && !wacht(gekozen->pauzeVoorBody)) {
                    return false;
                }
                const auto expect = parser.get()[http::field::expect];
                if (boost::beast::iequals(expect, "100-continue")) {
                    boost::asio::write(s, boost::asio::buffer("HTTP/1.1 100 Continue\r\n\r\n", 25),
                                       ec);
                }
            }
        }
        v.laatsteByte = std::chrono::steady_clock::now();
        auto& bericht = parser.get();
        v.methode = std::string(bericht.method_string());
        v.doel = std::string(bericht.target());
        for (const auto& veld : bericht) {
            v.headers.emplace_back(std::string(veld.name_string()), std::string(veld.value()));
        }
        v.body = std::move(bericht.body().data);
        const bool keepAlive = bericht.keep_alive();

        std::function<Antwoord(const Verzoek&)> behandelaar;
        {
            const std::lock_guard slot(m_);
            behandelaar = behandelaar_;
        }
        Antwoord a = behandelaar ? behandelaar(v) : std::move(*gekozen);
        {
            const std::lock_guard slot(m_);
            verzoeken_.push_back(std::move(v));
        }
        cv_.notify_all();
        if (a.vertraging.count() > 0 && !wacht(a.vertraging)) {
            return false;
        }
        switch (a.soort) {
            case Antwoord::Soort::sluitZonderAntwoord:
                return false;
            case Antwoord::Soort::ruweBytes:
                boost::asio::write(s, boost::asio::buffer(a.ruw), ec);
                return false;
            case Antwoord::Soort::http:
                break;
        }
        http::response<http::string_body> antwoord;
        antwoord.version(11);
        antwoord.result(a.status);
        for (const auto& [naam, waarde] : a.headers) {
            antwoord.insert(naam, waarde);
        }
        antwoord.body() = std::move(a.body);
        antwoord.keep_alive(keepAlive);
        antwoord.prepare_payload();
        http::write(s, antwoord, ec);
        return !ec && keepAlive;
    }

    Opties opties_;
    boost::asio::io_context io_;
    boost::asio::ip::tcp::acceptor acceptor_;

    mutable std::mutex m_;
    std::condition_variable cv_;
    bool stoppen_ = false;
    std::vector<Antwoord> script_;
    std::function<Antwoord(const Verzoek&)> behandelaar_;
    std::vector<Verzoek> verzoeken_;
    std::size_t verbindingen_ = 0;
    std::size_t begonnen_ = 0;
    std::size_t volgende_ = 0;
    std::vector<int> openSockets_;
    std::vector<std::thread> draden_;

    // Last: the thread starts in the constructor and uses every member above.
    std::thread accepteerder_;
};

}  // namespace tolmo::nep
