// decode alone: a CNF file and a solution, with a line --- between them.

#include "tests/fuzz/fuzz.h"
#include "vell/cnf/decoder.h"
#include "vell/terms/exception.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  using namespace vell;
  std::string_view const text(reinterpret_cast<char const*>(data), size);
  std::size_t const cut = text.find("\n---\n");
  if (cut == std::string_view::npos) return -1;
  fuzz::write_file(fuzz::folder() + "/in.cnf", text.substr(0, cut + 1));
  fuzz::write_file(fuzz::folder() + "/solution", text.substr(cut + 5));
  try {
    cnf::decode(fuzz::folder() + "/in.cnf", fuzz::folder() + "/solution");
  } catch (Exception const&) {
  }
  return 0;
}
