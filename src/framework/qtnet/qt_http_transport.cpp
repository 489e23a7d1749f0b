#include "framework/qtnet/qt_http_transport.h"
#include "framework/http_socket.h"

#include <QCoreApplication>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QPointer>
#include <QThread>
#include <mutex>
#include <stdexcept>
#include <vector>

namespace fw::qtnet {
namespace {

// The piece read from a reply at a time, and the most Qt may hold unread.
constexpr qint64 kPiece = 256 * 1024;
constexpr qint64 kReadBuffer = 1024 * 1024;

QString ToQ(const std::string& s) { return QString::fromUtf8(s.data(), static_cast<qsizetype>(s.size())); }

bool IsHttpScheme(const QUrl& url) {
  const QString scheme = url.scheme().toLower();
  return scheme == "http" || scheme == "https";
}

// One transfer's state, shared by the caller's handle and the network
// thread. The events are dropped (under the lock) once the transfer has
// ended or been aborted, so nothing reaches the caller after that.
struct TransferState {
  std::mutex mutex;
  std::shared_ptr<HttpEvents> events;
  // The rest only on the network thread.
  QPointer<QNetworkReply> reply;
  std::vector<char> buffer;
  QString refusal;  // why the transfer was cut short by us

  bool Alive() {
    std::lock_guard<std::mutex> lock(mutex);
    return events != nullptr;
  }
  template <typename F>
  bool Deliver(F&& f) {
    std::lock_guard<std::mutex> lock(mutex);
    if (!events) return false;
    return f(*events);
  }
  template <typename F>
  void End(F&& f) {
    std::lock_guard<std::mutex> lock(mutex);
    if (!events) return;
    f(*events);
    events.reset();
  }
};

class QtTransfer : public HttpTransfer {
 public:
  QtTransfer(std::shared_ptr<TransferState> state, QObject* context) : state_(std::move(state)), context_(context) {}
  ~QtTransfer() override { Abort(); }

  void Abort() override {
    {
      std::lock_guard<std::mutex> lock(state_->mutex);
      if (!state_->events) return;
      state_->events.reset();
    }
    QMetaObject::invokeMethod(context_, [state = state_] {
      if (state->reply) state->reply->abort();
    }, Qt::QueuedConnection);
  }

 private:
  std::shared_ptr<TransferState> state_;
  QObject* context_;
};

// Hands what the reply holds to the events; false when the receiver refused a piece.
bool Pump(TransferState& s) {
  QNetworkReply* reply = s.reply;
  while (reply->bytesAvailable() > 0) {
    const qint64 n = reply->read(s.buffer.data(), static_cast<qint64>(s.buffer.size()));
    if (n <= 0) break;
    const bool taken = s.Deliver([&](HttpEvents& e) { return e.Body(s.buffer.data(), static_cast<size_t>(n)); });
    if (!taken) return false;
  }
  return true;
}

void ReportHeaders(TransferState& s) {
  QNetworkReply* reply = s.reply;
  const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
  const QVariant length = reply->header(QNetworkRequest::ContentLengthHeader);
  s.Deliver([&](HttpEvents& e) {
    e.Headers(status.isValid() ? status.toInt() : 0, length.isValid() ? length.toLongLong() : -1);
    return true;
  });
}

static_assert(fw::kHttpConnectionRefused == QNetworkReply::ConnectionRefusedError);

void Finish(TransferState& s) {
  QNetworkReply* reply = s.reply;
  const bool stored = s.refusal.isEmpty() && Pump(s);
  if (!stored && s.refusal.isEmpty()) s.refusal = "the receiver refused the body";
  const QVariant statusAttribute = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
  const int status = statusAttribute.isValid() ? statusAttribute.toInt() : 0;
  const QNetworkReply::NetworkError error = reply->error();
  // An error status of the server (4xx, 5xx) still comes with a whole page,
  // which counts as received; errors below 200 are the connection's own.
  const bool page = s.refusal.isEmpty() &&
                    (error == QNetworkReply::NoError ||
                     (status >= 400 && error >= QNetworkReply::ContentAccessDenied && error != QNetworkReply::ProtocolFailure));
  s.End([&](HttpEvents& e) {
    if (page)
      e.Finished(status);
    else
      e.Failed(static_cast<int>(error), (s.refusal.isEmpty() ? reply->errorString() : s.refusal).toStdString());
  });
  reply->deleteLater();
}

}  // namespace

struct QtHttpTransport::Impl {
  QThread thread;
  QObject* context = nullptr;  // lives on `thread`
  QNetworkAccessManager* manager = nullptr;

  void Begin(const std::shared_ptr<TransferState>& state, const HttpRequest& request) {
    if (!state->Alive()) return;
    if (!manager) manager = new QNetworkAccessManager(context);
    // What a browser does with a blank or a brace in an address: it is
    // percent-encoded, not refused.
    const QUrl url(ToQ(request.url), QUrl::TolerantMode);
    if (!url.isValid() || !IsHttpScheme(url) || url.host().isEmpty()) {
      state->End([&](HttpEvents& e) { e.Failed(QNetworkReply::ProtocolUnknownError, "not an http or https address"); });
      return;
    }
    QNetworkRequest r(url);
    // Follows http to http or https and https to https, never to a less safe scheme.
    r.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::NoLessSafeRedirectPolicy);
    r.setMaximumRedirectsAllowed(kMaxRedirects);
    for (const auto& [name, value] : request.headers) r.setRawHeader(QByteArray::fromStdString(name), QByteArray::fromStdString(value));
    if (!request.contentType.empty()) r.setHeader(QNetworkRequest::ContentTypeHeader, ToQ(request.contentType));

    const QByteArray method = QByteArray::fromStdString(request.method);
    const QByteArray content = QByteArray::fromStdString(request.content);
    QNetworkReply* reply = method == "GET"    ? manager->get(r)
                           : method == "POST" ? manager->post(r, content)
                                              : manager->sendCustomRequest(r, method, content);
    reply->setReadBufferSize(kReadBuffer);
    state->reply = reply;
    state->buffer.resize(kPiece);

    QObject::connect(reply, &QNetworkReply::metaDataChanged, reply, [state] { ReportHeaders(*state); });
    QObject::connect(reply, &QNetworkReply::readyRead, reply, [state] {
      if (!state->refusal.isEmpty()) return;
      if (!Pump(*state)) {
        state->refusal = "the receiver refused the body";
        state->reply->abort();
      }
    });
    // Qt's own policy already keeps to http(s) and never goes from https
    // to http; this holds the line should that policy ever change.
    QObject::connect(reply, &QNetworkReply::redirected, reply, [state](const QUrl& to) {
      const bool downgrade = state->reply->url().scheme().toLower() == "https" && to.scheme().toLower() != "https";
      if (!IsHttpScheme(to) || downgrade) {
        state->refusal = "redirect refused: " + to.toString();
        state->reply->abort();
      }
    });
    QObject::connect(reply, &QNetworkReply::finished, reply, [state] { Finish(*state); });
  }
};

QtHttpTransport::QtHttpTransport() : impl_(std::make_unique<Impl>()) {
  if (!QCoreApplication::instance()) throw std::logic_error("the Qt HTTP transport needs a QCoreApplication");
  impl_->thread.setObjectName("ostrel-http");
  impl_->context = new QObject;
  impl_->context->moveToThread(&impl_->thread);
  impl_->thread.start();
}

QtHttpTransport::~QtHttpTransport() {
  // The manager and its replies are deleted on their own thread.
  QMetaObject::invokeMethod(impl_->context, [impl = impl_.get()] {
    delete impl->context;
    impl->context = nullptr;
    impl->manager = nullptr;
  }, Qt::BlockingQueuedConnection);
  impl_->thread.quit();
  impl_->thread.wait();
}

std::unique_ptr<HttpTransfer> QtHttpTransport::Start(const HttpRequest& request, std::shared_ptr<HttpEvents> events) {
  auto state = std::make_shared<TransferState>();
  state->events = std::move(events);
  Impl* impl = impl_.get();
  QMetaObject::invokeMethod(impl->context, [impl, state, request] { impl->Begin(state, request); },
                            Qt::QueuedConnection);
  return std::make_unique<QtTransfer>(state, impl->context);
}

}  // namespace fw::qtnet
