// The staged installation: everything one run makes beside the target lives
// in one hidden folder of its own there (see framework/own_files.h), so that
// the target's place only ever holds a whole installation, old or new.
//
//   <folder>/.ostrel-<run>-stage/new/<target>.zip   the working archive
//   <folder>/.ostrel-<run>-stage/new/<target>/      the tree it expands to
//   <folder>/.ostrel-<run>-stage/old/<target>/      the replaced installation
//   <folder>/.ostrel-<run>-stage/whole              set once the new tree is whole
//
// The new tree takes the target's place by one rename, and only then does
// the replaced installation go. A run that was killed is recovered by the
// next one in the same folder: a replaced installation whose successor
// never took its place is put back, one whose successor did is deleted.
#pragma once

#include <string>

namespace ostrel {

// The name of a folder the setup may install: one plain name, not empty,
// not "." or "..", without "/" or NUL, at most 255 bytes.
bool IsPlainFolderName(const std::string& name);

// Puts back or removes what killed runs left in `folder` (their stages and
// their part files). What cannot be decided safely is left as it is.
void RecoverLeftovers(const std::string& folder);

class InstallStage {
 public:
  InstallStage() = default;
  // A stage still open when it goes (the run was ended half-way, by a Quit
  // pressed during a wait, say) is rolled back: the target's place holds the
  // old installation again.
  ~InstallStage();
  InstallStage(const InstallStage&) = delete;
  InstallStage& operator=(const InstallStage&) = delete;

  // Makes the stage inside `folder` for the target `name`, once; 0 or errno.
  int Open(const std::string& folder, const std::string& name);
  bool IsOpen() const { return !path_.empty(); }
  const std::string& Path() const { return path_; }

  // The working archive, and the folder it expands into. It is named like the
  // target, with ".zip", cut to the longest name a folder may hold.
  std::string Archive() const { return path_ + "/new/" + name_.substr(0, name_.size() > 251 ? 250 : 251) + ".zip"; }
  std::string NewFolder() const { return path_ + "/new"; }

  // Moves the installation at `target` into the stage; 0 or the errno.
  int PutAside(const std::string& target);
  bool HasOld() const { return !oldTarget_.empty(); }

  // Puts the expanded tree `expanded` (a name inside the new folder) in the
  // place of `target`, then deletes the replaced installation; 0 or errno.
  int Commit(const std::string& expanded, const std::string& target);

  // After a failure: the new tree and the working archive go, and the
  // replaced installation comes back. False when it could not come back; it
  // then stays in the stage, which is kept.
  bool RollBack();

  // Removes the stage, once the working archive is gone.
  void Close();

 private:
  std::string path_, name_, oldTarget_;
};

}  // namespace ostrel
