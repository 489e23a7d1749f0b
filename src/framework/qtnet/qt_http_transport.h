// HTTP on Qt Network. A thread of its own runs a QNetworkAccessManager in
// its own event loop, so transfers go on whatever the main thread does: in
// the stub it sits in a modal wait, in tests it may not run Qt events at
// all. http and https only (TLS checked against the system's certificates);
// redirects are followed up to five times, from http to http or https and
// from https to https; any other redirect fails the transfer.
// A QCoreApplication must exist; the transport must outlive its transfers.
#pragma once

#include <memory>

#include "framework/http_transport.h"

namespace fw::qtnet {

class QtHttpTransport : public HttpTransport {
 public:
  QtHttpTransport();
  ~QtHttpTransport() override;
  std::unique_ptr<HttpTransfer> Start(const HttpRequest& request, std::shared_ptr<HttpEvents> events) override;

  static constexpr int kMaxRedirects = 5;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace fw::qtnet
