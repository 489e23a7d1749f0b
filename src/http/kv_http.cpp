// The transfer object and the thread that starts it.
#include "http/http_client.h"

namespace {

const char* const kUserAgent = "Sorrelkin";
const char* const kFormType = "application/x-www-form-urlencoded";

}  // namespace

void TKvHttp::Event_PageReceived(const std::string&, int status, const std::string& content) {
  fStatus = status;
  try {
    fResponse = content;
  } catch (...) {
    fResponse = "Exception";
  }
  fDone.store(true, std::memory_order_release);
}

void TKvHttp::Event_Error(int code, const std::string&) {
  fErrorCode = code;
  fResponse.clear();
  fError = true;
  fDone.store(true, std::memory_order_release);
}

void TKvHttpThread::Event_Run() {
  fKvHttp = std::make_shared<TKvHttp>();
  fKvHttp->fDone = false;
  fKvHttp->fResponse.clear();
  if (!fPost.empty()) {
    fKvHttp->SetRequestContent(fPost, kFormType);
    fKvHttp->RequestHeader("User-Agent", kUserAgent);
    fKvHttp->Send("POST", fURL);
    return;
  }
  fKvHttp->RequestHeader("User-Agent", kUserAgent);
  if (fFile.empty())
    fKvHttp->Send("GET", fURL);
  else
    fKvHttp->Send("GET", fURL, fw::FolderItem(fFile));
}
