// The edit distance is the optimal string alignment, computed with three rows of the table. Names whose
// lengths differ by more than the limit are skipped at once, so a million names can be searched.

#include "vell/smtlib/spelling.h"

#include <algorithm>

namespace vell::smtlib {

namespace {

constexpr std::size_t most_edits = 2;
constexpr std::size_t most_shown = 3;
constexpr std::size_t longest = 100;  // bytes; longer names are made by programs, which do not misspell

}  // namespace

std::size_t edit_distance(std::string_view a, std::string_view b, std::size_t limit) {
  if (std::max(a.size(), b.size()) - std::min(a.size(), b.size()) > limit) return limit + 1;
  std::vector<std::size_t> before(b.size() + 1);
  std::vector<std::size_t> last(b.size() + 1);
  std::vector<std::size_t> row(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) last[j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1)});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
        row[j] = std::min(row[j], before[j - 2] + 1);
    }
    before.swap(last);
    last.swap(row);
  }
  return std::min(last[b.size()], limit + 1);
}

Spelling::Spelling(std::string_view word) : word_(word), limit_(std::min(most_edits, (word.size() + 1) / 3)) {
  if (word.size() > longest) limit_ = 0;
}

void Spelling::offer(std::string_view candidate) {
  if (limit_ == 0 || candidate.size() < 2) return;
  std::size_t const distance = edit_distance(word_, candidate, limit_);
  if (distance > limit_ || distance == 0) return;
  if (distance < limit_) nearest_.clear();
  limit_ = distance;
  if (nearest_.size() < most_shown &&
      std::find(nearest_.begin(), nearest_.end(), candidate) == nearest_.end())
    nearest_.emplace_back(candidate);
}

std::string Spelling::hint() const {
  std::string out;
  for (std::size_t i = 0; i < nearest_.size(); ++i)
    out += (i == 0 ? "; did you mean `" : i + 1 == nearest_.size() ? " or `" : ", `") + nearest_[i] + "`";
  return out.empty() ? out : out + "?";
}

}  // namespace vell::smtlib
