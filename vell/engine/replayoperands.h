#pragma once

// What handlers and circuits need of their operands. The clausifier trusts its caller; a script is not trusted, so the
// runner looks first.

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "vell/bv/wordclausifier.h"

namespace vell::replay {

// A handler that scripts may name.
struct NamedHandler {
  std::string_view name;
  bv::WordClausifier::Handler handler;  // null for generic_variable, which has a result
  bool leaf;                            // called without looking whether the children are cached
  // The length of the list it makes for a term whose children have lists of these lengths; none when they do not fit.
  std::optional<std::uint64_t> (*result_length)(TermManager const&, Term_ const*, std::vector<std::uint64_t> const&);
};

NamedHandler const* find_handler(std::string_view name);
NamedHandler const* find_handler(bv::WordClausifier::Handler handler);

// Looks through everything that bit_blast(root) would translate. Returns the name of the first term whose handler could
// not work on its operands and the handler's name ("t: word_add"), or nothing.
std::optional<std::string> misfit(TermManager const& tm, bv::WordClausifier& clausifier, Term_ const* root);

// Whether the handler can be called on the term; its children are cached unless the handler is a leaf's.
bool fits(TermManager const& tm, bv::WordClausifier& clausifier, NamedHandler const& handler, Term_ const* term);

}  // namespace vell::replay
