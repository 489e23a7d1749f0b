// Writing one entry's content into an open file: stored bytes are copied,
// deflated ones inflated in one piece when they are small enough to hold in
// memory and streamed in 1 MiB pieces when not. Every byte is counted: the
// content must have exactly the size and the checksum the directory records.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "payload/zip/zip_plan.h"

struct libdeflate_decompressor;

namespace ostrel {

class EntryContent {
 public:
  // Entries up to this size, compressed and expanded, are inflated in one piece.
  static constexpr uint64_t kWholeLimit = uint64_t(32) << 20;
  static constexpr size_t kChunk = size_t(1) << 20;

  explicit EntryContent(int archiveFd);
  ~EntryContent();
  EntryContent(const EntryContent&) = delete;
  EntryContent& operator=(const EntryContent&) = delete;

  // Bytes of the archive mapped in memory, from its offset `offset`: the
  // data of entries that lie inside is read from there instead of copied.
  void SetWindow(const unsigned char* bytes, uint64_t offset, uint64_t size) {
    window_ = bytes;
    windowOffset_ = offset;
    windowSize_ = size;
  }

  // Writes the content of `f` to `out`, adding the bytes written to `done`
  // as it goes. Empty, or the reason it failed (a phrase that completes
  // "could not be expanded: ").
  std::string Write(const FastFile& f, int out, std::atomic<int64_t>& done);

 private:
  std::string Stored(const FastFile& f, int out, std::atomic<int64_t>& done);
  std::string Whole(const FastFile& f, int out, std::atomic<int64_t>& done);
  std::string Streamed(const FastFile& f, int out, std::atomic<int64_t>& done);

  // Room that is neither zeroed nor given back between entries: the largest
  // entries come first, so it seldom grows after the start.
  class Buffer {
   public:
    unsigned char* Room(size_t n);

   private:
    std::unique_ptr<unsigned char[]> bytes_;
    size_t size_ = 0;
  };

  // The data of `f` inside the window, or null.
  const unsigned char* Mapped(const FastFile& f) const;

  int archive_;
  libdeflate_decompressor* inflater_;
  const unsigned char* window_ = nullptr;
  uint64_t windowOffset_ = 0, windowSize_ = 0;
  Buffer in_, out_;
};

}  // namespace ostrel
