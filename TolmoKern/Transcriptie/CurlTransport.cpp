#include "TolmoKern/Transcriptie/CurlTransport.h"

#include <curl/curl.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "TolmoKern/Keten/Geannuleerd.h"
#include "TolmoKern/Transcriptie/TransportFout.h"

namespace tolmo {
namespace {

using Klok = std::chrono::steady_clock;

// How long one wait for socket activity may last before the loop looks at the clock again. A
// stop request does not wait for it: it wakes the wait at once.
constexpr std::chrono::milliseconds maxWacht{100};
// How often a paused growing body is asked again when nobody wakes the transfer.
constexpr std::chrono::milliseconds pauzeWacht{20};

// The process-wide share handle with one mutex per kind of shared data: DNS answers and TLS
// sessions, which libcurl guards with these locks. Not connections: those are only safe with
// one transfer at a time. It lives until the process ends: easy handles of detached work may
// still point at it during shutdown.
class Deelruimte {
  public:
    Deelruimte() {
        curl_global_init(CURL_GLOBAL_DEFAULT);
        handle_ = curl_share_init();
        curl_share_setopt(handle_, CURLSHOPT_LOCKFUNC, &Deelruimte::slot);
        curl_share_setopt(handle_, CURLSHOPT_UNLOCKFUNC, &Deelruimte::ontsluit);
        curl_share_setopt(handle_, CURLSHOPT_USERDATA, this);
        curl_share_setopt(handle_, CURLSHOPT_SHARE, CURL_LOCK_DATA_DNS);
        curl_share_setopt(handle_, CURLSHOPT_SHARE, CURL_LOCK_DATA_SSL_SESSION);
    }
    Deelruimte(const Deelruimte&) = delete;
    Deelruimte& operator=(const Deelruimte&) = delete;

    [[nodiscard]] CURLSH* handle() const { return handle_; }

    static Deelruimte& proces() {
        // Never destroyed, see above; the initialisation of a local static is thread-safe.
        static Deelruimte* const deel = new Deelruimte();
        return *deel;
    }

  private:
    static std::mutex& mutexVoor(curl_lock_data data, void* gebruiker) {
        auto& sloten = static_cast<Deelruimte*>(gebruiker)->sloten_;
        const auto i = static_cast<std::size_t>(data);
        return sloten[std::min(i, sloten.size() - 1)];
    }
    static void slot(CURL*, curl_lock_data data, curl_lock_access, void* gebruiker) {
        mutexVoor(data, gebruiker).lock();
    }
    static void ontsluit(CURL*, curl_lock_data data, void* gebruiker) {
        mutexVoor(data, gebruiker).unlock();
    }

    CURLSH* handle_ = nullptr;
    std::array<std::mutex, CURL_LOCK_DATA_LAST + 1> sloten_;
};

// A multi handle keeps the connections of its transfers in its own cache; with an easy handle
// that is reset for each request, the pair is one warm connection set.
struct Verbinding {
    Verbinding() : multi(curl_multi_init()), easy(curl_easy_init()) {}
    ~Verbinding() {
        if (easy != nullptr) {
            curl_easy_cleanup(easy);
        }
        if (multi != nullptr) {
            curl_multi_cleanup(multi);
        }
    }
    Verbinding(const Verbinding&) = delete;
    Verbinding& operator=(const Verbinding&) = delete;
    CURLM* multi;
    CURL* easy;
};

// The sets not in use. A request takes one for itself and hands it back when the transfer is
// over, however it ended, so no two transfers ever touch one connection cache. Like the share
// handle it lives as long as the process.
class VrijeVerbindingen {
  public:
    static VrijeVerbindingen& proces() {
        static auto* const vrij = new VrijeVerbindingen();
        return *vrij;
    }
    std::unique_ptr<Verbinding> neem() {
        {
            const std::lock_guard lock(slot_);
            if (!vrij_.empty()) {
                auto v = std::move(vrij_.back());
                vrij_.pop_back();
                return v;
            }
        }
        auto v = std::make_unique<Verbinding>();
        if (v->multi == nullptr || v->easy == nullptr) {
            throw TransportFout(UrlFout::overig, "libcurl kon geen verzoek aanmaken");
        }
        return v;
    }
    // The set handed back last is taken first, so it is the one kept when the pool is full:
    // its connection is the newest.
    void geefTerug(std::unique_ptr<Verbinding> v) {
        const std::lock_guard lock(slot_);
        if (vrij_.size() >= CurlTransport::warmeVerbindingen) {
            vrij_.erase(vrij_.begin());
        }
        vrij_.push_back(std::move(v));
    }

  private:
    std::mutex slot_;
    std::vector<std::unique_ptr<Verbinding>> vrij_;
};

// What one transfer collects, shared with libcurl's callbacks.
struct Overdracht {
    HTTPHeaders headers;
    std::string body;
    Klok::time_point laatsteActiviteit = Klok::now();
    curl_off_t verstuurd = 0;
    curl_off_t ontvangen = 0;
    const StopToken* stop = nullptr;
    const std::function<void(std::int64_t, std::int64_t)>* meld = nullptr;
    std::size_t maximum = 0;
    bool teGroot = false;

    static size_t schrijf(char* data, size_t grootte, size_t aantal, void* gebruiker) {
        auto* o = static_cast<Overdracht*>(gebruiker);
        if (o->body.size() + grootte * aantal > o->maximum) {
            o->teGroot = true;
            return 0;  // libcurl ends the transfer with a write error
        }
        o->body.append(data, grootte * aantal);
        o->laatsteActiviteit = Klok::now();
        return grootte * aantal;
    }

    static size_t header(char* data, size_t grootte, size_t aantal, void* gebruiker) {
        auto* o = static_cast<Overdracht*>(gebruiker);
        o->laatsteActiviteit = Klok::now();
        std::string_view regel(data, grootte * aantal);
        while (!regel.empty() && (regel.back() == '\n' || regel.back() == '\r')) {
            regel.remove_suffix(1);
        }
        if (regel.starts_with("HTTP/")) {
            // A new status line (after 100 Continue, for one): only the final reply's headers
            // count.
            o->headers.clear();
            return grootte * aantal;
        }
        const auto dubbelepunt = regel.find(':');
        if (dubbelepunt == std::string_view::npos) {
            return grootte * aantal;
        }
        const auto trim = [](std::string_view s) {
            while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) {
                s.remove_prefix(1);
            }
            while (!s.empty() && (s.back() == ' ' || s.back() == '\t')) {
                s.remove_suffix(1);
            }
            return std::string(s);
        };
        o->headers.emplace_back(trim(regel.substr(0, dubbelepunt)),
                                trim(regel.substr(dubbelepunt + 1)));
        return grootte * aantal;
    }

    static int voortgang(void* gebruiker, curl_off_t, curl_off_t ontvangenNu,
                         curl_off_t teVersturen, curl_off_t verstuurdNu) {
        auto* o = static_cast<Overdracht*>(gebruiker);
        if (*o->meld) {
            (*o->meld)(static_cast<std::int64_t>(verstuurdNu),
                       static_cast<std::int64_t>(teVersturen));
        }
        if (verstuurdNu != o->verstuurd || ontvangenNu != o->ontvangen) {
            o->verstuurd = verstuurdNu;
            o->ontvangen = ontvangenNu;
            o->laatsteActiviteit = Klok::now();
        }
        return o->stop->stopGevraagd() ? 1 : 0;
    }
};

// A growing body for libcurl's read callback: first the request's own bytes, then the pieces
// of the growing part. Pauses the transfer while nothing new is there; the sending loop takes
// the pause off when woken or after a short while.
struct Aanvoer {
    const std::string* vooraf = nullptr;
    std::size_t voorafGestuurd = 0;
    GroeiendeBody* groeiend = nullptr;
    bool gepauzeerd = false;

    static size_t lees(char* doel, size_t grootte, size_t aantal, void* gebruiker) {
        auto* a = static_cast<Aanvoer*>(gebruiker);
        const std::size_t ruimte = grootte * aantal;
        if (a->voorafGestuurd < a->vooraf->size()) {
            const std::size_t n = std::min(ruimte, a->vooraf->size() - a->voorafGestuurd);
            std::memcpy(doel, a->vooraf->data() + a->voorafGestuurd, n);
            a->voorafGestuurd += n;
            return n;
        }
        const GroeiendeBody::Stuk stuk = a->groeiend->lees(doel, ruimte);
        switch (stuk.soort) {
            case GroeiendeBody::Stuk::Soort::data:
                return stuk.lengte;
            case GroeiendeBody::Stuk::Soort::einde:
                return 0;
            case GroeiendeBody::Stuk::Soort::fout:
                return CURL_READFUNC_ABORT;
            case GroeiendeBody::Stuk::Soort::wacht:
                break;
        }
        a->gepauzeerd = true;
        return CURL_READFUNC_PAUSE;
    }
};

struct LijstWeg {
    void operator()(curl_slist* l) const { curl_slist_free_all(l); }
};

// Takes the easy handle out of the multi handle however the transfer ends.
class Toegevoegd {
  public:
    Toegevoegd(CURLM* multi, CURL* easy) : multi_(multi), easy_(easy) {
        curl_multi_add_handle(multi_, easy_);
    }
    ~Toegevoegd() { curl_multi_remove_handle(multi_, easy_); }
    Toegevoegd(const Toegevoegd&) = delete;
    Toegevoegd& operator=(const Toegevoegd&) = delete;

  private:
    CURLM* multi_;
    CURL* easy_;
};

// A URL that libcurl cannot parse, or one that is not http(s), is rejected before any
// connection is made.
void controleerUrl(const std::string& url) {
    CURLU* u = curl_url();
    const CURLUcode rc = curl_url_set(u, CURLUPART_URL, url.c_str(), 0);
    char* schema = nullptr;
    if (rc == CURLUE_OK) {
        curl_url_get(u, CURLUPART_SCHEME, &schema, 0);
    }
    const bool goed = schema != nullptr &&
                      (std::string_view(schema) == "http" || std::string_view(schema) == "https");
    curl_free(schema);
    curl_url_cleanup(u);
    if (!goed) {
        throw TransportFout(UrlFout::badURL, "ongeldige URL: " + url);
    }
}

UrlFout alsUrlFout(CURLcode code, long osFout) {
    switch (code) {
        case CURLE_OPERATION_TIMEDOUT:
            return UrlFout::timedOut;
        case CURLE_COULDNT_RESOLVE_HOST:
        case CURLE_COULDNT_RESOLVE_PROXY:
            return UrlFout::cannotFindHost;
        case CURLE_COULDNT_CONNECT:
            return osFout == ENETUNREACH ? UrlFout::notConnectedToInternet
                                         : UrlFout::cannotConnectToHost;
        case CURLE_SSL_CONNECT_ERROR:
        case CURLE_PEER_FAILED_VERIFICATION:
        case CURLE_SSL_CERTPROBLEM:
        case CURLE_SSL_CIPHER:
        case CURLE_SSL_CACERT_BADFILE:
        case CURLE_SSL_ISSUER_ERROR:
        case CURLE_SSL_PINNEDPUBKEYNOTMATCH:
        case CURLE_SSL_INVALIDCERTSTATUS:
        case CURLE_SSL_CRL_BADFILE:
        case CURLE_SSL_CLIENTCERT:
            return UrlFout::secureConnectionFailed;
        case CURLE_URL_MALFORMAT:
            return UrlFout::badURL;
        // A reply that is not HTTP: garbage, HTTP/0.9, a closed connection without a reply.
        case CURLE_WEIRD_SERVER_REPLY:
        case CURLE_UNSUPPORTED_PROTOCOL:
        case CURLE_GOT_NOTHING:
        case CURLE_HTTP2:
        case CURLE_HTTP2_STREAM:
            return UrlFout::badServerResponse;
        case CURLE_BAD_CONTENT_ENCODING:
            return UrlFout::cannotParseResponse;
        default:
            return UrlFout::overig;
    }
}

}  // namespace

CurlTransport::CurlTransport() {
    (void)Deelruimte::proces();
}

std::shared_ptr<CurlTransport> CurlTransport::gedeeld() {
    static const auto transport = std::make_shared<CurlTransport>();
    return transport;
}

HTTPAntwoord CurlTransport::verstuur(HTTPVerzoek verzoek, StopToken stop) {
    Geannuleerd::controleer(stop);
    controleerUrl(verzoek.url);

    std::unique_ptr<curl_slist, LijstWeg> lijst;
    const auto voegToe = [&lijst](const std::string& regel) {
        curl_slist* nieuw = curl_slist_append(lijst.get(), regel.c_str());
        (void)lijst.release();
        lijst.reset(nieuw);
    };
    for (const auto& [naam, waarde] : verzoek.headers) {
        voegToe(naam + ": " + waarde);
    }
    if (!zoekHeader(verzoek.headers, "Expect")) {
        // libcurl would ask for 100 Continue before a large body and wait up to a second for
        // servers that never answer it; our requests are small enough to send right away.
        voegToe("Expect:");
    }
    if (verzoek.groeiend) {
        voegToe("Transfer-Encoding: chunked");
    }

    // Handed back only when the transfer is over, however it ends; while a set is out, no
    // other request can touch its connections.
    struct Lening {
        std::unique_ptr<Verbinding> v = VrijeVerbindingen::proces().neem();
        ~Lening() { VrijeVerbindingen::proces().geefTerug(std::move(v)); }
    } lening;
    CURL* e = lening.v->easy;
    curl_easy_reset(e);
    Overdracht o;
    Aanvoer aanvoer;
    aanvoer.vooraf = &verzoek.body;
    aanvoer.groeiend = verzoek.groeiend.get();
    o.stop = &stop;
    o.meld = &verzoek.voortgang;
    o.maximum = verzoek.maximaleAntwoordGrootte;
    char foutTekst[CURL_ERROR_SIZE] = {};

    curl_easy_setopt(e, CURLOPT_SHARE, Deelruimte::proces().handle());
    curl_easy_setopt(e, CURLOPT_URL, verzoek.url.c_str());
    curl_easy_setopt(e, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(e, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(e, CURLOPT_ERRORBUFFER, foutTekst);
    curl_easy_setopt(e, CURLOPT_HTTPHEADER, lijst.get());
    curl_easy_setopt(e, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(verzoek.timeout.count()));
    curl_easy_setopt(e, CURLOPT_WRITEFUNCTION, &Overdracht::schrijf);
    curl_easy_setopt(e, CURLOPT_WRITEDATA, &o);
    curl_easy_setopt(e, CURLOPT_HEADERFUNCTION, &Overdracht::header);
    curl_easy_setopt(e, CURLOPT_HEADERDATA, &o);
    curl_easy_setopt(e, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(e, CURLOPT_XFERINFOFUNCTION, &Overdracht::voortgang);
    curl_easy_setopt(e, CURLOPT_XFERINFODATA, &o);
    if (verzoek.methode == "GET") {
        curl_easy_setopt(e, CURLOPT_HTTPGET, 1L);
    } else {
        if (verzoek.methode != "POST") {
            curl_easy_setopt(e, CURLOPT_CUSTOMREQUEST, verzoek.methode.c_str());
        }
        if (verzoek.groeiend) {
            // No length: libcurl sends the body chunked through the read callback.
            curl_easy_setopt(e, CURLOPT_POST, 1L);
            curl_easy_setopt(e, CURLOPT_READFUNCTION, &Aanvoer::lees);
            curl_easy_setopt(e, CURLOPT_READDATA, &aanvoer);
        } else {
            // Sent straight from the request's own buffer: POSTFIELDS does not copy.
            curl_easy_setopt(e, CURLOPT_POSTFIELDS, verzoek.body.data());
            curl_easy_setopt(e, CURLOPT_POSTFIELDSIZE_LARGE,
                             static_cast<curl_off_t>(verzoek.body.size()));
        }
    }

    CURLM* m = lening.v->multi;
    const Toegevoegd toegevoegd(m, e);
    const StopTerugroep wekker(stop, [m] { curl_multi_wakeup(m); });
    if (verzoek.groeiend) {
        verzoek.groeiend->zetWekker([m] { curl_multi_wakeup(m); });
    }
    // The body's wake-up goes before the transfer's state does, however the call ends.
    struct WekkerWeg {
        GroeiendeBody* body;
        ~WekkerWeg() {
            if (body != nullptr) {
                body->zetWekker({});
            }
        }
    } wekkerWeg{verzoek.groeiend.get()};
    o.laatsteActiviteit = Klok::now();
    int lopend = 1;
    for (;;) {
        const CURLMcode mc = curl_multi_perform(m, &lopend);
        if (mc != CURLM_OK) {
            throw TransportFout(UrlFout::overig, curl_multi_strerror(mc));
        }
        if (lopend == 0) {
            break;
        }
        Geannuleerd::controleer(stop);
        const auto stil = Klok::now() - o.laatsteActiviteit;
        if (stil >= verzoek.timeout) {
            throw TransportFout(UrlFout::timedOut, "geen antwoord binnen de tijdslimiet");
        }
        const auto rest =
            std::chrono::duration_cast<std::chrono::milliseconds>(verzoek.timeout - stil) +
            std::chrono::milliseconds(1);
        // A paused body is asked again soon even unwoken: its writer need not know about us.
        const auto wacht =
            aanvoer.gepauzeerd ? std::min(rest, pauzeWacht) : std::min(rest, maxWacht);
        curl_multi_poll(m, nullptr, 0, static_cast<int>(wacht.count()), nullptr);
        if (aanvoer.gepauzeerd) {
            aanvoer.gepauzeerd = false;
            // Waiting on the speaker is not a stalled server: the clock starts again.
            o.laatsteActiviteit = Klok::now();
            curl_easy_pause(e, CURLPAUSE_CONT);
        }
    }

    CURLcode resultaat = CURLE_OK;
    int rest = 0;
    while (CURLMsg* bericht = curl_multi_info_read(m, &rest)) {
        if (bericht->msg == CURLMSG_DONE) {
            resultaat = bericht->data.result;
        }
    }
    if (resultaat == CURLE_ABORTED_BY_CALLBACK) {
        Geannuleerd::controleer(stop);
    }
    if (o.teGroot) {
        throw TransportFout(UrlFout::cannotParseResponse,
                            "antwoord groter dan " + std::to_string(o.maximum) + " bytes");
    }
    if (resultaat != CURLE_OK) {
        long osFout = 0;
        curl_easy_getinfo(e, CURLINFO_OS_ERRNO, &osFout);
        std::string detail = curl_easy_strerror(resultaat);
        if (foutTekst[0] != '\0') {
            detail += ": ";
            detail += foutTekst;
        }
        throw TransportFout(alsUrlFout(resultaat, osFout), detail);
    }

    HTTPAntwoord antwoord;
    curl_easy_getinfo(e, CURLINFO_RESPONSE_CODE, &antwoord.status);
    if (antwoord.status == 0) {
        throw TransportFout(UrlFout::badServerResponse, "geen HTTP-antwoord");
    }
    antwoord.headers = std::move(o.headers);
    antwoord.body = std::move(o.body);
    return antwoord;
}

}  // namespace tolmo
