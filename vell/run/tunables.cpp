#include "vell/run/tunables.h"

#include <charconv>

#include "vell/terms/exception.h"

namespace vell::run {

namespace {

struct Row {
  char const* name;
  std::uint64_t Tunables::*field;
  std::uint64_t standard;
  std::uint64_t least;
  std::uint64_t most;
  char const* reason;
};

constexpr Row rows[] = {
#define VELL_TUNABLE_ROW(name, standard, least, most, reason) \
  {#name, &Tunables::name, standard, least, most, reason},
    VELL_TUNABLES(VELL_TUNABLE_ROW)
#undef VELL_TUNABLE_ROW
};

}  // namespace

void Tunables::set(std::string_view assignment) {
  std::size_t const equals = assignment.find('=');
  std::string_view const name = assignment.substr(0, equals);
  for (Row const& row : rows) {
    if (name != row.name) continue;
    std::string_view const text = equals == std::string_view::npos ? "" : assignment.substr(equals + 1);
    std::uint64_t value = 0;
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc() || end != text.data() + text.size() || value < row.least ||
        value > row.most)
      throw Exception(std::string(name) + " takes a number from " + std::to_string(row.least) + " to " +
                      std::to_string(row.most) + ", as in " + row.name + "=" + std::to_string(row.standard));
    this->*row.field = value;
    return;
  }
  throw Exception("no option is called \"" + std::string(name) + "\"; --options lists them");
}

std::string Tunables::table() {
  std::string out;
  for (Row const& row : rows) {
    std::string line = row.name;
    line.resize(std::max<std::size_t>(line.size() + 1, 24), ' ');
    line += std::to_string(row.standard);
    line.resize(std::max<std::size_t>(line.size() + 1, 36), ' ');
    line += std::to_string(row.least) + ".." + std::to_string(row.most);
    line.resize(std::max<std::size_t>(line.size() + 1, 56), ' ');
    out += line + row.reason + "\n";
  }
  return out;
}

}  // namespace vell::run
