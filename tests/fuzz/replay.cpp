// Replay scripts.

#include "vell/replay/replay.h"
#include "tests/fuzz/fuzz.h"
#include "vell/io/error.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  using namespace vell;
  std::string const text(reinterpret_cast<char const*>(data), size);
  if (fuzz::too_large(text)) return -1;
  std::istringstream in(text);
  std::ostringstream out;
  try {
    replay::Replay("fuzz", out).run(in);
  } catch (io::Error const&) {
  }
  return 0;
}
