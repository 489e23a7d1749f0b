// A small HTTP/1.1 server on 127.0.0.1 (a port of the system's choosing) for
// tests and benchmarks: each path has a scripted answer, including the
// broken ones a download must survive (a body shorter than announced, a
// slow drip, silence). One thread per connection; every answer closes it.
#pragma once

#include <netinet/in.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace ostrel::test {

struct HttpReply {
  int status = 200;
  std::string body = {};            // sent as it is, unless generated
  int64_t generated = -1;           // instead of `body`: this many bytes of a fixed pattern
  int64_t announced = -2;           // Content-Length: -2 the body's own length, -1 none
  std::string location = {};        // a Location header (for redirects)
  size_t dripBytes = 0;             // when above 0, the body goes out in pieces this big...
  std::chrono::milliseconds dripPause{0};  // ...with this pause before each
  bool silent = false;              // read the request and never answer
};

struct HttpRequestSeen {
  std::string method, path, userAgent, contentType, body;
};

class LocalHttpServer {
 public:
  // Listening once constructed; throws when it cannot. With `selfSignedTls`
  // it speaks https only, with a certificate that nobody trusts.
  explicit LocalHttpServer(bool selfSignedTls = false);
  ~LocalHttpServer();  // ends every connection, silent ones too
  LocalHttpServer(const LocalHttpServer&) = delete;
  LocalHttpServer& operator=(const LocalHttpServer&) = delete;

  void Route(const std::string& path, HttpReply reply);
  int Port() const { return port_; }
  // The self-signed certificate (PEM), for a client that is to trust it.
  const std::string& CertificatePem() const { return certificatePem_; }
  std::string Url(const std::string& path) const;
  std::vector<HttpRequestSeen> Requests();

  // The bytes of a generated body, from its start.
  static std::string Pattern(int64_t size);

 private:
  struct Connection;
  void AcceptLoop();
  void Serve(int fd);
  bool Answer(Connection& c, const HttpReply& r);

  std::shared_ptr<void> tls_;  // the TLS context, when there is one
  std::string certificatePem_;
  int listener_ = -1;
  int port_ = 0;
  std::atomic<bool> stopping_{false};
  std::mutex mutex_;
  std::condition_variable stopped_;
  std::map<std::string, HttpReply> routes_;
  std::vector<HttpRequestSeen> requests_;
  std::vector<int> connections_;
  std::vector<std::thread> workers_;
  std::thread acceptor_;
};

}  // namespace ostrel::test
