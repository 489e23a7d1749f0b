// The framework's HTTP socket on top of the installed transport. Send starts
// a request and returns at once; the events fire later on the transport's
// thread. The body is gathered in memory, or, with a target file, streamed
// into that file as it arrives, so that a download of any size needs little
// memory. Destroying the socket ends a transfer that is still running.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "framework/folder_item.h"
#include "framework/http_transport.h"

namespace fw {

// The error code of a connection that the server's machine refused.
constexpr int kHttpConnectionRefused = 1;

class HTTPSocket {
 public:
  HTTPSocket() = default;
  virtual ~HTTPSocket();
  HTTPSocket(const HTTPSocket&) = delete;
  HTTPSocket& operator=(const HTTPSocket&) = delete;

  void RequestHeader(const std::string& name, const std::string& value);
  void SetRequestContent(const std::string& bytes, const std::string& mimeType);
  void Send(const std::string& method, const std::string& url);
  // The body goes into the existing file at `file`, which is emptied first
  // and never reached through a symbolic link.
  void Send(const std::string& method, const std::string& url, const FolderItem& file);
  void Disconnect();

  // Safe from any thread while the transfer runs.
  int64_t BytesReceived() const { return received_.load(std::memory_order_relaxed); }
  int64_t AnnouncedLength() const { return announced_.load(std::memory_order_relaxed); }
  // The target file could not take the body (the transfer then failed).
  bool StoreFailed() const { return storeFailed_.load(); }

 protected:
  // On the transport's thread. `content` is empty when the body went to a file.
  virtual void Event_PageReceived(const std::string& url, int status, const std::string& content) {}
  // `code` is the transport's; kHttpConnectionRefused when nobody listens.
  virtual void Event_Error(int code, const std::string& message) {}

 private:
  class Bridge;
  void Start(const std::string& method, const std::string& url, int fileDescriptor);

  HttpRequest next_;
  std::unique_ptr<HttpTransfer> transfer_;
  std::atomic<int64_t> received_{0};
  std::atomic<int64_t> announced_{-1};
  std::atomic<bool> storeFailed_{false};
};

}  // namespace fw
