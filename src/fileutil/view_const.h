// The module of path, text and file operations beneath the installer.
// Paths are POSIX strings with "/" as the separator; positions in strings
// are 1-based and 0 means not found.
#pragma once

#include <cstdint>
#include <optional>
#include <random>
#include <string>

#include "framework/folder_item.h"

namespace ViewConst {

// --- Module globals, set once in the application's open event.
extern std::string gLineBreak;
extern std::mt19937 gRandom;
extern bool gIgnoreTranslocationError;
extern bool gDebugConsole;

// --- Paths (fileutil/paths.cpp).
std::string GetPathSeparator();
std::string ExtractFilePath(const std::string& path);
std::string MyExtractFilePath(const std::string& path);
std::string ExtractFileName(const std::string& path);
std::string ExtractFileExt(const std::string& path);
std::string ChangeFileExt(const std::string& path, const std::string& ext);
void DropTrailingPathSeparator(std::string& path);
std::string DirectoryPathExtract(const std::string& path, int n);
std::string MyAbsolutePath(const std::optional<fw::FolderItem>& item);
std::string MyAbsolutePath(const fw::FolderItem& item);
std::string GetApplicationPath();
fw::FolderItem GetApplicationFolder();

// --- Text (fileutil/text_ops.cpp).
int Pos(const std::string& needle, const std::string& haystack);
int PosAfter(const std::string& needle, const std::string& haystack, int start, bool bytewise);
bool NonCaseMatch(const std::string& a, const std::string& b);
int FindField(const std::string& text, const std::string& separator, const std::string& target);
// Field `n` (from 1) of `text` split at `separator`; empty past the end.
std::string NthField(const std::string& text, const std::string& separator, int n);
int CountFields(const std::string& text, const std::string& separator);
std::string ReplaceCh1WithCh2(const std::string& text, const std::string& ch1, const std::string& ch2);
std::string ReplaceAll(const std::string& text, const std::string& from, const std::string& to);
std::string FillString(const std::string& ch, int count);
// Leading decimal number of a text, truncated; 0 when there is none.
int64_t Val(const std::string& text);
void DebugConsole(const std::string& text);

// --- Record helpers (fileutil/record_text.cpp).
void DecryptStr(std::string& text);
std::string Encrypt(const std::string& text);
std::string UnicodeFromHex(const std::string& text, bool decode);
std::string LineEndingEncoding(const std::string& text);
// Decodes `count` bytes from 2 * count hexadecimal characters, high digit first.
void MemoryBlockHexToByte(const char* hex, uint8_t* bytes, size_t count);
void DataFileRead(const std::string& path, std::string& text);
void DataFileWrite(const std::string& path, const std::string& text);

// --- Files and folders (fileutil/file_ops.cpp, fileutil/tree_ops.cpp).
bool DirectoryExists(const std::string& path);
bool FileExists(const std::string& path);
void DeleteFile(const std::string& path);
void Sleep(int seconds);
bool RenameFile(const std::string& oldPath, const std::string& newPath);
void ForceDirectories(const std::string& path, bool showErrors);
void DeleteFolderOrApp(const std::string& path);
bool CopyFolder(const std::string& source, const std::string& destination);
bool CopyFile(const std::string& source, const std::string& destination);
bool CopyFileB(const std::string& source, const std::string& destination);
void AllUsersFullAccess(const std::string& path);
void AllUsersFullAccessOnMac(const std::optional<fw::FolderItem>& item);
void SetInvisible(const std::string& path);

}  // namespace ViewConst
