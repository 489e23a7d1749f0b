#include "framework/http_transport.h"

#include <atomic>
#include <stdexcept>

namespace fw {
namespace {

std::atomic<HttpTransport*> gTransport{nullptr};

}  // namespace

void InstallHttpTransport(HttpTransport* transport) { gTransport.store(transport); }

HttpTransport& CurrentHttpTransport() {
  HttpTransport* t = gTransport.load();
  if (!t) throw std::logic_error("no HTTP transport installed");
  return *t;
}

}  // namespace fw
