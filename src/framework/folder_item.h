// An item on the disc named by an absolute path, whether or not anything lies
// there yet. Operations set LastErrorCode instead of raising, as the installer
// expects: callers look at the disc again rather than trusting a call.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace fw {

class FolderItem {
 public:
  FolderItem() = default;
  explicit FolderItem(std::string nativePath);

  const std::string& NativePath() const { return path_; }
  // The path escaped for a POSIX shell, in single quotes.
  std::string ShellPath() const;
  std::string Name() const;

  bool Exists() const;
  bool Directory() const;  // follows a symbolic link, as a folder alias would be followed
  bool Alias() const;      // a symbolic link
  int64_t Length() const;  // 0 for a folder or a missing item
  bool IsWriteable() const;
  bool Visible() const;
  void SetVisible(bool visible);

  // Children in a stable order (by name), listed once per item object.
  int Count() const;
  // The i-th child, from 1. Item follows a symbolic link; TrueItem does not.
  std::unique_ptr<FolderItem> Item(int i) const;
  std::unique_ptr<FolderItem> TrueItem(int i) const;
  FolderItem Child(const std::string& name) const;
  FolderItem Parent() const;

  void CreateAsFolder();
  // A file, a link or an empty folder.
  void Delete();
  // A file is copied to the destination path; a folder only creates the
  // destination folder, whose content the caller then copies.
  void CopyFileTo(const FolderItem& destination);
  void MoveFileTo(const FolderItem& destination);
  int LastErrorCode() const { return lastError_; }

 private:
  const std::vector<std::string>& Children() const;

  std::string path_;
  mutable int lastError_ = 0;
  mutable std::shared_ptr<std::vector<std::string>> children_;
};

}  // namespace fw
