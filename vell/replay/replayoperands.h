#pragma once

// What handlers and circuits need of their operands. The clausifier trusts its caller; a script is not
// trusted, so the runner looks first.

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "vell/bv/wordclausifier.h"
#include "vell/replay/replayevents.h"

namespace vell::replay {

// A handler that scripts may name.
struct NamedHandler {
  std::string_view name;
  bv::WordClausifier::Handler handler;  // null for generic_variable, which has a result
  bool leaf;                            // called without looking whether the children are cached
  // The length of the list it makes for a term whose children have lists of these lengths; none when they do
  // not fit.
  std::optional<std::uint64_t> (*result_length)(TermManager const&, Term_ const*,
                                                std::vector<std::uint64_t> const&);
};

NamedHandler const* find_handler(std::string_view name);
NamedHandler const* find_handler(bv::WordClausifier::Handler handler);

// Lists longer than this are refused: a width that was mistyped would only fill the memory.
inline constexpr std::uint64_t max_length = std::uint64_t{1} << 24;

// What the checks look at.
struct Operands {
  TermManager const& tm;
  bv::WordClausifier& clausifier;
  Combination const* combination;  // null while none is installed
};

// What bit_blast(root) would come upon.
struct Cone {
  std::string
      misfit;  // the first term whose handler could not work and the handler's name ("t: word_add"), or empty
  std::uint64_t length = 0;  // of the root's list
};
Cone examine(Operands const& operands, Term_ const* root);

// Whether the handler can be called on the term; its children are cached unless the handler is a leaf's.
bool fits(Operands const& operands, NamedHandler const& handler, Term_ const* term);

}  // namespace vell::replay
