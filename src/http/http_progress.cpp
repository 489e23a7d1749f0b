// The unseen modal wait of an HTTP call.
#include "http/http_client.h"

namespace {

constexpr int kDonePollMs = 20;

}  // namespace

THttpProgress::THttpProgress()
    : fw::Window("", 8, 8),
      SecondTimer(Add(fw::ControlKind::Timer, "SecondTimer", {0, 0, 0, 0})),
      DoneTimer(Add(fw::ControlKind::Timer, "DoneTimer", {0, 0, 0, 0})) {
  SecondTimer.SetPeriod(1000);
  SecondTimer.SetMode(fw::kTimerMultiple);
  DoneTimer.SetPeriod(kDonePollMs);
  DoneTimer.SetMode(fw::kTimerMultiple);
  SecondTimer.Action = [this] { SecondTimer_Action(); };
  DoneTimer.Action = [this] { DoneTimer_Action(); };
}

bool THttpProgress::TransferDone() const { return fKvHttp && fKvHttp->fDone.load(std::memory_order_acquire); }

// The timers stop first, while the window is still shown, so that the
// backend hears of it.
void THttpProgress::EndWait() {
  SecondTimer.SetMode(fw::kTimerOff);
  DoneTimer.SetMode(fw::kTimerOff);
  Hide();
}

void THttpProgress::SecondTimer_Action() {
  fSecond += 1;
  // A transfer that keeps moving is not cut off: the time counts from the last byte.
  const int64_t received = fKvHttp ? fKvHttp->BytesReceived() : 0;
  if (received != fLastReceived) {
    fLastReceived = received;
    fSecond = 0;
  }
  if (TransferDone()) return EndWait();
  if (fSecond >= fTimeout) {
    fTimedOut = true;
    EndWait();
  }
}

void THttpProgress::DoneTimer_Action() {
  if (fProgress && fKvHttp) fProgress(fKvHttp->BytesReceived(), fKvHttp->AnnouncedLength());
  if (TransferDone()) EndWait();
}
