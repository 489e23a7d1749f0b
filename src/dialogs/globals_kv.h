// The module of dialog helpers: the message table, yes/no questions and the
// shared error dialog, and the conversion of a path string to an item.
#pragma once

#include <optional>
#include <string>

#include "framework/folder_item.h"

namespace GlobalsKv {

extern std::string gErrorString;
extern int gConflictType;  // 999: gErrorString holds the text; 0: none

// Nothing for an empty or relative path, so such a path never resolves.
std::optional<fw::FolderItem> MyGetFolderItem(const std::string& path);

std::string MyGetString(int number);
bool YesNoDlg(const std::string& text);
void ShowConflictMessage();

}  // namespace GlobalsKv
