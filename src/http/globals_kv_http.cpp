// The blocking calls of the module GlobalsKv.
#include "http/http_client.h"

namespace GlobalsKv {
namespace {

// One transfer from start to end. The socket is disconnected before its
// fields are read, so that nothing writes them any more; a wait that ended
// by time-out counts as a time-out even if the answer came just after.
struct Transfer {
  std::shared_ptr<TKvHttp> kv;
  bool timedOut = true;

  Transfer(const std::string& url, const std::string& post, const std::string& file, int timeout,
           const HttpProgressReport& progress) {
    TKvHttpThread thread;
    thread.fURL = url;
    thread.Priority = 100;
    thread.fPost = post;
    thread.fFile = file;
    thread.Run();
    // The thread has made the transfer object once it ends; the wait needs it.
    thread.Join();

    // No size keeps it off the screen; the window model has no position to
    // move it out of sight as well.
    THttpProgress dialog;
    dialog.SetSize(0, 0);
    dialog.fSecond = 0;
    dialog.fTimeout = timeout;
    dialog.fKvHttp = thread.fKvHttp;
    dialog.fProgress = progress;
    dialog.ShowModal();

    kv = thread.fKvHttp;
    if (kv) kv->Disconnect();
    timedOut = dialog.fTimedOut || !kv || !kv->fDone.load(std::memory_order_acquire);
  }
};

}  // namespace

std::string HttpGet(const std::string& url, int timeout) { return HttpPostNew(url, std::string(), timeout); }

std::string HttpPostNew(const std::string& url, const std::string& post, int timeout) {
  const Transfer t(url, post, std::string(), timeout, nullptr);
  return t.timedOut ? std::string() : t.kv->fResponse;
}

std::string HttpPost(const std::string& url, const std::string& post, int timeout) {
  return HttpPostNew(url, post, timeout);
}

void PostDataAppend(std::string& data, const std::string& name, const std::string& value) {
  if (!data.empty()) data += '&';
  data += name + "=" + value;
}

HttpFileAnswer HttpGetToFile(const std::string& url, int timeout, const std::string& path,
                             const HttpProgressReport& progress) {
  const Transfer t(url, std::string(), path, timeout, progress);
  HttpFileAnswer answer;
  if (t.kv) answer.stored = !t.kv->StoreFailed();
  // A whole page's bytes; an error, a time-out or a refused write leaves none that count.
  if (!t.timedOut && answer.stored && !t.kv->fError) answer.length = t.kv->BytesReceived();
  answer.refusedOrTimedOut = t.timedOut || !t.kv || t.kv->fStatus >= 400 ||
                             (t.kv->fError && t.kv->fErrorCode == fw::kHttpConnectionRefused);
  return answer;
}

}  // namespace GlobalsKv
