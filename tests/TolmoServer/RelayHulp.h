#pragma once

// What the relay tests send: WAV recordings in multipart bodies, raw over a socket.
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/write.hpp>
#include <cstdint>
#include <string>

namespace tolmo::relay {

// A WAV file of this many seconds of a 500 Hz square wave at 16 kHz mono.
inline std::string wav(std::uint32_t seconden) {
    const std::uint32_t data = seconden * 32000;
    std::string w = "RIFF";
    const auto u32 = [&w](std::uint32_t v) {
        for (int i = 0; i < 4; ++i) {
            w += static_cast<char>((v >> (8 * i)) & 0xff);
        }
    };
    u32(36 + data);
    w += "WAVEfmt ";
    u32(16);
    u32(0x00010001);  // PCM, mono
    u32(16000);
    u32(32000);
    u32(0x00100002);  // block 2, 16 bits
    w += "data";
    u32(data);
    for (std::uint32_t i = 0; i < data / 2; ++i) {
        const std::int16_t s = (i / 16) % 2 ? 4000 : -4000;
        w += static_cast<char>(s & 0xff);
        w += static_cast<char>((s >> 8) & 0xff);
    }
    return w;
}

inline std::string multipart(const std::string& audio) {
    return "--g\r\nContent-Disposition: form-data; name=\"model\"\r\n\r\nwhisper-1\r\n"
           "--g\r\nContent-Disposition: form-data; name=\"file\"; filename=\"d.wav\"\r\n"
           "Content-Type: audio/wav\r\n\r\n" +
           audio + "\r\n--g--\r\n";
}

// A whole transcription request of `seconden` of audio, closing the connection after it.
inline std::string transcriptieVerzoek(const std::string& code, std::uint32_t seconden) {
    const std::string body = multipart(wav(seconden));
    return "POST /v1/audio/transcriptions HTTP/1.1\r\nHost: x\r\nAuthorization: Bearer " + code +
           "\r\nX-Tolmo-Aanbieder: openai\r\nContent-Type: multipart/form-data; boundary=g\r\n"
           "Connection: close\r\nContent-Length: " +
           std::to_string(body.size()) + "\r\n\r\n" + body;
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

inline std::string stuur(std::uint16_t poort, const std::string& verzoek) {
    boost::asio::io_context io;
    auto s = verstuur(io, poort, verzoek);
    return leesAntwoord(s);
}

// A GET of `pad`, closing the connection after it.
inline std::string haal(std::uint16_t poort, const std::string& pad) {
    return stuur(poort, "GET " + pad + " HTTP/1.1\r\nHost: x\r\nConnection: close\r\n\r\n");
}

// The status code of a raw reply, empty when the server closed without one.
inline std::string status(const std::string& antwoord) {
    return antwoord.size() < 12 ? "" : antwoord.substr(9, 3);
}

}  // namespace tolmo::relay
