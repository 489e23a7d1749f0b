#include "framework/qt/event_guard.h"

#include <QCoreApplication>
#include <exception>
#include <vector>

#include "framework/runtime.h"

namespace fw::qt {
namespace {

struct GuardState {
  std::vector<const std::function<void()>*> waits;  // interrupts, innermost last
  std::exception_ptr pending;
  bool ending = false;
  std::function<void(int)> end;
};

GuardState& State() {
  static GuardState s;
  return s;
}

void EndApplication(int code) {
  GuardState& s = State();
  s.ending = true;
  if (s.end)
    s.end(code);
  else
    QCoreApplication::exit(code);
}

}  // namespace

void Dispatch(const std::function<void()>& handler) {
  GuardState& s = State();
  if (s.pending || s.ending || !handler) return;
  if (!s.waits.empty()) {
    try {
      handler();
    } catch (...) {
      s.pending = std::current_exception();
      // Only the innermost wait: it rethrows into the code that called it, and
      // the next handler up catches again and interrupts the next wait. Exiting
      // the outer loops at once would end them even where the logic catches.
      if (const auto* interrupt = s.waits.back(); interrupt && *interrupt) (*interrupt)();
    }
    return;
  }
  if (const std::optional<int> code = fw::RunGuarded(handler)) EndApplication(*code);
}

void RunWait(const std::function<void()>& interrupt, const std::function<void()>& body) {
  GuardState& s = State();
  s.waits.push_back(&interrupt);
  try {
    body();
  } catch (...) {
    s.waits.pop_back();
    throw;
  }
  s.waits.pop_back();
  if (s.pending) {
    std::exception_ptr p = s.pending;
    s.pending = nullptr;
    std::rethrow_exception(p);
  }
}

bool Ending() { return State().ending; }

void SetEndHandler(std::function<void(int)> end) { State().end = std::move(end); }

void ResetGuard() {
  GuardState& s = State();
  s.pending = nullptr;
  s.ending = false;
}

}  // namespace fw::qt
