// The setup's own shell commands: one line of the action list, or a script
// among the installed files run line by line. Each line is a command of its
// own; nothing is read back from it.
#include "core/ostrel_stub_window.h"
#include "fileutil/view_const.h"
#include "framework/runtime.h"

void OstrelStubWindow::DoShellCmd(const std::string& command) { fw::RunShellCommand(command); }

void OstrelStubWindow::DoShellFile(const std::string& name) {
  std::string text;
  try {
    ViewConst::DataFileRead(fTargetFolder + "/" + name, text);
  } catch (const fw::IOException&) {
    // A script that cannot be read runs as an empty text.
    text.clear();
  }
  const std::string separator = text.find("\r\n") != std::string::npos ? "\r\n"
                                : text.find('\n') != std::string::npos ? "\n"
                                                                        : "\r";
  // Every line, empty ones too, and the one behind a trailing line end.
  size_t start = 0;
  for (;;) {
    const size_t end = text.find(separator, start);
    fw::RunShellCommand(text.substr(start, end == std::string::npos ? std::string::npos : end - start));
    fw::DoEvents(0);
    if (end == std::string::npos) break;
    start = end + separator.size();
  }
}
