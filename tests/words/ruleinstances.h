#pragma once

// Terms on which each rule of the rewriter applies, for rules_test.cpp.
//
// A text is an SMT-LIB term over
//   x y z u    words of width w
//   v          a word of width w + 2
//   a b        words of width 2
//   p q c d    Booleans
//   k l        numerals, of width w where the instance does not say another
// with {formula} in the place of an integer: a formula of w, and of i and j where 0 <= j <= i < w, each
// tried. [this|that] stands for either, so a text is as many terms as it has choices; the rule must apply to
// each, for some k, l, i, j and w.

#include <cstdint>
#include <string_view>

namespace vell::test {

struct RuleInstance {
  char const* rule;
  char const* text;
  char const* k_width = "w";
  char const* l_width = "w";
  unsigned least_width = 1;
  // Sums, products and quotients whose equivalence takes a SAT solver too long at larger widths.
  bool hard = false;
};

inline constexpr RuleInstance rule_instances[] = {
    // ---- booleans.cpp ----
    {"not-constant", "(not [true|false])"},
    {"not-constant", "(not (not p))"},
    {"junction-constant", "([and|or] p [true|false])"},
    {"junction-constant", "([and|or] [true|false] p)"},
    {"junction-same", "([and|or] p p)"},
    {"junction-complement", "([and|or] p (not p))"},
    {"junction-complement", "([and|or] (not p) p)"},
    {"junction-absorb", "([and|or] [p|(not p)] ([and|or] [p|(not p)] q))"},
    {"junction-absorb", "([and|or] [p|(not p)] ([and|or] q [p|(not p)]))"},
    {"junction-absorb", "([and|or] ([and|or] q [p|(not p)]) [p|(not p)])"},
    {"junction-absorb", "([and|or] [p|(not p)] (not ([and|or] [p|(not p)] [q|(not q)])))"},
    {"junction-absorb", "([and|or] (not ([and|or] q [p|(not p)])) [p|(not p)])"},
    {"junction-absorb", "([and|or] (or p q) ([and|or] (not p) (or p q)))"},
    {"iff-constant", "(= p [true|false])"},
    {"iff-constant", "(= [true|false] p)"},
    {"iff-same", "(= p [p|(not p)])"},
    {"iff-same", "(= (not p) p)"},
    {"iff-negated", "(= (not p) [q|(not q)])"},
    {"iff-negated", "(= p (not q))"},
    {"junction-order", "([and|or|=] q p)"},

    // ---- conditionals.cpp ----
    {"ite-condition", "(ite [true|false] x y)"},
    {"ite-condition", "(ite [true|false] p q)"},
    {"ite-same", "(ite c x x)"},
    {"ite-same", "(ite c p p)"},
    {"ite-negated", "(ite (not c) x y)"},
    {"ite-negated", "(ite (not c) p q)"},
    {"ite-known", "(ite c [c|(not c)] p)"},
    {"ite-known", "(ite c p [c|(not c)])"},
    {"ite-known", "(ite (not c) [c|(not c)] [c|(not c)])"},
    {"ite-known", "(ite c (ite c x y) z)"},
    {"ite-known", "(ite c x (ite c y z))"},
    {"ite-known", "(ite c (ite c x y) (ite c z u))"},
    {"ite-known", "(ite c (ite c p q) d)"},
    {"ite-known", "(ite c d (ite c p q))"},
    {"ite-boolean", "(ite c [true|false] p)"},
    {"ite-boolean", "(ite c p [true|false])"},
    {"ite-boolean", "(ite c p (not p))"},
    {"ite-boolean", "(ite c (not p) p)"},
    {"ite-complement", "(ite c (bvnot x) (bvnot y))"},
    {"ite-complement", "(ite c (not p) (not q))"},
    {"ite-shared", "(ite c x (ite d x y))"},
    {"ite-shared", "(ite c x (ite d y x))"},
    {"ite-shared", "(ite c (ite d y x) x)"},
    {"ite-shared", "(ite c (ite d x y) x)"},
    {"ite-shared", "(ite c (ite d x y) (ite p z (ite d x y)))"},
    {"ite-extended", "(ite c ((_ zero_extend 2) x) ((_ zero_extend 2) y))"},
    {"ite-extended", "(ite c ((_ sign_extend 2) x) ((_ sign_extend 2) y))"},
    {"ite-extended", "(ite c ((_ [zero_extend|sign_extend] 2) x) k)", "w+2"},
    {"ite-extended", "(ite c k ((_ [zero_extend|sign_extend] 2) x))", "w+2"},
    {"ite-common", "(ite c (concat x y) (concat x z))"},
    {"ite-common", "(ite c (concat y x) (concat z x))"},
    {"ite-common", "(ite c (concat x y) (concat x y))"},

    // ---- equalities.cpp ----
    {"equal-same", "(= x [x|(bvnot x)])"},
    {"equal-same", "(= (bvnot x) x)"},
    {"equal-order", "(= y x)"},
    {"equal-order", "(= k x)"},
    {"equal-complement", "(= (bvnot x) [(bvnot y)|k])"},
    {"equal-negation", "(= (bvneg x) [(bvneg y)|k])"},
    {"equal-bit", "(= x k)"},
    {"equal-concat", "(= (concat x a) (concat y b))"},
    {"equal-concat", "(= (concat x a) k)", "w+2"},
    {"equal-concat", "(= k (concat a x))", "w+2"},
    {"equal-extend", "(= ((_ zero_extend 2) x) ((_ zero_extend 2) y))"},
    {"equal-extend", "(= ((_ sign_extend 2) x) ((_ sign_extend 2) y))"},
    {"equal-extend", "(= ((_ [zero_extend|sign_extend] 2) x) k)", "w+2"},
    {"equal-ite", "(= (ite c x y) [x|y|(bvnot x)|(bvnot y)])"},
    {"equal-ite", "(= x (ite c [x|(bvnot x)] y))"},
    {"equal-ite", "(= (ite c k [x|l]) l)"},
    {"equal-ite", "(= (ite c x k) l)"},
    {"equal-ite", "(= (ite c x y) k)"},
    {"equal-ite", "(= (ite c k (ite d l x)) l)"},
    {"equal-ite", "(= (ite c (ite d y x) x) x)"},
    {"equal-ite", "(= k (ite c l (ite d x y)))"},
    {"equal-xor", "(= (bvxor x y) [x|y])"},
    {"equal-xor", "(= [x|y] (bvxor x y))"},
    {"equal-xor", "(= (bvxor x k) l)"},
    {"equal-xor", "(= k (bvxor l x))"},
    {"equal-xor", "(= (bvxor x y) [(bvxor x z)|(bvxor z x)|(bvxor y z)|(bvxor z y)])"},
    {"equal-xor", "(= (bvxor x y) k)"},
    {"equal-xor", "(= k (bvxor x y))"},
    {"equal-junction", "(= ([bvand|bvor] x y) k)"},
    {"equal-junction", "(= ([bvand|bvor] x l) k)"},

    // ---- comparisons.cpp ----
    {"order-strict", "([bvult|bvslt] x y)"},
    {"order-strict", "([bvult|bvslt] x k)"},
    {"order-strict", "([bvult|bvslt] k x)"},
    {"order-same", "([bvule|bvsle] x x)"},
    {"order-bounds", "([bvule|bvsle] x k)"},
    {"order-bounds", "([bvule|bvsle] k x)"},
    {"order-bounds", "([bvule|bvsle] k l)"},
    {"order-numeral", "([bvule|bvsle] k x)"},
    {"order-low-ones", "(bvule x k)"},
    {"order-high-ones", "(bvule x k)"},
    {"order-sign", "(bvsle x k)"},
    {"order-extended", "([bvule|bvsle] ((_ zero_extend 2) x) ((_ zero_extend 2) y))"},
    {"order-extended", "([bvule|bvsle] ((_ zero_extend {i}) x) ((_ zero_extend {i}) y))"},
    {"order-extended", "([bvule|bvsle] ((_ sign_extend 2) x) ((_ sign_extend 2) y))"},
    {"order-zero-extended", "([bvule|bvsle] ((_ zero_extend 2) x) k)", "w+2"},
    {"order-zero-extended", "([bvule|bvsle] ((_ zero_extend 1) x) k)", "w+1"},
    {"order-zero-extended", "([bvule|bvsle] ((_ zero_extend {i}) ((_ extract {w-1} {i}) x)) k)"},
    {"order-sign-extended", "(bvsle ((_ sign_extend 2) x) k)", "w+2"},
    {"order-sign-extended", "(bvsle ((_ sign_extend 1) x) k)", "w+1"},
    {"order-complement", "([bvule|bvsle] (bvnot x) [(bvnot y)|k])"},
    {"order-common", "([bvule|bvsle] (concat x y) (concat x z))"},
    {"order-common", "([bvule|bvsle] (concat y x) (concat z x))"},
    {"order-common", "([bvule|bvsle] (concat x a) (concat x b))"},
    {"order-bit", "([bvule|bvsle] x y)"},
    {"order-bit", "([bvule|bvsle] x k)"},

    // ---- bitwise.cpp ----
    {"not-not", "(bvnot (bvnot x))"},
    {"not-wires", "(bvnot (concat k x))", "2"},
    {"not-wires", "(bvnot (concat x k))", "2"},
    {"not-wires", "(bvnot (concat (bvnot x) [y|(bvnot y)]))"},
    {"not-wires", "(bvnot (concat x (bvnot y)))"},
    {"not-wires", "(bvnot ((_ zero_extend {i+1}) x))"},
    {"bits-constant", "([bvand|bvor] x k)"},
    {"bits-constant", "([bvand|bvor] k x)"},
    {"bits-same", "([bvand|bvor] x x)"},
    {"bits-complement", "([bvand|bvor] x (bvnot x))"},
    {"bits-complement", "([bvand|bvor] (bvnot x) x)"},
    {"bits-absorb", "([bvand|bvor] [x|(bvnot x)] ([bvand|bvor] [x|(bvnot x)] y))"},
    {"bits-absorb", "([bvand|bvor] [x|(bvnot x)] ([bvand|bvor] y [x|(bvnot x)]))"},
    {"bits-absorb", "([bvand|bvor] ([bvand|bvor] y [x|(bvnot x)]) [x|(bvnot x)])"},
    {"bits-absorb", "([bvand|bvor] (bvor x y) ([bvand|bvor] (bvnot x) (bvor x y)))"},
    {"bits-mask", "([bvand|bvor] x k)"},
    {"bits-mask", "([bvand|bvor] k x)"},
    {"xor-constant", "(bvxor x k)"},
    {"xor-constant", "(bvxor k x)"},
    {"xor-same", "(bvxor x [x|(bvnot x)])"},
    {"xor-same", "(bvxor (bvnot x) x)"},
    {"xor-complement", "(bvxor (bvnot x) [y|(bvnot y)|k])"},
    {"xor-complement", "(bvxor x (bvnot y))"},
    {"xor-cancel", "(bvxor x [(bvxor x y)|(bvxor y x)])"},
    {"xor-cancel", "(bvxor [(bvxor x y)|(bvxor y x)] x)"},
    {"bits-nested", "(bvand [(bvand x l)|(bvand l x)] k)"},
    {"bits-nested", "(bvor [(bvor x l)|(bvor l x)] k)"},
    {"bits-nested", "(bvxor [(bvxor x l)|(bvxor l x)] k)"},
    {"bits-nested", "(bvxor k (bvxor x l))"},
    {"bits-complemented", "([bvand|bvor] (bvnot x) (bvnot y))"},
    {"bits-parts", "([bvand|bvor|bvxor] (concat x a) k)", "w+2"},
    {"bits-parts", "([bvand|bvor|bvxor] k (concat a x))", "w+2"},
    {"bits-parts", "([bvand|bvor|bvxor] ((_ zero_extend 2) x) k)", "w+2"},
    {"bits-parts", "([bvand|bvor|bvxor] (concat k x) v)", "2"},
    {"bits-parts", "([bvand|bvor|bvxor] v (concat x k))", "2"},
    {"bits-parts", "([bvand|bvor|bvxor] ((_ zero_extend 2) x) v)"},
    {"bits-parts", "([bvand|bvor|bvxor] (concat x a) [(concat y b)|((_ zero_extend {w}) b)])"},
    {"bits-parts", "([bvand|bvor|bvxor] ((_ zero_extend 2) x) [(concat a y)|((_ zero_extend 2) y)])"},
    {"bits-order", "([bvand|bvor|bvxor] y x)"},
    {"bits-order", "([bvand|bvor|bvxor] k x)"},

    // ---- sums.cpp ----
    {"add-zero", "([bvadd|bvsub] x k)"},
    {"add-zero", "([bvadd|bvsub] k x)"},
    {"sub-same", "(bvsub x x)"},
    {"add-bit", "([bvadd|bvsub] x y)"},
    {"sub-numeral", "(bvsub x k)"},
    {"add-negation", "([bvadd|bvsub] x (bvneg y))"},
    {"add-negation", "(bvadd (bvneg x) [y|(bvneg y)|k])"},
    {"add-complement", "(bvadd (bvnot x) k)"},
    {"add-complement", "(bvadd k (bvnot x))"},
    {"neg", "(bvneg (bvneg x))"},
    {"neg", "(bvneg (bvsub x y))"},
    {"neg", "(bvneg (bvnot x))"},
    {"neg", "(bvneg x)"},
    {"add-collect", "(bvadd x x)"},
    {"add-collect", "([bvadd|bvsub] [(bvadd x y)|(bvsub x y)|(bvsub y x)] x)", "w", "w", 1, true},
    {"add-collect", "(bvsub x [(bvadd x y)|(bvsub x y)|(bvsub y x)])", "w", "w", 1, true},
    {"add-collect", "([bvadd|bvsub] (bvadd x k) l)", "w", "w", 1, true},
    {"add-collect", "(bvadd k (bvsub l x))", "w", "w", 1, true},
    {"add-collect", "(bvsub (bvadd x k) (bvadd [x|y] l))", "w", "w", 1, true},
    {"add-collect", "(bvsub (bvsub x k) (bvadd x (bvadd y l)))", "w", "w", 1, true},
    {"add-collect", "([bvadd|bvsub] (bvnot (bvadd x k)) (bvsub y l))", "w", "w", 1, true},
    {"add-collect", "(bvadd (bvsub x y) [(bvadd x k)|(bvsub k x)])", "w", "w", 1, true},
    {"add-collect", "(bvsub (bvadd x y) (bvnot [x|(bvadd x y)]))", "w", "w", 1, true},
    {"add-collect", "(bvneg (bvadd (bvadd x k) [l|(bvneg x)]))", "w", "w", 1, true},
    {"add-collect", "([bvadd|bvsub] (bvmul k x) [x|(bvnot x)|(bvmul l x)])", "w", "w", 1, true},
    {"add-collect", "(bvneg (bvadd x (bvmul k x)))", "w", "w", 1, true},
    {"add-collect", "(bvadd (bvadd (bvadd x y) (bvadd z u)) (bvsub (bvneg x) (bvadd y z)))", "w", "w", 1,
     true},
    {"equal-sum", "(= (bvadd x k) l)"},
    {"equal-sum", "(= (bvsub k x) l)"},
    {"equal-sum", "(= ([bvadd|bvsub] x y) [(bvadd x z)|(bvsub y z)|x|y])", "w", "w", 1, true},
    {"equal-sum", "(= (bvadd x (bvneg [x|y])) k)"},
    {"equal-sum", "(= (bvsub x y) k)"},
    {"equal-sum", "(= [(bvadd x (bvadd x y))|(bvneg (bvadd x (bvadd x y)))] k)", "w", "w", 1, true},
    {"equal-sum", "(= (bvadd (bvsub x y) (bvadd x k)) [z|l])", "w", "w", 1, true},
    {"equal-sum", "(= (bvnot (bvadd x k)) [(bvsub l y)|l])", "w", "w", 1, true},
    {"equal-sum", "(= (bvmul k x) l)", "w", "w", 1, true},
    {"equal-sum", "(= (bvmul k x) [x|(bvmul l x)|(bvadd x l)])", "w", "w", 1, true},
    {"add-order", "(bvadd y x)"},
    {"add-order", "(bvadd k x)"},

    // ---- products.cpp ----
    {"mul-bit", "(bvmul x y)"},
    {"mul-simple", "(bvmul k x)", "w", "w", 1, true},
    {"mul-simple", "(bvmul x k)", "w", "w", 1, true},
    {"mul-nested", "(bvmul k (bvmul l x))", "w", "w", 1, true},
    {"mul-nested", "(bvmul k (bvneg x))", "w", "w", 1, true},
    {"mul-negation", "(bvmul (bvneg x) [y|(bvneg y)])", "w", "w", 1, true},
    {"mul-negation", "(bvmul x (bvneg y))", "w", "w", 1, true},
    {"mul-zeros", "(bvmul (concat x k) v)", "2", "w", 1, true},
    {"mul-zeros", "(bvmul v (concat x k))", "2", "w", 1, true},
    {"mul-zeros", "(bvmul k x)", "w", "w", 1, true},
    {"mul-zeros", "(bvmul (concat x k) l)", "2", "w+2", 1, true},
    {"mul-order", "(bvmul y x)", "w", "w", 1, true},

    // ---- divisions.cpp ----
    {"div-zero", "([bvudiv|bvurem] x k)", "w", "w", 1, true},
    {"div-power", "([bvudiv|bvurem] x k)", "w", "w", 1, true},
    {"div-large", "([bvudiv|bvurem] x k)", "w", "w", 1, true},
    {"div-of-zero", "([bvudiv|bvurem] k x)", "w", "w", 1, true},
    {"div-same", "([bvudiv|bvurem] x x)", "w", "w", 1, true},
    {"div-extended", "([bvudiv|bvurem] ((_ zero_extend 2) x) k)", "w+2", "w", 1, true},
    {"div-extended", "([bvudiv|bvurem] k ((_ zero_extend 2) x))", "w+2", "w", 1, true},
    {"div-extended", "([bvudiv|bvurem] ((_ zero_extend 2) x) ((_ zero_extend {w}) a))", "w", "w", 1, true},
    {"div-extended", "([bvudiv|bvurem] ((_ zero_extend {w}) a) ((_ zero_extend 2) x))", "w", "w", 1, true},
    {"div-extended", "([bvudiv|bvurem] ((_ zero_extend 2) x) ((_ zero_extend 2) y))", "w", "w", 1, true},
    {"div-signed", "([bvsdiv|bvsrem] ((_ zero_extend 1) x) [k|((_ zero_extend 1) y)])", "w+1", "w", 1, true},
    {"div-signed", "([bvsdiv|bvsrem] k ((_ zero_extend 1) x))", "w+1", "w", 1, true},

    // ---- shifts.cpp ----
    {"shift-numeral", "([bvshl|bvlshr|bvashr] x k)"},
    {"shift-zero", "([bvshl|bvlshr|bvashr] k x)"},
    {"shift-itself", "(bvlshr x x)"},
    {"shift-amount", "([bvshl|bvlshr|bvashr] x [x|y])"},
    {"shift-amount", "([bvshl|bvlshr|bvashr] k x)"},
    {"shift-amount", "([bvshl|bvlshr|bvashr] v ((_ zero_extend 2) x))"},

    // ---- slices.cpp ----
    {"extract-whole", "((_ extract {w-1} 0) x)"},
    {"extract-extract", "((_ extract {i} {j}) ((_ extract {w} 1) v))"},
    {"extract-concat", "((_ extract {i} {j}) (concat x y))"},
    {"extract-concat", "((_ extract {i+w} {j}) (concat x y))"},
    {"extract-concat", "((_ extract {i+w} {j+w}) (concat x y))"},
    {"extract-extend", "((_ extract {i} {j}) ((_ [zero_extend|sign_extend] {w}) x))"},
    {"extract-extend", "((_ extract {i+w} {j}) ((_ [zero_extend|sign_extend] {w}) x))"},
    {"extract-extend", "((_ extract {i+w} {j+w}) ((_ [zero_extend|sign_extend] {w}) x))"},
    {"extract-not", "((_ extract {i} {j}) (bvnot x))"},
    {"extract-bits", "((_ extract {i} {j}) ([bvand|bvor|bvxor] x k))"},
    {"extract-bits", "((_ extract {i} {j}) ([bvand|bvor|bvxor] k x))"},
    {"extract-ite", "((_ extract {i} {j}) (ite c k l))"},
    {"concat-join", "(concat k l)", "2"},
    {"concat-join", "(concat ((_ extract {w+1} {i+1}) v) ((_ extract {i} {j}) v))"},
    // Slices that overlap, but for i = j.
    {"concat-join", "(concat ((_ extract {w+1} {j+1}) v) ((_ extract {i} 0) v))"},
    {"concat-join", "(concat (bvnot ((_ extract {w+1} {i+1}) v)) (bvnot ((_ extract {i} {j}) v)))"},
    {"concat-join", "(concat ((_ extract {w+1} {i+1}) v) (concat ((_ extract {i} {j}) v) a))"},
    {"concat-join", "(concat (concat a ((_ extract {w+1} {i+1}) v)) ((_ extract {i} {j}) v))"},
    {"concat-join", "(concat (concat a ((_ extract {w+1} {i+1}) v)) (concat ((_ extract {i} {j}) v) b))"},
    {"concat-join", "(concat (concat x k) (concat l a))", "2", "2"},
    {"concat-zeros", "(concat k x)", "2"},
    {"concat-zeros", "(concat ((_ zero_extend 2) x) y)"},
    {"concat-ite", "(concat (_ bv1 2) (ite c k l))"},
    {"concat-ite", "(concat (ite c k l) (_ bv2 2))"},
    {"extend-extend", "((_ [zero_extend|sign_extend] 0) x)"},
    {"extend-extend", "((_ [zero_extend|sign_extend] 2) ((_ zero_extend 1) x))"},
    {"extend-extend", "((_ sign_extend 2) ((_ sign_extend {i+1}) x))"},
    {"extend-numeral", "((_ sign_extend {i+1}) (concat k x))", "2"},
    {"rotate", "((_ [rotate_left|rotate_right] {i}) x)"},
    {"rotate", "((_ [rotate_left|rotate_right] {w}) x)"},
    // ---- circuits.cpp ----
    {"circuit-product", "(bvmul k x)", "w", "w", 1, true},
    {"circuit-difference", "(bvsub x y)", "w", "w", 1, true},
    {"circuit-difference", "(bvsub k x)", "w", "w", 1, true},
    {"circuit-signed", "([bvslt|bvsle] x y)", "w", "w", 1, true},
    {"circuit-signed", "([bvslt|bvsle] x k)", "w", "w", 1, true},
};

// By how many clauses a rule may make a term of unshared operands larger, each time that it applies.
struct AllowedClauses {
  char const* rule;
  std::uint64_t clauses;
};

inline constexpr AllowedClauses allowed_clauses[] = {
    {"equal-concat", 3},  // two equalities and their conjunction, each of which may meet another rule
    {"equal-sum", 8},     // two sums with numerals become one without
    {"div-extended", 4},  // of a numeral by one bit: the choice of the quotient by zero
    {"mul-order", 24},    // where the operands are partly constant, their order matters to the circuit
    {"shift-amount", 4},  // of a numeral, whose own circuit is small
};

constexpr std::uint64_t clauses_that_may_come(std::string_view rule) {
  for (AllowedClauses const& a : allowed_clauses)
    if (rule == a.rule) return a.clauses;
  return 0;
}

}  // namespace vell::test
