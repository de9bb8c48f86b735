#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "TolmoServer/Configuratie.h"
#include "TolmoServer/Metingen.h"
#include "TolmoServer/Opslag.h"
#include "TolmoServer/Snelheidsgrens.h"

namespace tolmo::server {

// The relay: accepts the apps' requests, checks the access code and the limits, and forwards
// transcriptions and chat completions to OpenAI or Mistral with the operator's key.
//
// One io_context per core, each run by one thread. The acceptor hands each new connection to
// the next loop in turn; from then on the connection, its coroutine and that loop's pool of
// provider connections belong to one thread, so the request path takes no lock except the
// store's and the counters'.
class RelayServer {
  public:
    // Writes one Dutch line per event (never a code or a key).
    using Log = std::function<void(const std::string&)>;

    RelayServer(Configuratie configuratie, std::shared_ptr<Opslag> opslag, Log log);
    ~RelayServer();
    RelayServer(const RelayServer&) = delete;
    RelayServer& operator=(const RelayServer&) = delete;

    // Listens, serves until SIGTERM or SIGINT, then accepts nothing new, lets the requests in
    // flight finish and returns. Throws std::runtime_error when it cannot listen.
    void draai();

  private:
    struct Binnen;
    std::unique_ptr<Binnen> binnen_;
};

}  // namespace tolmo::server
