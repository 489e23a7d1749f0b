#include "payload/zip/zip_entry_content.h"

#include "framework/file_copy.h"

#include <libdeflate.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>

namespace ostrel {
namespace {

std::string Damaged(const std::string& detail) { return "it is damaged or not a zip archive (" + detail + ")"; }

std::string WriteFailed(const FastFile& f, int error) {
  return "\"" + f.path + "\" could not be written (" + std::strerror(error) + ")";
}

std::string SizeLies(const FastFile& f, bool more) {
  return Damaged("\"" + f.path + "\" holds " + (more ? "more" : "less") + " than its recorded " + std::to_string(f.size) +
                 " bytes");
}

std::string ChecksumWrong(const FastFile& f) { return Damaged("\"" + f.path + "\" does not match its checksum"); }

std::string Unreadable(const FastFile& f) { return Damaged("the data of \"" + f.path + "\" cannot be read"); }

}  // namespace

unsigned char* EntryContent::Buffer::Room(size_t n) {
  if (n > size_) {
    const size_t rounded = (std::max<size_t>(n, 1) + kChunk - 1) / kChunk * kChunk;
    bytes_.reset();  // the old room goes first: at most one of each is held
    bytes_.reset(new unsigned char[rounded]);
    size_ = rounded;
  }
  return bytes_.get();
}

EntryContent::EntryContent(int archiveFd) : archive_(archiveFd), inflater_(libdeflate_alloc_decompressor()) {
  if (!inflater_) throw std::bad_alloc();
}

EntryContent::~EntryContent() { libdeflate_free_decompressor(inflater_); }

std::string EntryContent::Write(const FastFile& f, int out, std::atomic<int64_t>& done) {
  if (f.method == 0) return Stored(f, out, done);
  if (f.size <= kWholeLimit && f.compressedSize <= kWholeLimit) return Whole(f, out, done);
  return Streamed(f, out, done);
}

const unsigned char* EntryContent::Mapped(const FastFile& f) const {
  if (!window_ || f.dataOffset < windowOffset_) return nullptr;
  const uint64_t at = f.dataOffset - windowOffset_;
  return at <= windowSize_ && windowSize_ - at >= f.compressedSize ? window_ + at : nullptr;
}

std::string EntryContent::Stored(const FastFile& f, int out, std::atomic<int64_t>& done) {
  if (const unsigned char* data = Mapped(f)) {
    if (static_cast<uint32_t>(libdeflate_crc32(0, data, static_cast<size_t>(f.size))) != f.crc) return ChecksumWrong(f);
    if (const int e = fw::WriteAll(out, data, static_cast<size_t>(f.size))) return WriteFailed(f, e);
    done += static_cast<int64_t>(f.size);
    return {};
  }
  uint32_t crc = 0;
  unsigned char* buf = in_.Room(static_cast<size_t>(std::min<uint64_t>(std::max<uint64_t>(f.size, 1), kChunk)));
  for (uint64_t at = 0; at < f.size;) {
    const size_t n = static_cast<size_t>(std::min<uint64_t>(f.size - at, kChunk));
    if (!ReadAt(archive_, f.dataOffset + at, buf, n)) return Unreadable(f);
    crc = static_cast<uint32_t>(libdeflate_crc32(crc, buf, n));
    if (const int e = fw::WriteAll(out, buf, n)) return WriteFailed(f, e);
    at += n;
    done += static_cast<int64_t>(n);
  }
  return crc == f.crc ? std::string() : ChecksumWrong(f);
}

std::string EntryContent::Whole(const FastFile& f, int out, std::atomic<int64_t>& done) {
  const unsigned char* in = Mapped(f);
  if (!in) {
    unsigned char* room = in_.Room(static_cast<size_t>(f.compressedSize));
    if (!ReadAt(archive_, f.dataOffset, room, static_cast<size_t>(f.compressedSize))) return Unreadable(f);
    in = room;
  }
  unsigned char* result = out_.Room(static_cast<size_t>(f.size));
  // The room offered is exactly the recorded size: a stream that would
  // give more stops at once instead of filling memory.
  size_t got = 0;
  switch (libdeflate_deflate_decompress_ex(inflater_, in, static_cast<size_t>(f.compressedSize), result,
                                           static_cast<size_t>(f.size), nullptr, &got)) {
    case LIBDEFLATE_SUCCESS:
      break;
    case LIBDEFLATE_INSUFFICIENT_SPACE:
      return SizeLies(f, true);
    default:
      return Damaged("the data of \"" + f.path + "\" is corrupt");
  }
  if (got != f.size) return SizeLies(f, false);
  if (static_cast<uint32_t>(libdeflate_crc32(0, result, got)) != f.crc) return ChecksumWrong(f);
  if (const int e = fw::WriteAll(out, result, got)) return WriteFailed(f, e);
  done += static_cast<int64_t>(got);
  return {};
}

std::string EntryContent::Streamed(const FastFile& f, int out, std::atomic<int64_t>& done) {
  z_stream z{};
  if (inflateInit2(&z, -MAX_WBITS) != Z_OK) throw std::bad_alloc();
  struct End {
    z_stream* z;
    ~End() { inflateEnd(z); }
  } end{&z};
  unsigned char* in = in_.Room(kChunk);
  unsigned char* piece = out_.Room(kChunk);
  uint64_t read = 0, produced = 0;
  uint32_t crc = 0;
  for (;;) {
    if (z.avail_in == 0 && read < f.compressedSize) {
      const size_t n = static_cast<size_t>(std::min<uint64_t>(f.compressedSize - read, kChunk));
      if (!ReadAt(archive_, f.dataOffset + read, in, n)) return Unreadable(f);
      z.next_in = in;
      z.avail_in = static_cast<uInt>(n);
      read += n;
    }
    z.next_out = piece;
    z.avail_out = static_cast<uInt>(kChunk);
    const int rc = inflate(&z, Z_NO_FLUSH);
    const size_t have = kChunk - z.avail_out;
    if (have > 0) {
      if (have > f.size - produced) return SizeLies(f, true);
      produced += have;
      crc = static_cast<uint32_t>(libdeflate_crc32(crc, piece, have));
      if (const int e = fw::WriteAll(out, piece, have)) return WriteFailed(f, e);
      done += static_cast<int64_t>(have);
    }
    if (rc == Z_STREAM_END) break;
    const bool starved = rc == Z_BUF_ERROR && z.avail_in == 0 && read == f.compressedSize;
    if (starved || (rc != Z_OK && rc != Z_BUF_ERROR)) return Damaged("the data of \"" + f.path + "\" is corrupt");
  }
  if (produced != f.size) return SizeLies(f, false);
  return crc == f.crc ? std::string() : ChecksumWrong(f);
}

}  // namespace ostrel
