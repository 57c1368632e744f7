#include "vell/io/error.h"

#include <algorithm>
#include <cstddef>

namespace vell::io {

namespace {

constexpr std::size_t width = 76;  // of a terminal's line, in bytes, with room for the dots of a cut

bool continues_character(char c) { return (static_cast<unsigned char>(c) & 0xc0) == 0x80; }

}  // namespace

std::string Error::excerpt() const {
  if (line_.empty() || position_.column > line_.size() + 1) return "";
  std::size_t const at = static_cast<std::size_t>(position_.column - 1);
  // A part around the place; neither end inside a UTF-8 character.
  std::size_t from = at > width / 2 ? at - width / 2 : 0;
  if (line_.size() <= width) from = 0;
  while (from > 0 && continues_character(line_[from])) --from;
  std::size_t to = std::min(line_.size(), from + width);
  while (to < line_.size() && continues_character(line_[to])) ++to;
  std::string shown = from > 0 ? "..." : "";
  std::string caret(shown.size(), ' ');
  for (std::size_t i = from; i < to; ++i) {
    unsigned char const c = static_cast<unsigned char>(line_[i]);
    shown += c < 32 || c == 127 ? ' ' : line_[i];
    if (i < at && !continues_character(line_[i])) caret += ' ';
  }
  if (to < line_.size()) shown += "...";
  return shown + "\n" + caret + "^\n";
}

}  // namespace vell::io
