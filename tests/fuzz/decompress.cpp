// Compressed input, in pieces of a size that the first byte gives.

#include <algorithm>

#include "tests/fuzz/fuzz.h"
#include "vell/io/source.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  using namespace vell;
  if (size == 0) return -1;
  std::string_view const text(reinterpret_cast<char const*>(data + 1), size - 1);
  try {
    auto const source = io::Source::blocks(text, 1 + data[0]);
    // A few bytes may stand for gigabytes.
    std::uint64_t bytes = 0;
    std::uint64_t sum = 0;
    do {
      for (char const* p = source->begin(); p != source->end(); ++p) sum += static_cast<unsigned char>(*p);
      bytes += static_cast<std::uint64_t>(source->end() - source->begin());
    } while (bytes < 1u << 22 && source->refill(source->end()));
    if (sum > 255 * bytes) fuzz::finding("more than there is");
  } catch (io::Error const&) {
  }
  return 0;
}
