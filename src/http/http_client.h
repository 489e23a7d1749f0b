// The blocking HTTP call of the installer. The main thread starts a
// TKvHttpThread, which makes the TKvHttp socket and sends the request; the
// main thread then sits in the modal showing of an unseen THttpProgress
// while the event loop turns, until the transfer is done or the time is up.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "framework/http_socket.h"
#include "framework/thread.h"
#include "framework/window.h"

// The transfer object. Its events run on the transport's thread: fResponse
// is written first and fDone last, and the main thread reads fResponse only
// after it has seen fDone, or after the transfer has been disconnected.
class TKvHttp : public fw::HTTPSocket {
 public:
  std::string fResponse;
  bool fError = false;  // the transfer ended by an error, not with a page
  int fStatus = 0;      // the page's HTTP status
  int fErrorCode = 0;   // the transport's code of the error
  std::atomic<bool> fDone{false};

 protected:
  void Event_PageReceived(const std::string& url, int status, const std::string& content) override;
  void Event_Error(int code, const std::string& message) override;
};

class TKvHttpThread : public fw::Thread {
 public:
  std::shared_ptr<TKvHttp> fKvHttp;
  std::string fURL;
  std::string fPost;  // empty makes the transfer a GET
  std::string fFile;  // when set, the body streams into this existing file

 protected:
  void Event_Run() override;
};

// Reports a download's bytes so far and its announced length (-1: unknown).
using HttpProgressReport = std::function<void(int64_t received, int64_t length)>;

class THttpProgress : public fw::Window {
 public:
  THttpProgress();
  fw::Control& SecondTimer;
  // Looks for the end of the transfer many times a second, so that the call
  // returns when the answer is in rather than on the next whole second.
  fw::Control& DoneTimer;

  int64_t fSecond = 0;   // seconds without a byte received
  int64_t fTimeout = 0;  // the wait ends when fSecond reaches it
  std::shared_ptr<TKvHttp> fKvHttp;
  HttpProgressReport fProgress;
  bool fTimedOut = false;

  void SecondTimer_Action();
  void DoneTimer_Action();

 private:
  bool TransferDone() const;
  void EndWait();
  int64_t fLastReceived = 0;
};

namespace GlobalsKv {

// The answer's body as bytes; empty for an error, a time-out or an empty
// body; "Exception" when the body could not be taken. The time-out counts
// seconds in which no byte arrived.
std::string HttpGet(const std::string& url, int timeout);
std::string HttpPostNew(const std::string& url, const std::string& post, int timeout);
std::string HttpPost(const std::string& url, const std::string& post, int timeout);
// Appends "name=value", with "&" before it unless `data` is empty. No encoding.
void PostDataAppend(std::string& data, const std::string& name, const std::string& value);

// A GET whose body streams into the existing file at `path`.
struct HttpFileAnswer {
  int64_t length = 0;   // bytes of a whole page in the file; 0 for an error or a time-out
  bool stored = true;   // false when the file could not take the bytes
  // The server said no (an error status, a refused connection) or never
  // answered in time: asking again would only make the user wait.
  bool refusedOrTimedOut = false;
};
HttpFileAnswer HttpGetToFile(const std::string& url, int timeout, const std::string& path,
                             const HttpProgressReport& progress);

}  // namespace GlobalsKv
