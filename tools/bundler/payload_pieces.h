// A setup split over discs: the scrambled payload archive cut into pieces of
// a given size. The first, "Data#1", stays in the bundle; the others, "Data#2"
// ... and the last "Data#End", lie beside the bundle or, one each, in a
// folder per disc ("Disc1" holds the bundle, "Disc2" the piece Data#2, ...).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ostrel::bundler {

// Cuts `archive` into pieces of `size` bytes: the first becomes `firstPiece`,
// the others are written into `folder` under their names, and the archive
// goes. Answers the names of the pieces written into `folder`, in order.
// Throws BadInput when the archive fits in one piece.
std::vector<std::string> CutIntoPieces(const std::string& archive, int64_t size, const std::string& firstPiece,
                                       const std::string& folder);

// Where the bundle of a split setup goes inside the output folder: the
// output folder itself, or its "Disc1".
std::string BundleFolder(const std::string& outputFolder, bool discFolders);

// Moves the pieces from `staging` into the output folder, beside the bundle
// or each into its disc's folder. Pieces of an earlier build that lie there
// (files named "Data#<number>" or "Data#End", and the disc folders behind the
// last, when they hold nothing else) are removed first.
void LayOutPieces(const std::string& staging, const std::vector<std::string>& pieces,
                  const std::string& outputFolder, bool discFolders);

// A piece's name: "Data#<n>", or "Data#End" for the last.
bool IsPieceName(const std::string& name);

}  // namespace ostrel::bundler
