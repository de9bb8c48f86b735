// tolmo-server as operators run it: the real binary on loopback in front of a loopback fake
// provider, reached by the app's own transport, by the tolmo command and by npm's openai package.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <boost/asio/ip/tcp.hpp>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include <boost/asio/read_until.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/string_body.hpp>
#include <cmath>
#include <condition_variable>
#include <regex>
#include <sstream>
#include <thread>

#include "RelayHulp.h"
#include "TolmoKern/Transcriptie/CurlTransport.h"
#include "TolmoKern/Transcriptie/HerkenningsFout.h"
#include "TolmoKern/Transcriptie/OpenAITranscriptie.h"
#include "TolmoKern/Transcriptie/StroomUpload.h"
#include "TolmoKern/Transcriptie/TolmoServerTransport.h"
#include "nep/LoopbackServer.h"
#include "nep/TijdelijkeOpname.h"

namespace tolmo {
namespace {

namespace fs = std::filesystem;
namespace net = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
using namespace std::chrono_literals;
using nep::LoopbackServer;
using relay::multipart;
using relay::status;
using relay::wav;

const std::string sleutel = "sk-nep-DEZE-SLEUTEL-MAG-NERGENS-STAAN";
const std::string zin = "Dit is een lange zin die de nepaanbieder teruggeeft als transcriptie.";

// A QuickTime/M4A file of 16-bit PCM whose index (moov) comes after the audio, as the mov
// muxer writes it by default: the duration can only be read by seeking to the end.
std::string m4aMetIndexAchteraan(int seconden) {
    AVFormatContext* oc = nullptr;
    avformat_alloc_output_context2(&oc, nullptr, "mov", nullptr);
    AVStream* st = avformat_new_stream(oc, nullptr);
    st->codecpar->codec_type = AVMEDIA_TYPE_AUDIO;
    st->codecpar->codec_id = AV_CODEC_ID_PCM_S16LE;
    st->codecpar->sample_rate = 16000;
    av_channel_layout_default(&st->codecpar->ch_layout, 1);
    st->time_base = {1, 16000};
    avio_open_dyn_buf(&oc->pb);
    EXPECT_EQ(avformat_write_header(oc, nullptr), 0);
    AVPacket* p = av_packet_alloc();
    av_new_packet(p, seconden * 32000);
    std::fill_n(p->data, p->size, 1);
    p->pts = p->dts = 0;
    p->duration = seconden * 16000;
    EXPECT_EQ(av_interleaved_write_frame(oc, p), 0);
    av_packet_free(&p);
    av_write_trailer(oc);
    std::uint8_t* data = nullptr;
    const int lengte = avio_close_dyn_buf(oc->pb, &data);
    const std::string bytes(reinterpret_cast<const char*>(data), static_cast<std::size_t>(lengte));
    av_free(data);
    avformat_free_context(oc);
    const auto moov = bytes.find("moov");
    EXPECT_TRUE(moov != std::string::npos && moov > bytes.find("mdat"));
    return bytes;
}

// `seconden` of a tone, encoded by libavcodec's `encoder` into libavformat's `muxer` with these
// muxer options.
std::string gecodeerd(const char* muxer, const char* encoder, double seconden, int tempo = 48000,
                      const char* opties = "") {
    AVFormatContext* oc = nullptr;
    avformat_alloc_output_context2(&oc, nullptr, muxer, nullptr);
    const AVCodec* codec = avcodec_find_encoder_by_name(encoder);
    AVCodecContext* cc = avcodec_alloc_context3(codec);
    cc->sample_rate = tempo;
    cc->sample_fmt = codec->sample_fmts ? codec->sample_fmts[0] : AV_SAMPLE_FMT_S16;
    av_channel_layout_default(&cc->ch_layout, 1);
    cc->time_base = {1, cc->sample_rate};
    cc->bit_rate = std::string_view(encoder) == "aac" ? 32000 : 0;
    EXPECT_EQ(avcodec_open2(cc, codec, nullptr), 0);
    AVStream* st = avformat_new_stream(oc, nullptr);
    avcodec_parameters_from_context(st->codecpar, cc);
    st->time_base = cc->time_base;
    avio_open_dyn_buf(&oc->pb);
    AVDictionary* d = nullptr;
    av_dict_parse_string(&d, opties, "=", ":", 0);
    EXPECT_EQ(avformat_write_header(oc, &d), 0);
    av_dict_free(&d);
    AVFrame* f = av_frame_alloc();
    AVPacket* p = av_packet_alloc();
    const auto codeer = [&](AVFrame* frame) {
        avcodec_send_frame(cc, frame);
        while (avcodec_receive_packet(cc, p) == 0) {
            av_packet_rescale_ts(p, cc->time_base, st->time_base);
            av_interleaved_write_frame(oc, p);
        }
    };
    const int totaal = static_cast<int>(seconden * cc->sample_rate);
    for (int klaar = 0; klaar < totaal; klaar += cc->frame_size) {
        f->nb_samples = std::min(cc->frame_size, totaal - klaar);
        f->format = cc->sample_fmt;
        av_channel_layout_copy(&f->ch_layout, &cc->ch_layout);
        av_frame_get_buffer(f, 0);
        for (int i = 0; i < f->nb_samples; ++i) {
            const double w = 0.25 * std::sin((klaar + i) * 0.05);
            if (f->format == AV_SAMPLE_FMT_FLTP) {
                reinterpret_cast<float*>(f->data[0])[i] = static_cast<float>(w);
            } else {
                reinterpret_cast<std::int16_t*>(f->data[0])[i] =
                    static_cast<std::int16_t>(32000 * w);
            }
        }
        f->pts = klaar;
        codeer(f);
        av_frame_unref(f);
    }
    codeer(nullptr);
    av_write_trailer(oc);
    std::uint8_t* data = nullptr;
    const int lengte = avio_close_dyn_buf(oc->pb, &data);
    std::string bytes(reinterpret_cast<const char*>(data), static_cast<std::size_t>(lengte));
    av_free(data);
    av_packet_free(&p);
    av_frame_free(&f);
    avcodec_free_context(&cc);
    avformat_free_context(oc);
    return bytes;
}

// Ogg whose last page claims one second in all (its granule position, with a valid CRC).
std::string oggMetValsEinde(std::string ogg) {
    const auto pagina = ogg.rfind("OggS");
    for (int i = 0; i < 8; ++i) {
        ogg[pagina + 6 + i] = static_cast<char>(((48000 + 312ull) >> (8 * i)) & 0xff);
    }
    ogg.replace(pagina + 22, 4, 4, '\0');
    std::uint32_t crc = 0;
    for (const unsigned char c : std::string_view(ogg).substr(pagina)) {
        crc ^= std::uint32_t{c} << 24;
        for (int b = 0; b < 8; ++b) {
            crc = (crc & 0x80000000u) ? (crc << 1) ^ 0x04c11db7u : crc << 1;
        }
    }
    for (int i = 0; i < 4; ++i) {
        ogg[pagina + 22 + i] = static_cast<char>((crc >> (8 * i)) & 0xff);
    }
    return ogg;
}

// FLAC whose STREAMINFO claims 48,000 samples (one second) in all.
std::string flacMetValsEinde(std::string flac) {
    flac[21] = static_cast<char>(flac[21] & 0xf0);  // the top 4 of the 36 bits
    flac.replace(22, 4, std::string("\x00\x00\xbb\x80", 4));
    return flac;
}

// WAV (16 kHz, 16 bits, mono) whose header claims one second in all.
std::string wavMetValsEinde(std::string w) {
    w.replace(4, 4, std::string("\x24\x7d\x00\x00", 4));   // 36 + 32000
    w.replace(40, 4, std::string("\x00\x7d\x00\x00", 4));  // 32000
    return w;
}

std::string deel(const std::string& naam, const std::string& bestand, const std::string& bytes) {
    return "--g\r\nContent-Disposition: form-data; name=\"" + naam + "\"" +
           (bestand.empty() ? "" : "; filename=\"" + bestand + "\"") + "\r\n\r\n" + bytes + "\r\n";
}

class RelayTest : public ::testing::Test {
  protected:
    void SetUp() override {
        nep_.zetBehandelaar([this](const LoopbackServer::Verzoek& v) {
            if (kapot_) {
                return LoopbackServer::Antwoord::json(500, R"({"error":"weg"})");
            }
            if (v.header("Authorization") != "Bearer " + sleutel) {
                return LoopbackServer::Antwoord::json(401, R"({"error":"sleutel"})");
            }
            if (v.doel.ends_with("/v1/chat/completions")) {
                return LoopbackServer::Antwoord::json(
                    200,
                    R"({"choices":[{"message":{"role":"assistant","content":"Opgeschoond door de nep."}}]})");
            }
            return LoopbackServer::Antwoord::json(200, R"({"text":")" + zin + R"("})");
        });
        server_ = relay::startServer(omgeving_);
    }

    // Stops the server with SIGTERM and checks that neither the provider's key nor any access
    // code reached its log, a reply or what the clients printed.
    void TearDown() override {
        server_->stuurSignaal(SIGTERM);
        const nep::ProcesUitkomst r = server_->wacht();
        EXPECT_EQ(r.status, 0) << r.fout;
        uitvoer_ += r.uit + r.fout;
        for (const auto& geheim : geheimen_) {
            EXPECT_EQ(uitvoer_.find(geheim), std::string::npos) << geheim;
        }
    }

    std::string maakCode(const std::string& naam, int minuten) {
        return geheimen_.emplace_back(relay::maakCode(omgeving_, naam, minuten));
    }

    nep::ProcesUitkomst voer(const std::string& programma, const std::vector<std::string>& args,
                             relay::Omgeving extra = {}) {
        extra.insert(omgeving_.begin(), omgeving_.end());
        auto r = nep::voerProcesUit(programma, args, extra);
        uitvoer_ += r.uit + r.fout;
        return r;
    }

    nep::TijdelijkeMap tijdelijk_;
    const fs::path map_ = tijdelijk_.pad();
    LoopbackServer nep_;
    std::atomic<bool> kapot_{false};
    const std::uint16_t poort_ = nep::vrijePoort();
    const std::string url_ = "http://127.0.0.1:" + std::to_string(poort_);
    // A derived fixture changes these before SetUp starts the server.
    relay::Omgeving omgeving_{{"XDG_STATE_HOME", (map_ / "staat").string()},
                              {"XDG_CONFIG_HOME", (map_ / "config").string()},
                              {"TMPDIR", map_.string()},
                              {"TOLMO_SERVER_CONFIG", ""},
                              {"TOLMO_SERVER_LUISTER", url_.substr(7)},
                              {"TOLMO_SERVER_OPENAI_URL", nep_.url()},
                              {"TOLMO_SERVER_MISTRAL_URL", nep_.url()},
                              {"TOLMO_SERVER_MAX_AUDIO_MINUTEN", "1"},
                              {"TOLMO_SERVER_VERZOEKEN_PER_MINUUT", "100000"},
                              {"TOLMO_SERVER_DRADEN", "2"},
                              {"TOLMO_SERVER_KOP_TIMEOUT", "2"},
                              {"TOLMO_SERVER_BODY_TIMEOUT", "2"},
                              {"TOLMO_SERVER_MAX_VERBINDINGEN_PER_ADRES", "450"},
                              {"OPENAI_API_KEY", sleutel},
                              {"MISTRAL_API_KEY", sleutel}};
    std::unique_ptr<nep::LopendProces> server_;
    std::vector<std::string> geheimen_{sleutel};  // the provider's key and every code
    std::string uitvoer_;
};

// Every refusal, as the app's own relay transport turns it into the message the user sees.
TEST_F(RelayTest, ElkeWeigeringWordtDeJuisteMelding) {
    const std::string goed = maakCode("goed", 60);
    const std::string leeg = maakCode("leeg", 0);
    const std::string weg = maakCode("weg", 60);
    ASSERT_EQ(voer(TOLMO_SERVER_PAD, {"code", "trek-in", "weg"}).status, 0);
    using F = HerkenningsFout;
    const std::string teLang = F::van(F::Soort::dictaatTeLang).code();
    const std::string ongeldig = F::van(F::Soort::audioOngeldig).code();
    struct Geval {
        const char* wat;
        std::string code;
        std::string body;
        std::string verwacht;  // HerkenningsFout::code(), empty when it succeeds
        bool kapot = false;
    };
    const std::vector<Geval> gevallen{
        {"gelukt", goed, multipart(wav(2)), ""},
        {"m4a", goed, multipart(m4aMetIndexAchteraan(3)), ""},
        {"m4a te lang", goed, multipart(m4aMetIndexAchteraan(61)), teLang},
        {"onbekende code", "tolmo_onbekend", multipart(wav(2)), F::toegangGeweigerd(401).code()},
        {"ingetrokken", weg, multipart(wav(2)), F::toegangGeweigerd(403).code()},
        {"te lang", goed, multipart(wav(61)), teLang},
        {"geen audio", goed, multipart(std::string(5000, 'x')), ongeldig},
        {"geen multipart", goed, "zomaar tekst", ongeldig},
        {"minuten op", leeg, multipart(wav(2)), "limiet-minuten-per-dag"},
        {"aanbieder faalt", goed, multipart(wav(2)),
         F::aanbiederNietBeschikbaar(Motor::openAI).code(), true},
    };
    TolmoServerTransport transport(std::make_shared<CurlTransport>(), Aanbieder::openAI);
    for (const auto& g : gevallen) {
        SCOPED_TRACE(g.wat);
        kapot_ = g.kapot;
        HTTPVerzoek v;
        v.url = url_ + "/v1/audio/transcriptions";
        v.headers = {{"Authorization", "Bearer " + g.code},
                     {"Content-Type", "multipart/form-data; boundary=g"}};
        v.body = g.body;
        std::string gekregen;
        try {
            const HTTPAntwoord a = transport.verstuur(v, {});
            uitvoer_ += a.body;
            EXPECT_EQ(a.body, R"({"text":")" + zin + R"("})");
        } catch (const HerkenningsFout& f) {
            gekregen = f.code();
            if (f.limiet()) {  // seconds until midnight, when the quota is renewed
                const auto& h = f.limiet()->headers;
                const auto na = std::find_if(
                    h.begin(), h.end(), [](const auto& kv) { return kv.first == "Retry-After"; });
                ASSERT_NE(na, h.end());
                EXPECT_GE(std::stoi(na->second), 1);
                EXPECT_LE(std::stoi(na->second), 86400);
            }
        }
        EXPECT_EQ(gekregen, g.verwacht);
    }
    // The failed request gave its two seconds back: 2 + 3 s used of "goed" today.
    EXPECT_EQ(relay::gebruikt(omgeving_, "goed"), 5);
}

// A dictation through the whole chain of the tolmo command: transcription, then the chat
// cleaner, both through the relay; then the same with a revoked code, as the user reads it.
TEST_F(RelayTest, TolmoDicteerDoorDeServer) {
    const relay::Omgeving route{{"TOLMO_SERVER_URL", url_ + "/"},
                                {"TOLMO_TOEGANGSCODE", maakCode("cli", 60)}};
    const auto opname = tijdelijk_.schrijf("opname.wav", wav(3)).string();
    const auto r = voer(TOLMO_CLI_PAD,
                        {"dicteer", "--motor", "tolmo", "--aanbieder", "mistral", opname}, route);
    EXPECT_EQ(r.status, 0) << r.fout;
    EXPECT_EQ(r.uit, "Opgeschoond door de nep.\n");

    ASSERT_EQ(voer(TOLMO_SERVER_PAD, {"code", "trek-in", "cli"}).status, 0);
    const auto geweigerd = voer(TOLMO_CLI_PAD, {"dicteer", "--motor", "tolmo", opname}, route);
    EXPECT_EQ(geweigerd.status, 1);
    EXPECT_EQ(geweigerd.fout, HerkenningsFout::toegangGeweigerd(403).melding() + "\n");
}

// 400 requests of one code, all sent before any reply is read: a quota of one minute admits
// exactly 60 one-second dictations, not one more.
TEST_F(RelayTest, QuotumExactBijGelijktijdigeVerzoeken) {
    const auto statussen =
        relay::tegelijk(400, {poort_}, relay::transcriptieVerzoek(maakCode("druk", 1), 1));
    EXPECT_EQ(statussen, (std::map<std::string, int>{{"200", 60}, {"429", 340}}));
}

// Clients that misbehave, each answered with a refusal or, when it stalls, a closed connection
// (the time-out closes the socket, so no reply can follow); afterwards no connection is left
// open and no second of the code stays reserved.
TEST_F(RelayTest, VijandigeKlantenLatenNietsAchter) {
    const std::string kop =
        "POST /v1/audio/transcriptions HTTP/1.1\r\nHost: x\r\n"
        "Authorization: Bearer " +
        maakCode("vijand", 60) + "\r\nX-Tolmo-Aanbieder: openai\r\n";
    const std::string lengte = kop + "Content-Length: 100000\r\n\r\n" + std::string(1000, 'x');
    struct Geval {
        const char* wat;
        std::string bytes;
        std::string verwacht;  // status, empty when the server closes without a reply
        bool klantGaatWeg = false;
    };
    const std::vector<Geval> gevallen{
        {"kop komt niet af", kop, ""},
        {"te grote kop", kop + "X-Vul: " + std::string(17000, 'a') + "\r\n\r\n", "431"},
        {"Content-Length liegt", lengte, ""},
        {"chunked zonder einde", kop + "Transfer-Encoding: chunked\r\n\r\n5\r\nhallo\r\n", ""},
        {"weg midden in upload", lengte, "", true},
    };
    net::io_context io;
    for (const auto& g : gevallen) {
        auto s = relay::verstuur(io, poort_, g.bytes);
        if (g.klantGaatWeg) {
            s.close();
            continue;
        }
        EXPECT_EQ(status(relay::leesAntwoord(s)), g.verwacht) << g.wat;
    }
    std::vector<net::ip::tcp::socket> vol;
    for (int i = 0; i < 450; ++i) {
        vol.push_back(relay::verstuur(io, poort_, ""));
    }
    auto teVeel = relay::verstuur(io, poort_, "");
    const std::string geweigerd = relay::leesAntwoord(teVeel);
    EXPECT_EQ(status(geweigerd), "429");
    EXPECT_NE(geweigerd.find(R"("fout":"limiet-verbindingen")"), std::string::npos) << geweigerd;
    vol.clear();
    relay::metricsMet(poort_, "\ntolmo_verbindingen 1\n");
    EXPECT_EQ(relay::gebruikt(omgeving_, "vijand"), 0);
}

// Started under the soft descriptor limit distributions give (1024): the server must raise it.
struct RelayVeelVerbindingenTest : RelayTest {
    RelayVeelVerbindingenTest() {
        ::getrlimit(RLIMIT_NOFILE, &limiet);
        ::setrlimit(RLIMIT_NOFILE, std::data({rlimit{1024, limiet.rlim_max}}));
        omgeving_["TOLMO_SERVER_KOP_TIMEOUT"] = "120";
        omgeving_["TOLMO_SERVER_MAX_VERBINDINGEN"] = "10100";
        omgeving_["TOLMO_SERVER_MAX_VERBINDINGEN_PER_ADRES"] = "10000";
    }
    rlimit limiet{};
};

// 10,000 idle connections from 127.0.0.2 do not keep a dictation from 127.0.0.1, nor /gezond,
// from being served within 2 s.
TEST_F(RelayVeelVerbindingenTest, TienduizendStilleVerbindingen) {
    if (limiet.rlim_max < 10500 || ::setrlimit(RLIMIT_NOFILE, &limiet) != 0) {
        GTEST_SKIP() << "Harde descriptorlimiet " << limiet.rlim_max << " < 10500 (ulimit -Hn).";
    }
    net::io_context io;
    std::vector<net::ip::tcp::socket> stil;
    int verbonden = 0;
    for (int i = 0; i < 10000; ++i) {
        auto& s = stil.emplace_back(io, net::ip::tcp::v4());
        // The port is chosen at connect: earlier runs' ports in TIME_WAIT stay usable.
        s.set_option(net::detail::socket_option::boolean<IPPROTO_IP, IP_BIND_ADDRESS_NO_PORT>(1));
        s.bind({net::ip::make_address("127.0.0.2"), 0});
        s.async_connect({net::ip::make_address("127.0.0.1"), poort_},
                        [&](const boost::system::error_code& ec) { verbonden += !ec; });
    }
    io.run_for(30s);  // a server that stops accepting would hold a blocking connect for minutes
    ASSERT_EQ(verbonden, 10000);
    relay::metricsMet(poort_, "\ntolmo_verbindingen 10001\n");  // all of them accepted
    for (const auto& v : {relay::transcriptieVerzoek(maakCode("stil", 60), 1),
                          std::string("GET /gezond HTTP/1.1\r\nConnection: close\r\n\r\n")}) {
        const auto begin = std::chrono::steady_clock::now();
        EXPECT_EQ(status(relay::stuur(poort_, v)), "200");
        EXPECT_LT(std::chrono::steady_clock::now() - begin, 2s);
    }
}

// npm's openai package, a client we did not write, on both routes and on a refusal.
TEST_F(RelayTest, OpenAIPakketAlsKlant) {
    const fs::path node = fs::path(TOLMO_NODE_MAP);
    if (!fs::exists(node / "node_modules" / "openai")) {
        GTEST_SKIP() << "npm ci in " << node << " ontbreekt (scripts/installeer.sh doet het).";
    }
    const auto r =
        voer("/usr/bin/node", {(node / "klant.mjs").string(), url_ + "/v1", maakCode("node", 60),
                               tijdelijk_.schrijf("opname.wav", wav(2)).string()});
    EXPECT_EQ(r.status, 0) << r.fout;
    EXPECT_EQ(r.uit, zin + "\nOpgeschoond door de nep.\n401\n");
}

// Bodies built to be counted short: each is counted by the packets the provider would
// transcribe, whatever a header claims, or refused when it holds more than one file.
TEST_F(RelayTest, VijandigeBodiesTellenWatErIs) {
    const std::string code = maakCode("telling", 60);
    const std::string wav15 = wav(15);
    struct Geval {
        const char* wat;
        std::string delen;
        std::string status;
        std::int64_t seconden;
    };
    const std::vector<Geval> gevallen{
        {"lokdeel voor file", deel("bijlage", "b.wav", wav(1)) + deel("file", "d.wav", wav15),
         "400", 0},
        {"twee file-delen", deel("file", "a.wav", wav(1)) + deel("file", "d.wav", wav15), "400", 0},
        {"geen file-deel", deel("bijlage", "d.wav", wav15), "400", 0},
        {"WAV-kop zegt 1 s", deel("file", "d.wav", wavMetValsEinde(wav15)), "200", 15},
        {"WAV afgekapt", deel("file", "d.wav", wav15.substr(0, 44 + 5 * 32000 + 16000)), "200", 6},
        {"FLAC STREAMINFO zegt 1 s",
         deel("file", "d.flac", flacMetValsEinde(gecodeerd("flac", "flac", 14.5))), "200", 15},
        {"Ogg-granule zegt 1 s",
         deel("file", "d.ogg", oggMetValsEinde(gecodeerd("ogg", "libopus", 14.5))), "200", 15},
    };
    for (const auto& g : gevallen) {
        const std::int64_t voor = relay::gebruikt(omgeving_, "telling");
        const std::string a =
            relay::stuur(poort_, relay::transcriptieVerzoek(
                                     code, deel("model", "", "whisper-1") + g.delen + "--g--\r\n"));
        EXPECT_EQ(status(a), g.status) << g.wat << "\n" << a;
        EXPECT_EQ(relay::gebruikt(omgeving_, "telling") - voor, g.seconden) << g.wat;
    }
}

// An upload that never pauses for long but takes longer than body-timeout (2 s) in all.
TEST_F(RelayTest, TrageMaarGestageUpload) {
    const std::string verzoek = relay::transcriptieVerzoek(maakCode("traag", 60), 1);
    net::io_context io;
    auto s = relay::verstuur(io, poort_, verzoek.substr(0, 300));
    for (std::size_t i = 300; i < verzoek.size(); i += 2000) {
        std::this_thread::sleep_for(150ms);
        net::write(s, net::buffer(verzoek.substr(i, 2000)));
    }
    EXPECT_EQ(status(relay::leesAntwoord(s)), "200");
}

// "Expect: 100-continue": a request the server refuses is answered before its body (and
// without a code, it is the code that is missing, not the provider); one it accepts gets
// "100 Continue" and then its reply.
TEST_F(RelayTest, HonderdVerderAlleenAlsHetMag) {
    const std::string body = multipart(wav(1));
    struct Geval {
        std::string code;
        std::string eerste;
        std::string laatste;
    };
    const std::vector<Geval> gevallen{
        {"", "401", "401"}, {maakCode("op", 0), "429", "429"}, {maakCode("mag", 60), "100", "200"}};
    for (const auto& g : gevallen) {
        std::string kop =
            relay::transcriptieVerzoek(g.code, "", "Expect: 100-continue\r\n", body.size());
        if (g.code.empty()) {
            kop =
                std::regex_replace(kop, std::regex("(Authorization|X-Tolmo-Aanbieder).*\r\n"), "");
        }
        net::io_context io;
        auto s = relay::verstuur(io, poort_, kop);
        std::string gelezen;
        net::async_read_until(s, net::dynamic_buffer(gelezen), "\r\n\r\n",
                              [](boost::system::error_code, std::size_t) {});
        io.run_for(3s);
        EXPECT_EQ(status(gelezen), g.eerste) << g.code;
        if (g.eerste == "100") {
            net::write(s, net::buffer(body));
            gelezen = gelezen.substr(gelezen.find("\r\n\r\n") + 4) + relay::leesAntwoord(s);
        }
        EXPECT_EQ(status(gelezen), g.laatste) << gelezen;
    }
}

// A provider that closes a kept-alive connection after reading a whole request, without a
// reply, may have done the work: that request is not sent again, and its minutes come back.
TEST_F(RelayTest, NooitTweemaalNaarDeAanbieder) {
    std::atomic<int> aantal{0};
    nep_.zetBehandelaar([&](const LoopbackServer::Verzoek&) {
        return ++aantal == 2 ? LoopbackServer::Antwoord::sluit()
                             : LoopbackServer::Antwoord::json(200, R"({"text":"ok"})");
    });
    const std::string code = maakCode("eenmaal", 60);
    std::string verzoek = relay::transcriptieVerzoek(code, 1);
    net::io_context io;
    // Both on one client connection, so both go through one event loop and its pooled
    // connection to the provider.
    auto s =
        relay::verstuur(io, poort_, std::regex_replace(verzoek, std::regex("close"), "keep-alive"));
    beast::flat_buffer buf;
    http::response<http::string_body> eerste;
    http::read(s, buf, eerste);
    EXPECT_EQ(eerste.result_int(), 200);
    net::write(s, net::buffer(verzoek));
    EXPECT_EQ(status(relay::leesAntwoord(s)), "503");
    EXPECT_EQ(aantal, 2);
    EXPECT_EQ(relay::gebruikt(omgeving_, "eenmaal"), 1);
}

// A provider that streams its chat reply in events, the second only once the client has the
// first: the relay passes each on as it comes. Request logging is off here, and stays off.
struct RelayStroomTest : RelayTest {
    RelayStroomTest() {
        omgeving_["TOLMO_SERVER_MISTRAL_URL"] = "http://127.0.0.1:" + std::to_string(stroomPoort);
        omgeving_["TOLMO_SERVER_VERZOEKLOG"] = "uit";
    }
    net::io_context io;
    net::ip::tcp::acceptor acceptor{io, {net::ip::make_address("127.0.0.1"), 0}};
    const std::uint16_t stroomPoort = acceptor.local_endpoint().port();
    std::mutex m;
    std::condition_variable cv;
    bool eersteGezien = false;
};

TEST_F(RelayStroomTest, ChatKomtInStukken) {
    bool opTijd = false;
    std::thread aanbieder([&] {
        auto s = acceptor.accept();
        beast::flat_buffer buf;
        http::request<http::string_body> v;
        http::read(s, buf, v);
        const auto stuk = [](const std::string& t) {
            std::ostringstream uit;
            uit << std::hex << t.size() << "\r\n" << t << "\r\n";
            return uit.str();
        };
        net::write(s, net::buffer("HTTP/1.1 200 OK\r\nContent-Type: text/event-stream\r\n"
                                  "Transfer-Encoding: chunked\r\n\r\n" +
                                  stuk("data: een\n\n")));
        std::unique_lock slot(m);
        opTijd = cv.wait_for(slot, 5s, [&] { return eersteGezien; });
        net::write(s, net::buffer(stuk("data: twee\n\n") + "0\r\n\r\n"));
    });
    const std::string body = R"({"model":"m","stream":true,"messages":[]})";
    auto s = relay::verstuur(io, poort_,
                             "POST /v1/chat/completions HTTP/1.1\r\nHost: x\r\nAuthorization: "
                             "Bearer " +
                                 maakCode("stroom", 60) +
                                 "\r\nX-Tolmo-Aanbieder: mistral\r\nConnection: close\r\n"
                                 "Content-Length: " +
                                 std::to_string(body.size()) + "\r\n\r\n" + body);
    std::string gelezen;
    net::read_until(s, net::dynamic_buffer(gelezen), "data: een");
    {
        const std::lock_guard slot(m);
        eersteGezien = true;
    }
    cv.notify_all();
    gelezen += relay::leesAntwoord(s);
    aanbieder.join();
    EXPECT_TRUE(opTijd);
    EXPECT_NE(gelezen.find("data: twee"), std::string::npos) << gelezen;
    EXPECT_FALSE(server_->wachtOpFout("/v1/chat/completions", 300ms));
}

}  // namespace
}  // namespace tolmo

namespace tolmo {
namespace {

// How many audio packets libavformat reads from a file; -1 when it cannot open it.
int pakketten(const fs::path& pad) {
    AVFormatContext* fc = nullptr;
    if (avformat_open_input(&fc, pad.c_str(), nullptr, nullptr) != 0) {
        return -1;
    }
    int n = 0;
    AVPacket* p = av_packet_alloc();
    while (av_read_frame(fc, p) >= 0) {
        ++n;
        av_packet_unref(p);
    }
    av_packet_free(&p);
    avformat_close_input(&fc);
    return n;
}

// The relay's count of forwarded audio, from /metrics.
double audioSeconden(std::uint16_t poort) {
    const std::string m = relay::haal(poort, "/metrics");
    const auto i = m.find("\ntolmo_audio_seconden_totaal ");
    return i == std::string::npos ? -1 : std::stod(m.substr(i + 29));
}

// A recording sent while it is written (a fragmented m4a appended to in pieces, as the
// recorder does): held by the relay until the body ends, then forwarded once with every
// frame; broken off halfway, nothing is forwarded or counted; when the relay goes away halfway
// (killed and started again), the finished recording goes again whole and the dictation
// completes.
TEST_F(RelayTest, UploadTerwijlErWordtGesproken) {
    enum class Wat { af, annuleer, relayWeg };
    struct Geval {
        const char* naam;
        Wat wat;
        double seconden;
    };
    // 59 s outgrow the relay's memory for an upload: it moves to a file on the way.
    const std::vector<Geval> gevallen{{"af", Wat::af, 30},
                                      {"lang", Wat::af, 59},
                                      {"annuleer", Wat::annuleer, 6},
                                      {"weg", Wat::relayWeg, 6}};
    for (const auto& g : gevallen) {
        SCOPED_TRACE(g.naam);
        const std::string m4a =
            gecodeerd("mp4", "aac", g.seconden, 16000,
                      "movflags=empty_moov+default_base_moof:frag_duration=250000");
        const fs::path bestand = map_ / (std::string(g.naam) + ".m4a");
        std::ofstream uit(bestand, std::ios::binary);
        const auto schrijf = [&](std::size_t van, std::size_t tot) {
            for (std::size_t i = van; i < tot; i += 4096) {
                uit.write(m4a.data() + i,
                          static_cast<std::streamsize>(std::min(tot, i + 4096) - i));
                uit.flush();
                std::this_thread::sleep_for(20ms);
            }
        };
        const std::string code = maakCode(g.naam, 60);
        const auto motor = [&] {
            return std::make_unique<OpenAITranscriptie>(
                code,
                std::make_shared<TolmoServerTransport>(CurlTransport::gedeeld(), Aanbieder::openAI),
                url_ + "/v1/audio/transcriptions");
        };
        const std::size_t voor = nep_.aantalVerzoeken();
        auto upload = StroomUpload::begin(motor(), bestand, AudioFormaat::m4a, {});
        ASSERT_TRUE(upload);
        schrijf(0, m4a.size() / 2);
        if (g.wat == Wat::annuleer) {
            upload.reset();
            relay::metricsMet(poort_, "\ntolmo_verbindingen 1\n");
            EXPECT_EQ(nep_.aantalVerzoeken(), voor);
            EXPECT_EQ(relay::gebruikt(omgeving_, g.naam), 0);
            continue;
        }
        if (g.wat == Wat::relayWeg) {
            server_->stuurSignaal(SIGKILL);
            server_->wacht();
            server_ = relay::startServer(omgeving_);
        }
        schrijf(m4a.size() / 2, m4a.size());
        uit.close();
        EXPECT_EQ(nep_.aantalVerzoeken(), voor);
        const Opname opname = nep::opnameVan(bestand, g.seconden, AudioFormaat::m4a);
        const double audioVoor = audioSeconden(poort_);
        const auto los = std::chrono::steady_clock::now();
        upload->rondAf(opname);
        EXPECT_EQ(upload->transcribeer(opname, {}, StopToken{}), zin);
        ASSERT_EQ(nep_.aantalVerzoeken(), voor + 1);
        const auto ontvangen = nep_.verzoeken().back();
        const std::string_view body = ontvangen.body;
        const auto begin = body.find("audio/mp4\r\n\r\n") + 13;
        const fs::path doorgestuurd = tijdelijk_.schrijf(
            "aanbieder.m4a", std::string(body.substr(begin, body.rfind("\r\n--") - begin)));
        // Every frame arrived: the provider got each AAC frame (1024 samples) that was written,
        // and the relay counted them all.
        const int frames = pakketten(bestand);
        EXPECT_EQ(frames, static_cast<int>(std::ceil(g.seconden * 16000 / 1024)) + 1);
        EXPECT_EQ(pakketten(doorgestuurd), frames);
        EXPECT_NEAR(audioSeconden(poort_) - audioVoor, frames * 1024 / 16000.0, 1e-6);
        EXPECT_EQ(relay::gebruikt(omgeving_, g.naam),
                  static_cast<std::int64_t>(std::ceil(frames * 1024 / 16000.0)));
        if (g.seconden != 30) {
            continue;
        }
        // What the user waits for after letting go, against sending the recording whole then.
        const auto gestroomd = ontvangen.laatsteByte - los;
        const auto losHeel = std::chrono::steady_clock::now();
        EXPECT_EQ(motor()->transcribeer(opname, {}, StopToken{}), zin);
        const auto heel = nep_.verzoeken().back().laatsteByte - losHeel;
        std::cout << "Loslaten tot volledig verzoek bij de aanbieder, " << g.seconden
                  << " s opname van " << m4a.size() << " bytes: gestroomd "
                  << std::chrono::duration<double, std::milli>(gestroomd).count()
                  << " ms, heel na loslaten "
                  << std::chrono::duration<double, std::milli>(heel).count() << " ms\n";
    }
}

}  // namespace
}  // namespace tolmo
