// A sandbox laid out for hostile inputs: a destination "parent/App" with a
// canary sibling "parent/AppEvil" (a name that shares the destination's
// prefix), and a snapshot of everything outside the destination, to show
// that an operation wrote nothing where it had no business.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "support/raw_zip.h"
#include "support/sandbox.h"
#include "support/snapshot.h"

namespace ostrel::test {

// The two public ways an archive gets expanded: synchronously into a
// folder, and by launching it for the in-process opener, which expands it
// beside itself while the main window follows it.
enum class Route { ZipFileToFolder, Opener };
const char* RouteName(Route r);

struct Outcome {
  Route route = Route::ZipFileToFolder;
  bool ok = false;
  std::string message;  // for the opener: why the archive could not be expanded, if it could not
  bool archiveUnchanged = false;  // the archive's bytes were as written when it was done
};

class HardeningTest : public SandboxTest {
 protected:
  void SetUp() override;
  void TearDown() override;

  std::string Dest() const { return At("parent/App"); }
  std::string Canary() const { return At("parent/AppEvil"); }

  // Expands the archive's bytes into Dest() by the route; the archive is
  // removed again afterwards.
  Outcome Expand(const std::string& zipBytes, Route route);

  // True when nothing outside Dest() differs from the snapshot taken in
  // SetUp (or by Remember()); a difference is reported as a test failure.
  bool OutsideUnchanged(const std::string& context = {});
  void Remember() { outside_ = TakeSnapshot(root, {"parent/App"}); }

  // Every symbolic link below Dest() resolves inside it, and every item is
  // a plain file, folder or link with no setuid, setgid or sticky bit.
  bool DestHoldsOnlySafeItems();

  // Empties Dest() whatever it holds, deep trees included.
  void ClearDest();

  // Expands the entries each of four ways, `check` looking at each outcome
  // under a trace that names the way, Dest() emptied after each: by both
  // routes, as they are and with an inward link added, which sends the whole
  // archive to the general reader where it would otherwise take the fast one.
  void EachWay(const std::vector<RawEntry>& entries, const std::function<void(const Outcome&)>& check);

  // Each archive, each way, is refused with nothing changed outside Dest()
  // and nothing unsafe left in it.
  void ExpectEachRefused(const std::vector<std::vector<RawEntry>>& archives);

 private:
  Snapshot outside_;
};

}  // namespace ostrel::test
