// Keeps the installer's exceptions out of Qt's frames. Handlers of the logic
// run from Qt slots through Dispatch; what they throw is caught there, held
// as pending, and the innermost wait of ours (a modal showing, a DoEvents, a
// folder chooser) is interrupted. When that wait returns into our code it
// rethrows the pending exception, so a QuitRequest unwinds through the logic
// as if Qt were not there. With no wait of ours on the stack the handler runs
// at the top level: a QuitRequest ends the application with its code, any
// other exception gets the one plain report and ends it with 0.
#pragma once

#include <functional>

namespace fw::qt {

// Runs one handler of the logic from a Qt slot or event. Handlers are dropped
// while an exception is pending or after the application has been told to end.
void Dispatch(const std::function<void()>& handler);

// Runs `body`, a wait that runs Qt events, as one of our waits. `interrupt`
// makes the body return soon (for example by exiting its event loop); it may
// be empty when the body returns by itself. Rethrows what a handler threw
// during the wait.
void RunWait(const std::function<void()>& interrupt, const std::function<void()>& body);

// True once a top-level QuitRequest or report has told the application to end.
bool Ending();

// How the top level ends the application; QCoreApplication::exit by default.
void SetEndHandler(std::function<void(int code)> end);

// Forgets an ending and any pending exception (for a fresh event loop in tests).
void ResetGuard();

}  // namespace fw::qt
