#include "framework/http_socket.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace fw {

// Carries the transport's events to the socket. It lives as long as the
// transport holds it; the socket outlives every event because its
// destructor aborts the transfer first.
class HTTPSocket::Bridge : public HttpEvents {
 public:
  Bridge(HTTPSocket& socket, std::string url, int fd) : socket_(socket), url_(std::move(url)), fd_(fd) {}
  ~Bridge() override { CloseFile(); }

  void Headers(int, int64_t length) override { socket_.announced_.store(length, std::memory_order_relaxed); }

  bool Body(const char* data, size_t size) override {
    if (fd_ >= 0) {
      for (size_t done = 0; done < size;) {
        const ssize_t n = write(fd_, data + done, size - done);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) {
          writeError_ = errno;
          return false;
        }
        done += static_cast<size_t>(n);
      }
    } else {
      body_.append(data, size);
    }
    socket_.received_.fetch_add(static_cast<int64_t>(size), std::memory_order_relaxed);
    return true;
  }

  void Finished(int status) override {
    if (!CloseFile()) return Failed(0, {});
    socket_.Event_PageReceived(url_, status, body_);
    body_.clear();
  }

  void Failed(int code, const std::string& message) override {
    CloseFile();
    socket_.storeFailed_.store(writeError_ != 0);
    if (writeError_ != 0)
      socket_.Event_Error(writeError_, std::string("the download could not be stored: ") + std::strerror(writeError_));
    else
      socket_.Event_Error(code, message);
  }

 private:
  // False when the file's last bytes could not be written.
  bool CloseFile() {
    if (fd_ < 0) return true;
    const int rc = close(fd_);
    fd_ = -1;
    if (rc != 0 && writeError_ == 0) writeError_ = errno;
    return writeError_ == 0;
  }

  HTTPSocket& socket_;
  std::string url_;
  int fd_;
  std::string body_;
  int writeError_ = 0;
};

HTTPSocket::~HTTPSocket() { Disconnect(); }

void HTTPSocket::RequestHeader(const std::string& name, const std::string& value) {
  next_.headers.emplace_back(name, value);
}

void HTTPSocket::SetRequestContent(const std::string& bytes, const std::string& mimeType) {
  next_.content = bytes;
  next_.contentType = mimeType;
}

void HTTPSocket::Send(const std::string& method, const std::string& url) { Start(method, url, -1); }

void HTTPSocket::Send(const std::string& method, const std::string& url, const FolderItem& file) {
  const int fd = open(file.NativePath().c_str(), O_WRONLY | O_TRUNC | O_NOFOLLOW | O_CLOEXEC);
  if (fd < 0) {
    const int error = errno;
    Disconnect();
    storeFailed_.store(true);
    Event_Error(error, "cannot write " + file.NativePath() + ": " + std::strerror(error));
    return;
  }
  Start(method, url, fd);
}

void HTTPSocket::Start(const std::string& method, const std::string& url, int fd) {
  Disconnect();
  received_.store(0);
  announced_.store(-1);
  storeFailed_.store(false);
  HttpRequest request = std::move(next_);
  next_ = HttpRequest();
  request.method = method;
  request.url = url;
  auto bridge = std::make_shared<Bridge>(*this, url, fd);
  transfer_ = CurrentHttpTransport().Start(request, std::move(bridge));
}

void HTTPSocket::Disconnect() {
  if (transfer_) transfer_->Abort();
  transfer_.reset();
}

}  // namespace fw
