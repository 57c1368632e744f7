#pragma once

// Bump allocator: memory that is given back all at once.
//
// Terms, symbols and names live as long as their manager, so nothing tracks single objects; dropping a term
// DAG of any depth is a walk over its chunks, not over its edges.
//
// Tested by tests/utils/arena_test.cpp.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string_view>
#include <vector>

#include "vell/utils/export.h"

namespace vell {

// Owns its memory; destroys no objects. One thread at a time.
class Arena {
 public:
  // Chunks hold chunk_bytes bytes; a larger request gets a chunk of its own.
  explicit Arena(std::size_t chunk_bytes = std::size_t{1} << 20) : chunk_bytes_(chunk_bytes) {}
  Arena(Arena const&) = delete;
  Arena& operator=(Arena const&) = delete;
  ~Arena() {
    for (void* c : chunks_) std::free(c);
  }

  // bytes of uninitialised memory, aligned to 8. Throws std::bad_alloc.
  void* alloc(std::size_t bytes) {
    bytes = (bytes + 7) & ~std::size_t{7};
    if (bytes > static_cast<std::size_t>(end_ - next_)) return alloc_slow(bytes);
    char* p = next_;
    next_ += bytes;
    return p;
  }

  // A NUL-terminated copy of text.
  char const* copy(std::string_view text) {
    char* p = static_cast<char*>(alloc(text.size() + 1));
    if (!text.empty()) std::memcpy(p, text.data(), text.size());
    p[text.size()] = '\0';
    return p;
  }

  // Bytes taken from the system.
  std::uint64_t bytes_reserved() const { return reserved_; }

 private:
  void* alloc_slow(std::size_t bytes) {
    std::size_t const size = bytes > chunk_bytes_ ? bytes : chunk_bytes_;
    chunks_.push_back(nullptr);  // the slot first, so that a failing vector cannot lose a chunk
    char* c = static_cast<char*>(std::malloc(size));
    if (c == nullptr) throw std::bad_alloc();
    chunks_.back() = c;
    reserved_ += size;
    if (size > chunk_bytes_) return c;  // the current chunk keeps serving small requests
    next_ = c + bytes;
    end_ = c + size;
    return c;
  }

  std::size_t chunk_bytes_;
  char* next_ = nullptr;
  char* end_ = nullptr;
  std::uint64_t reserved_ = 0;
  std::vector<void*> chunks_;
};

}  // namespace vell
