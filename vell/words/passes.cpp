#include "vell/words/passes.h"

#include <algorithm>
#include <span>

#include "vell/terms/exception.h"
#include "vell/words/simplifier.h"

namespace vell::words {

namespace {

// Switches what an item such as "-products" names.
void apply(std::string_view item, Passes& selected) {
  if (item == "all" || item == "none") {
    selected = item == "all" ? Passes::all : Passes::none;
    return;
  }
  bool const sign = !item.empty() && (item[0] == '+' || item[0] == '-');
  std::string_view const name = sign ? item.substr(1) : item;
  std::span<PassRow const> const rows = passes();
  auto const row = std::find_if(rows.begin(), rows.end(), [&](PassRow const& r) { return name == r.name; });
  if (sign && row != rows.end()) {
    selected.set(static_cast<std::size_t>(row - rows.begin()), item[0] == '+');
    return;
  }
  std::string known;
  for (PassRow const& r : rows) known += std::string(known.empty() ? "" : ", ") + r.name;
  throw Exception("no simplification on words is called \"" + std::string(item) +
                  "\": give all, none, or + or - and one of " + known);
}

}  // namespace

Passes parse_passes(std::string_view text) {
  Passes selected = Passes::all;
  for (;;) {
    std::size_t const comma = text.find(',');
    apply(text.substr(0, comma), selected);
    if (comma == std::string_view::npos) return selected;
    text.remove_prefix(comma + 1);
  }
}

std::string passes_text(Passes selected) {
  std::string with = "none";
  std::string without = "all";
  std::size_t on = 0;
  std::span<PassRow const> const rows = passes();
  for (std::size_t i = 0; i < rows.size(); ++i) {
    on += selected.contains(i) ? 1 : 0;
    (selected.contains(i) ? with += ",+" : without += ",-") += rows[i].name;
  }
  if (on == 0) return "none";
  if (on == rows.size()) return "all";
  return 2 * on < rows.size() ? with : without;
}

}  // namespace vell::words
