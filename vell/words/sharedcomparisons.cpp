// A comparison goes through its operands from the lowest bit up, one stage for each bit, and a stage needs no
// more of those below than one literal: whether the low bits are in order, or equal. Comparisons of the same
// words that agree in their low bits can have these stages in common. With q for "the low bits are not in
// order", and with e for "the low bits are equal",
//
//   (x.y <= u.v) = (x.q <= u.0)   and   (x.y = u.v) = (x.e = u.1)
//
// where the stage of the bit that was put in emits no clause. So a comparison taken apart is as large as a
// whole one, and every stage that two of them share is saved. Shared are
//
//   - the low bits of a word that is compared with several numerals which agree there: the numerals make a
//     tree by their low bits, and each node with two branches is one comparison;
//   - all bits but the sign where words are compared as signed and as unsigned ones.
//
// Comparisons of earlier batches are translated already, as a whole.

#include "vell/words/sharedcomparisons.h"

#include <algorithm>
#include <map>
#include <utility>
#include <vector>

#include "vell/terms/cone.h"
#include "vell/words/builder.h"
#include "vell/words/substitution.h"

namespace vell::words {

namespace {

using Tag = SymbolTag::tag;

// A comparison with a numeral, or what is shared of some: of the low `width` bits of its word.
struct Bound {
  Term_ const* comparison;
  mpz_class numeral;
  std::uint64_t width;  // as far as stages can be shared: a signed comparison has a last stage of its own
};

// Whether the numerals are in the order of their bits from the lowest one up.
bool from_low_bits(Bound const& a, Bound const& b) {
  mpz_class const differing = a.numeral ^ b.numeral;
  if (differing == 0) return a.width < b.width;
  return mpz_tstbit(b.numeral.get_mpz_t(), mpz_scan1(differing.get_mpz_t(), 0)) != 0;
}

std::uint64_t common_bits(Bound const& a, Bound const& b) {
  std::uint64_t const most = std::min(a.width, b.width);
  mpz_class const differing = a.numeral ^ b.numeral;
  return differing == 0 ? most : std::min<std::uint64_t>(most, mpz_scan1(differing.get_mpz_t(), 0));
}

class Sharing {
 public:
  Sharing(PassContext const& context, Substitution& put_in)
      : context_(context), b_(context.tm), put_in_(put_in) {}

  void collect(Formulas& formulas) {
    Cone cone(context_.limits);
    formulas.each([&](Formula const& f) { cone.add(f.term); });
    for (Term_ const* t : cone.sorted()) {
      context_.limits.check();
      Tag const tag = b_.tag(t);
      if (tag != Tag::equal && tag != Tag::bv_ule && tag != Tag::bv_sle) continue;
      Term_ const* const x = t->children[0];
      std::uint64_t const w = b_.width(x);
      if (w < 2 || b_.is_numeral(x)) continue;
      if (b_.is_numeral(t->children[1])) {
        auto const place = places_.try_emplace({x, tag == Tag::equal}, groups_.size());
        if (place.second) groups_.push_back({x, tag == Tag::equal, {}});
        std::uint64_t const shared = tag == Tag::bv_sle ? w - 1 : w;
        groups_[place.first->second].bounds.push_back({t, b_.value(t->children[1]), shared});
      } else if (tag == Tag::bv_sle) {
        Term_ const* const unsigned_one = b_.order(Tag::bv_ule, x, t->children[1]);
        if (cone.contains(unsigned_one)) share_all_but_sign(t, unsigned_one);
      }
    }
  }

  void share() {
    for (Group& g : groups_)
      if (g.bounds.size() > 1) share(g);
  }

 private:
  struct Group {
    Term_ const* word;
    bool equalities;
    std::vector<Bound> bounds;
  };

  // The formula "the low `end` bits of the word and of the numeral compare", over `below`, which says so of
  // the low `begin` bits. Null for no bits.
  Term_ const* compared(Group const& g, Term_ const* below, std::uint64_t begin, std::uint64_t end,
                        mpz_class const& numeral, bool is_signed) const {
    if (begin == end) return below;
    Term_ const* x = b_.extract(g.word, end - 1, begin);
    Term_ const* k = b_.number(numeral >> begin, end - begin);
    if (is_signed) x = flipped(x), k = flipped(k);
    if (below != nullptr) {
      Term_ const* const bit = g.equalities ? b_.ite(below, b_.one(1), b_.zero(1)) : out_of_order(below);
      x = b_.concat(x, bit);
      k = b_.concat(k, g.equalities ? b_.one(1) : b_.zero(1));
    }
    return g.equalities ? b_.equal(x, k) : b_.order(Tag::bv_ule, x, k);
  }
  Term_ const* out_of_order(Term_ const* comparison) const {
    return b_.ite(comparison, b_.zero(1), b_.one(1));
  }
  // With the sign bit complemented signed words are in the order of unsigned ones.
  Term_ const* flipped(Term_ const* x) const {
    std::uint64_t const w = b_.width(x);
    Term_ const* const sign = b_.complement(b_.sign(x));
    return w == 1 ? sign : b_.concat(sign, b_.extract(x, w - 2, 0));
  }

  // A node of the tree: the comparison of the low `depth` bits, which all numerals below it have in common.
  struct Node {
    std::uint64_t depth;
    std::size_t parent = 0;  // the root is its own one
    std::size_t bound;       // one of those below
    Term_ const* compared = nullptr;
    bool made = false;
  };

  void share(Group& g) {
    std::sort(g.bounds.begin(), g.bounds.end(), from_low_bits);
    std::vector<std::size_t> leaves;
    std::vector<Node> nodes = tree(g, leaves);
    std::uint64_t const w = b_.width(g.word);
    std::vector<std::size_t> path;
    for (std::size_t i = 0; i < g.bounds.size(); ++i) {
      context_.limits.check();
      Bound const& bound = g.bounds[i];
      for (std::size_t n = leaves[i]; !nodes[n].made; n = nodes[n].parent) path.push_back(n);
      for (; !path.empty(); path.pop_back()) make(g, nodes, path.back());
      Node const& last = nodes[leaves[i]];
      if (last.compared == nullptr) continue;
      bool const is_signed = b_.is(bound.comparison, Tag::bv_sle);
      Term_ const* const now = compared(g, last.compared, last.depth, w, bound.numeral, is_signed);
      if (now != bound.comparison) put_in_.replace(bound.comparison, now);
    }
  }

  // The nodes with more than one numeral below them, and the root; leaves: for each numeral the last node
  // above it. In the order of their low bits the numerals below a node stand side by side: a node opens where
  // neighbours agree in more bits than those before, and ends where they agree in fewer.
  std::vector<Node> tree(Group const& g, std::vector<std::size_t>& leaves) const {
    std::vector<Node> nodes{{0, 0, 0, nullptr, true}};
    std::vector<std::size_t> open{0};
    leaves.assign(g.bounds.size(), 0);
    std::size_t inner = 0;  // what the next node to be opened is put above: a leaf, or a node that ended
    bool inner_is_leaf = true;
    for (std::size_t i = 1; i <= g.bounds.size(); ++i) {
      context_.limits.check();
      std::uint64_t const common = i == g.bounds.size() ? 0 : common_bits(g.bounds[i - 1], g.bounds[i]);
      inner = i - 1;
      inner_is_leaf = true;
      auto const put_below = [&](std::size_t node) {
        (inner_is_leaf ? leaves[inner] : nodes[inner].parent) = node;
      };
      while (nodes[open.back()].depth > common) {
        put_below(open.back());
        inner = open.back();
        inner_is_leaf = false;
        open.pop_back();
      }
      if (nodes[open.back()].depth < common) {
        open.push_back(nodes.size());
        nodes.push_back({common, 0, i - 1});
      }
      put_below(open.back());
    }
    return nodes;
  }

  // Makes what a node compares; its parent is made. Up to the lowest zero of a bound there is nothing to
  // compare.
  void make(Group const& g, std::vector<Node>& nodes, std::size_t n) const {
    Node& node = nodes[n];
    Node const& parent = nodes[node.parent];
    mpz_class const& numeral = g.bounds[node.bound].numeral;
    node.made = true;
    if (!g.equalities && mpz_scan0(numeral.get_mpz_t(), 0) >= node.depth) return;
    std::uint64_t const begin = parent.compared == nullptr ? 0 : parent.depth;
    node.compared = compared(g, parent.compared, begin, node.depth, numeral, false);
  }

  void share_all_but_sign(Term_ const* signed_one, Term_ const* unsigned_one) {
    Term_ const* const x = signed_one->children[0];
    Term_ const* const y = signed_one->children[1];
    std::uint64_t const w = b_.width(x);
    Term_ const* const low = b_.order(Tag::bv_ule, b_.extract(x, w - 2, 0), b_.extract(y, w - 2, 0));
    Term_ const* const bit = out_of_order(low);
    auto const with = [&](Term_ const* sign_x, Term_ const* sign_y) {
      return b_.order(Tag::bv_ule, b_.concat(sign_x, bit), b_.concat(sign_y, b_.zero(1)));
    };
    put_in_.replace(unsigned_one, with(b_.sign(x), b_.sign(y)));
    put_in_.replace(signed_one, with(b_.complement(b_.sign(x)), b_.complement(b_.sign(y))));
  }

  PassContext const& context_;
  Builder const b_;
  Substitution& put_in_;
  std::vector<Group> groups_;  // in the order in which their words were met
  std::map<std::pair<Term_ const*, bool>, std::size_t> places_;
};

class SharedComparisons : public Pass {
 public:
  explicit SharedComparisons(PassContext const& context) : context_(context) {}

  std::uint64_t apply(Formulas& formulas) override {
    context_.limits.check();
    Substitution put_in(context_.tm, context_.free_division, context_.limits);
    Sharing sharing(context_, put_in);
    sharing.collect(formulas);
    sharing.share();
    if (put_in.empty()) return 0;
    std::uint64_t replaced = 0;
    formulas.each([&](Formula& f) {
      Term_ const* const now = put_in.apply(f.term);
      replaced += now != f.term ? 1 : 0;
      f.term = now;
    });
    formulas.replace_values([&](Term_ const* t) { return put_in.apply(t); });
    return replaced;
  }

 private:
  PassContext const context_;
};

}  // namespace

std::unique_ptr<Pass> make_shared_comparisons(PassContext const& context) {
  return std::make_unique<SharedComparisons>(context);
}

}  // namespace vell::words
