#include "support/local_http_server.h"

#include <arpa/inet.h>
#include <openssl/evp.h>
#include <openssl/ssl.h>
#include <openssl/pem.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace ostrel::test {
namespace {

const char* StatusText(int status) {
  switch (status) {
    case 200: return "OK";
    case 301: return "Moved Permanently";
    case 302: return "Found";
    case 404: return "Not Found";
    case 500: return "Internal Server Error";
    default: return "Status";
  }
}

// A context with a fresh key and a certificate for 127.0.0.1 signed by itself.
std::shared_ptr<void> SelfSignedContext(std::string& pem) {
  SSL_CTX* ctx = SSL_CTX_new(TLS_server_method());
  EVP_PKEY* key = EVP_EC_gen("P-256");
  X509* cert = X509_new();
  ASN1_INTEGER_set(X509_get_serialNumber(cert), 1);
  X509_gmtime_adj(X509_getm_notBefore(cert), -3600);
  X509_gmtime_adj(X509_getm_notAfter(cert), 3600);
  X509_set_pubkey(cert, key);
  X509_NAME* name = X509_get_subject_name(cert);
  X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC, reinterpret_cast<const unsigned char*>("127.0.0.1"), -1, -1, 0);
  X509_set_issuer_name(cert, name);
  // A client that trusts this certificate checks the address against it.
  X509V3_CTX v3;
  X509V3_set_ctx_nodb(&v3);
  X509V3_set_ctx(&v3, cert, cert, nullptr, nullptr, 0);
  if (X509_EXTENSION* san = X509V3_EXT_conf_nid(nullptr, &v3, NID_subject_alt_name, "IP:127.0.0.1")) {
    X509_add_ext(cert, san, -1);
    X509_EXTENSION_free(san);
  }
  const bool ok = ctx && key && X509_sign(cert, key, EVP_sha256()) > 0 && SSL_CTX_use_certificate(ctx, cert) == 1 &&
                  SSL_CTX_use_PrivateKey(ctx, key) == 1;
  if (ok) {
    BIO* out = BIO_new(BIO_s_mem());
    PEM_write_bio_X509(out, cert);
    char* data = nullptr;
    const long n = BIO_get_mem_data(out, &data);
    pem.assign(data, static_cast<size_t>(n));
    BIO_free(out);
  }
  X509_free(cert);
  EVP_PKEY_free(key);
  if (!ok) {
    SSL_CTX_free(ctx);
    throw std::runtime_error("the test server cannot make its certificate");
  }
  return std::shared_ptr<void>(ctx, [](void* c) { SSL_CTX_free(static_cast<SSL_CTX*>(c)); });
}

std::string HeaderValue(const std::string& head, const std::string& name) {
  std::string lower = head;
  std::transform(lower.begin(), lower.end(), lower.begin(), [](unsigned char c) { return std::tolower(c); });
  const std::string key = "\r\n" + name + ":";
  const size_t at = lower.find(key);
  if (at == std::string::npos) return {};
  size_t start = at + key.size();
  while (start < head.size() && head[start] == ' ') ++start;
  return head.substr(start, head.find("\r\n", start) - start);
}

}  // namespace

// One client's socket, plain or through TLS.
struct LocalHttpServer::Connection {
  int fd;
  SSL* ssl = nullptr;
  ~Connection() {
    if (ssl) SSL_free(ssl);
  }
  ssize_t Read(char* buffer, size_t size) {
    return ssl ? SSL_read(ssl, buffer, static_cast<int>(size)) : recv(fd, buffer, size, 0);
  }
  bool Write(const char* data, size_t size) {
    while (size > 0) {
      const ssize_t n = ssl ? SSL_write(ssl, data, static_cast<int>(size)) : send(fd, data, size, MSG_NOSIGNAL);
      if (n < 0 && !ssl && errno == EINTR) continue;
      if (n <= 0) return false;
      data += n;
      size -= static_cast<size_t>(n);
    }
    return true;
  }
};

// A generated body repeats one block of this size.
constexpr size_t kBlock = 1 << 20;

std::string LocalHttpServer::Pattern(int64_t size) {
  std::string s(static_cast<size_t>(size), '\0');
  for (size_t i = 0; i < s.size(); ++i) {
    const size_t k = i % kBlock;
    s[i] = static_cast<char>((k * 7 + k / 251) & 0xFF);
  }
  return s;
}

LocalHttpServer::LocalHttpServer(bool selfSignedTls) {
  if (selfSignedTls) tls_ = SelfSignedContext(certificatePem_);
  listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in a{};
  a.sin_family = AF_INET;
  a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t len = sizeof a;
  if (listener_ < 0 || bind(listener_, reinterpret_cast<sockaddr*>(&a), sizeof a) != 0 || listen(listener_, 64) != 0 ||
      getsockname(listener_, reinterpret_cast<sockaddr*>(&a), &len) != 0)
    throw std::runtime_error(std::string("the test server cannot listen: ") + std::strerror(errno));
  port_ = ntohs(a.sin_port);
  acceptor_ = std::thread([this] { AcceptLoop(); });
}

LocalHttpServer::~LocalHttpServer() {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    stopping_ = true;
    for (int fd : connections_) shutdown(fd, SHUT_RDWR);
  }
  stopped_.notify_all();
  shutdown(listener_, SHUT_RDWR);
  acceptor_.join();
  close(listener_);
  for (auto& t : workers_) t.join();
}

void LocalHttpServer::Route(const std::string& path, HttpReply reply) {
  std::lock_guard<std::mutex> lock(mutex_);
  routes_[path] = std::move(reply);
}

std::string LocalHttpServer::Url(const std::string& path) const {
  return std::string(tls_ ? "https" : "http") + "://127.0.0.1:" + std::to_string(port_) + path;
}

std::vector<HttpRequestSeen> LocalHttpServer::Requests() {
  std::lock_guard<std::mutex> lock(mutex_);
  return requests_;
}

void LocalHttpServer::AcceptLoop() {
  for (;;) {
    const int fd = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (fd < 0) {
      if (errno == EINTR) continue;
      return;
    }
    std::lock_guard<std::mutex> lock(mutex_);
    if (stopping_) {
      close(fd);
      return;
    }
    connections_.push_back(fd);
    workers_.emplace_back([this, fd] { Serve(fd); });
  }
}

void LocalHttpServer::Serve(int fd) {
  Connection c{fd};
  std::string in;
  char buffer[16384];
  size_t headEnd = std::string::npos;
  bool accepted = true;
  if (tls_) {
    c.ssl = SSL_new(static_cast<SSL_CTX*>(tls_.get()));
    SSL_set_fd(c.ssl, fd);
    accepted = SSL_accept(c.ssl) == 1;  // false when the client does not trust us
  }
  while (accepted && (headEnd = in.find("\r\n\r\n")) == std::string::npos) {
    const ssize_t n = c.Read(buffer, sizeof buffer);
    if (n <= 0) break;
    in.append(buffer, static_cast<size_t>(n));
  }
  HttpRequestSeen seen;
  HttpReply reply;
  if (headEnd != std::string::npos) {
    const std::string head = in.substr(0, headEnd + 2);
    const size_t sp1 = head.find(' '), sp2 = head.find(' ', sp1 + 1);
    seen.method = head.substr(0, sp1);
    seen.path = head.substr(sp1 + 1, sp2 - sp1 - 1);
    seen.userAgent = HeaderValue(head, "user-agent");
    seen.contentType = HeaderValue(head, "content-type");
    const size_t length = static_cast<size_t>(std::atoll(HeaderValue(head, "content-length").c_str()));
    seen.body = in.substr(headEnd + 4);
    while (seen.body.size() < length) {
      const ssize_t n = c.Read(buffer, sizeof buffer);
      if (n <= 0) break;
      seen.body.append(buffer, static_cast<size_t>(n));
    }
    std::lock_guard<std::mutex> lock(mutex_);
    requests_.push_back(seen);
    auto it = routes_.find(seen.path);
    if (it != routes_.end()) reply = it->second;
    else reply = {.status = 404, .body = "no such path: " + seen.path};
  }
  if (headEnd != std::string::npos && !Answer(c, reply)) {
    // Silent: hold the connection open until the server ends.
    std::unique_lock<std::mutex> lock(mutex_);
    stopped_.wait(lock, [this] { return stopping_.load(); });
  }
  std::lock_guard<std::mutex> lock(mutex_);
  connections_.erase(std::find(connections_.begin(), connections_.end(), fd));
  close(fd);
}

// False for a silent reply, which sends nothing.
bool LocalHttpServer::Answer(Connection& c, const HttpReply& r) {
  if (r.silent) return false;
  const int64_t size = r.generated >= 0 ? r.generated : static_cast<int64_t>(r.body.size());
  std::string head = "HTTP/1.1 " + std::to_string(r.status) + " " + StatusText(r.status) + "\r\nConnection: close\r\n";
  const int64_t announced = r.announced == -2 ? size : r.announced;
  if (announced >= 0) head += "Content-Length: " + std::to_string(announced) + "\r\n";
  if (!r.location.empty()) head += "Location: " + r.location + "\r\n";
  head += "\r\n";
  if (!c.Write(head.data(), head.size())) return true;

  // A generated body goes out from one block of the pattern, again and again.
  const std::string block = r.generated >= 0 ? Pattern(std::min<int64_t>(size, kBlock)) : r.body;
  const size_t piece = r.dripBytes > 0 ? r.dripBytes : block.size();
  for (int64_t sent = 0; sent < size && !stopping_;) {
    if (r.dripPause.count() > 0) {
      std::unique_lock<std::mutex> lock(mutex_);
      stopped_.wait_for(lock, r.dripPause, [this] { return stopping_.load(); });
    }
    const size_t offset = static_cast<size_t>(sent % static_cast<int64_t>(block.size()));
    const size_t n = static_cast<size_t>(std::min<int64_t>({static_cast<int64_t>(piece), size - sent,
                                                             static_cast<int64_t>(block.size() - offset)}));
    if (!c.Write(block.data() + offset, n)) break;
    sent += static_cast<int64_t>(n);
  }
  if (c.ssl) SSL_shutdown(c.ssl);
  shutdown(c.fd, SHUT_WR);
  return true;
}

}  // namespace ostrel::test
