// Drives the real stub the way a person would: a private Xvfb display,
// xdotool for keys and clicks, ImageMagick's import for screenshots.
#pragma once

#include <sys/types.h>

#include <array>
#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace ostrel::test {

// Runs a program with an argument list (no shell) and answers its exit code;
// its standard output goes to `output` when given.
int RunProgram(const std::vector<std::string>& argv, std::string* output = nullptr,
               const std::map<std::string, std::string>& env = {});

class XSession {
 public:
  XSession();  // starts Xvfb on a free display; throws when it cannot
  ~XSession();
  XSession(const XSession&) = delete;
  XSession& operator=(const XSession&) = delete;

  std::map<std::string, std::string> Env() const { return {{"DISPLAY", display_}}; }

  // The id of a visible window whose title matches the regular expression.
  std::optional<std::string> FindWindow(const std::string& titleRegex,
                                        std::chrono::milliseconds timeout = std::chrono::seconds(20));
  std::string WindowTitle(const std::string& id);
  // Width and height of the window's inside.
  std::pair<int, int> WindowSize(const std::string& id);
  // Returns once the window's place and size stop changing.
  void WaitSettled(const std::string& id, std::chrono::milliseconds timeout = std::chrono::seconds(5));

  void Click(const std::string& id, int x, int y);  // window-relative
  void Key(const std::string& id, const std::string& keys);
  void Type(const std::string& id, const std::string& text);
  // Saves a PNG of one window; answers whether the file was written.
  bool Screenshot(const std::string& id, const std::string& pngPath);

 private:
  int Xdotool(const std::vector<std::string>& args, std::string* out = nullptr);
  std::array<int, 4> Geometry(const std::string& id);  // x, y, width, height
  void StopXvfb();
  pid_t xvfb_ = -1;
  std::string display_;
};

// A program started in the background with extra environment.
class Process {
 public:
  Process(const std::vector<std::string>& argv, const std::map<std::string, std::string>& env);
  ~Process();
  // The exit code, or nothing when it did not end in time (it is then killed).
  std::optional<int> Wait(std::chrono::milliseconds timeout);
  bool Running();

 private:
  pid_t pid_ = -1;
  std::optional<int> status_;
};

}  // namespace ostrel::test
