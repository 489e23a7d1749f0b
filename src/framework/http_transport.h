// The HTTP transport beneath the framework's socket: a platform service like
// the others, installed by the application (Qt Network in the stub) and by
// tests. A transfer runs on the transport's own thread and reports through
// its events there; the installer's main thread never waits on it directly.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace fw {

struct HttpRequest {
  std::string method = "GET";
  std::string url;
  std::vector<std::pair<std::string, std::string>> headers;
  std::string content;      // sent as the body when not empty
  std::string contentType;  // of the body
};

// What one transfer tells, on the transport's thread, in this order: the
// headers, pieces of the body, then exactly one of Finished and Failed.
class HttpEvents {
 public:
  virtual ~HttpEvents() = default;
  // The final response's status and announced length (-1 when not announced).
  virtual void Headers(int status, int64_t length) = 0;
  // A piece of the body. Answering false ends the transfer as failed.
  virtual bool Body(const char* data, size_t size) = 0;
  // The whole response was read, whatever its status.
  virtual void Finished(int status) = 0;
  // No whole response: no connection, a broken one, a refused redirect, a
  // body shorter than announced, a bad certificate.
  virtual void Failed(int code, const std::string& message) = 0;
};

class HttpTransfer {
 public:
  virtual ~HttpTransfer() = default;
  // Ends the transfer; once this returns, no event of it runs any more.
  virtual void Abort() = 0;
};

class HttpTransport {
 public:
  virtual ~HttpTransport() = default;
  // Starts the request and returns at once; the events follow on another thread.
  virtual std::unique_ptr<HttpTransfer> Start(const HttpRequest& request, std::shared_ptr<HttpEvents> events) = 0;
};

// Installs the transport; the caller keeps ownership. Null removes it.
void InstallHttpTransport(HttpTransport* transport);
// Throws when none is installed.
HttpTransport& CurrentHttpTransport();

}  // namespace fw
