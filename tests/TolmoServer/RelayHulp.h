#pragma once

// What the relay tests share: the real tolmo-server started and its codes made through its own
// command line, WAV recordings in multipart bodies, sent raw over a socket.
#include <gtest/gtest.h>

#include <bit>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/write.hpp>
#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "nep/Kind.h"
#include "nep/LopendProces.h"

namespace tolmo::relay {

using Omgeving = std::map<std::string, std::string>;

// tolmo-server with this environment, once it listens.
inline std::unique_ptr<nep::LopendProces> startServer(const Omgeving& omgeving) {
    auto p = std::make_unique<nep::LopendProces>(TOLMO_SERVER_PAD, std::vector<std::string>{},
                                                 nep::LopendProces::Opties{omgeving});
    EXPECT_TRUE(p->wachtOpFout("luistert op", std::chrono::seconds(10)));
    return p;
}

// A new access code with this daily quota, as "tolmo-server code maak" prints it.
inline std::string maakCode(const Omgeving& omgeving, const std::string& naam, int minuten) {
    const auto r = nep::voerProcesUit(
        TOLMO_SERVER_PAD,
        {"code", "maak", "--naam", naam, "--minuten-per-dag", std::to_string(minuten)}, omgeving);
    EXPECT_EQ(r.status, 0) << r.fout;
    return r.uit.substr(0, r.uit.find('\n'));
}

// Today's seconds of the code, as "tolmo-server code lijst" reads them from storage; -1 when
// the code is not listed.
inline std::int64_t gebruikt(const Omgeving& omgeving, const std::string& naam) {
    const auto r = nep::voerProcesUit(TOLMO_SERVER_PAD, {"code", "lijst"}, omgeving);
    const auto regel = r.uit.find("\n" + naam + " ");
    return regel == std::string::npos ? -1 : std::stoll(r.uit.substr(regel + 41, 18));
}

// A WAV file of this many seconds at 16 kHz mono, 16 bits, every sample 0x1010: loud enough that
// no one takes it for silence.
inline std::string wav(std::uint32_t seconden) {
    static_assert(std::endian::native == std::endian::little, "the header is written as words");
    const std::uint32_t data = seconden * 32000;
    // "RIFF", size, "WAVE", "fmt ", 16, PCM and mono, rate, bytes a second, 2-byte frames of
    // 16 bits, "data", size.
    const std::uint32_t kop[] = {0x46464952, 36 + data, 0x45564157, 0x20746d66, 16,  0x00010001,
                                 16000,      32000,     0x00100002, 0x61746164, data};
    return std::string(reinterpret_cast<const char*>(kop), sizeof kop).append(data, '\x10');
}

inline std::string multipart(const std::string& audio) {
    return "--g\r\nContent-Disposition: form-data; name=\"model\"\r\n\r\nwhisper-1\r\n"
           "--g\r\nContent-Disposition: form-data; name=\"file\"; filename=\"d.wav\"\r\n"
           "Content-Type: audio/wav\r\n\r\n" +
           audio + "\r\n--g--\r\n";
}

// A whole transcription request with this multipart body (boundary "g"), closing the
// connection after it; `body` empty: the header alone, announcing `lengte` bytes.
inline std::string transcriptieVerzoek(const std::string& code, const std::string& body,
                                       const std::string& extraKop = "", std::size_t lengte = 0) {
    return "POST /v1/audio/transcriptions HTTP/1.1\r\nHost: x\r\nAuthorization: Bearer " + code +
           "\r\nX-Tolmo-Aanbieder: openai\r\nContent-Type: multipart/form-data; boundary=g\r\n" +
           extraKop + "Connection: close\r\nContent-Length: " +
           std::to_string(body.empty() ? lengte : body.size()) + "\r\n\r\n" + body;
}

// The same with `seconden` of audio.
inline std::string transcriptieVerzoek(const std::string& code, std::uint32_t seconden) {
    return transcriptieVerzoek(code, multipart(wav(seconden)));
}

inline boost::asio::ip::tcp::socket verstuur(boost::asio::io_context& io, std::uint16_t poort,
                                             const std::string& verzoek) {
    boost::asio::ip::tcp::socket s(io);
    s.connect({boost::asio::ip::make_address("127.0.0.1"), poort});
    boost::asio::write(s, boost::asio::buffer(verzoek));
    return s;
}

// Everything the server sends until it closes.
inline std::string leesAntwoord(boost::asio::ip::tcp::socket& s) {
    std::string antwoord;
    boost::system::error_code ec;
    boost::asio::read(s, boost::asio::dynamic_buffer(antwoord), ec);
    return antwoord;
}

// The status code of a raw reply, empty when the server closed without one.
inline std::string status(const std::string& antwoord) {
    return antwoord.size() < 12 ? "" : antwoord.substr(9, 3);
}

inline std::string stuur(std::uint16_t poort, const std::string& verzoek) {
    boost::asio::io_context io;
    auto s = verstuur(io, poort, verzoek);
    return leesAntwoord(s);
}

// A GET of `pad`, closing the connection after it.
inline std::string haal(std::uint16_t poort, const std::string& pad) {
    return stuur(poort, "GET " + pad + " HTTP/1.1\r\nHost: x\r\nConnection: close\r\n\r\n");
}

// /metrics once it holds `regel` (tried for five seconds).
inline std::string metricsMet(std::uint16_t poort, const std::string& regel) {
    std::string m;
    nep::wachtTot([&] {
        m = haal(poort, "/metrics");
        return m.find(regel) != std::string::npos;
    });
    EXPECT_NE(m.find(regel), std::string::npos) << m;
    return m;
}

// Sends n copies of a request, in turn to each port, all before reading any reply; the
// replies' statuses and how often each came.
inline std::map<std::string, int> tegelijk(int n, const std::vector<std::uint16_t>& poorten,
                                           const std::string& verzoek) {
    boost::asio::io_context io;
    std::vector<boost::asio::ip::tcp::socket> sockets;
    for (int i = 0; i < n; ++i) {
        sockets.push_back(verstuur(io, poorten[i % poorten.size()], verzoek));
    }
    std::map<std::string, int> statussen;
    for (auto& s : sockets) {
        const std::string a = leesAntwoord(s);
        // The per-minute limit and the quota both answer 429; the body says which.
        ++statussen[status(a) +
                    (a.find("limiet-verzoeken-per-minuut") < a.size() ? " per minuut" : "")];
    }
    return statussen;
}

}  // namespace tolmo::relay
