// Terms of random scripts.

#include <algorithm>

#include "tests/generate/scriptwriter.h"
#include "tests/support/reference.h"

namespace vell::generate {

namespace {

std::string decimal(test::Word v) {
  std::string digits;
  do {
    digits.insert(digits.begin(), static_cast<char>('0' + static_cast<int>(v % 10)));
    v /= 10;
  } while (v != 0);
  return digits;
}

}  // namespace

unsigned ScriptWriter::Sort::bits() const {
  switch (kind) {
    case Kind::word: return a;
    case Kind::floating: return a + b + 1;
    case Kind::mode: return 2;
    default: return 1;
  }
}

ScriptWriter::Sort ScriptWriter::word_sort(unsigned width) {
  return {Kind::word, width, 0, "bv " + std::to_string(width)};
}

ScriptWriter::Sort ScriptWriter::fp_sort(unsigned e, unsigned s) {
  return {Kind::floating, e, s, "fp " + std::to_string(e) + ' ' + std::to_string(s)};
}

unsigned ScriptWriter::random_width() {
  if (empty_words_ && random_.percent(10)) return 0;
  // Few different widths in a script, so that terms meet.
  unsigned const w = 1 + static_cast<unsigned>(random_.below(max_width_));
  if (max_width_ <= 12) return random_.percent(60) ? std::max(1u, max_width_ - w % 3) : w;
  return random_.percent(60) ? 1 + w % 8 : random_.percent(30) ? 64 + w % 7 : w;
}

ScriptWriter::Sort ScriptWriter::random_sort() {
  if (random_.percent(25)) return {Kind::boolean, 0, 0, "bool"};
  if (floating_ && random_.percent(25)) {
    if (random_.percent(30)) return {Kind::mode, 0, 0, "rm"};
    if (random_.below(60) == 0) return fp_sort(8, 23);
    // The conversion is cubic in nothing but quadratic in the fraction: small formats, and odd ones.
    static std::vector<std::pair<unsigned, unsigned>> const formats = {
        {2, 2}, {3, 4}, {2, 3}, {4, 3}, {3, 2}, {5, 2}, {1, 3}, {4, 7}, {2, 5}, {5, 10}};
    auto const [e, s] = random_.pick(formats);
    return fp_sort(e, s);
  }
  return word_sort(random_width());
}

bool ScriptWriter::affordable(unsigned cost) {
  if (cost_ + cost > budget_) return false;
  cost_ += cost;
  return true;
}

std::size_t ScriptWriter::declare(std::string const& line_start, Term term) {
  // line_start: "COMMAND @ REST", @ for the name.
  char const letter = term.sort.kind == Kind::boolean ? 'b' : term.sort.kind == Kind::word ? 't' : 'f';
  term.name = letter + std::to_string(terms_.size());
  std::string line = line_start;
  line.replace(line.find('@'), 1, term.name);
  for (std::size_t c : term.children) {
    line += ' ' + terms_[c].name;
    term.unsupported = term.unsupported || terms_[c].unsupported;
  }
  emit(line);
  terms_.push_back(std::move(term));
  return terms_.size() - 1;
}

std::size_t ScriptWriter::numeral(Sort const& sort, bool may_be_negative) {
  Term t;
  t.sort = sort;
  t.numeral = true;
  bool big = random_.percent(35);
  test::Word value = 0;
  unsigned const n = sort.bits();
  switch (random_.below(7)) {
    case 0: break;
    case 1: value = 1; break;
    case 2: value = n == 0 ? 0 : static_cast<test::Word>(1) << (random_.below(n) % 100); break;
    case 3: value = random_.below(n + 2); break;
    case 4: value = static_cast<test::Word>(random_.next()) << 64 | random_.next(); break;
    default: value = random_.next(); break;
  }
  if (random_.percent(90) && n < 128) value &= (static_cast<test::Word>(1) << n) - 1;
  if (value >> 63 != 0) big = true;
  t.negative = may_be_negative && value != 0 && random_.percent(20);
  if (t.negative) t.shift_amount = false;
  return declare(
      "num @ " + sort.text + (big ? " big " : " small ") + (t.negative ? "-" : "") + decimal(value), t);
}

std::size_t ScriptWriter::leaf(Sort const& sort) {
  Term t;
  t.sort = sort;
  switch (sort.kind) {
    case Kind::word:
      if (random_.percent(35)) return numeral(sort, !hooks_);
      break;
    case Kind::boolean:
      if (random_.percent(10)) return declare("term @ true bool", t);
      if (random_.percent(10)) return declare("term @ false bool", t);
      if (random_.percent(5)) return numeral(sort, false);
      break;
    case Kind::mode:
      if (random_.percent(70))
        return declare("rmconst @ " + std::string(random_.pick({"even", "even", "zero", "plus", "minus"})),
                       t);
      break;
    case Kind::floating:
      if (random_.percent(20)) return numeral(sort, false);
      break;
    case Kind::other: t.unsupported = true; break;
  }
  std::size_t const made = declare("var @ " + sort.text, t);
  if (sort.kind == Kind::floating && random_.percent(15)) {
    std::string bits;
    for (unsigned i = 0; i < sort.bits(); ++i) bits += ' ' + literal();
    emit("fpbits " + terms_[made].name + bits);
  }
  return made;
}

std::size_t ScriptWriter::operand(Sort const& sort) {
  if (random_.percent(75)) {
    std::vector<std::size_t> candidates;
    for (std::size_t i = 0; i < terms_.size(); ++i)
      if (!terms_[i].scrap && terms_[i].sort == sort && (unsupported_ || !terms_[i].unsupported))
        candidates.push_back(i);
    if (!candidates.empty()) {
      // Young terms more often: deeper terms come of it.
      std::size_t const a = random_.below(candidates.size());
      std::size_t const b = random_.below(candidates.size());
      return candidates[std::max(a, b)];
    }
  }
  return leaf(sort);
}

std::size_t ScriptWriter::shift_amount(Sort const& sort) {
  if (random_.percent(40)) return numeral(sort, false);
  if (random_.percent(4)) {
    Term t;
    t.sort = sort;
    t.numeral = t.negative = true;
    return declare("num @ " + sort.text + " big -1180591620717411303424", t);
  }
  std::size_t const i = operand(sort);
  return terms_[i].shift_amount || terms_[i].shape != Shape::leaf ? i : numeral(sort, false);
}

std::size_t ScriptWriter::term_of(Sort const& sort, Shape shape, std::string const& op,
                                  std::vector<std::size_t> children) {
  Term t;
  t.sort = sort;
  t.shape = shape;
  t.op = op;
  t.children = std::move(children);
  return declare("term @ " + op + ' ' + sort.text, t);
}

std::size_t ScriptWriter::compound() {
  std::uint64_t const choice = random_.below(100);
  if (choice < 36) return word_term();
  if (choice < 52) return structural_term();
  if (choice < 70) return predicate_term();
  if (choice < 82) return boolean_term();
  if (choice < 87) return ite_term();
  if (choice < 95) return floating_ ? fp_term() : word_term();
  if (choice < 98) return odd_term();
  return leaf(random_sort());
}

std::size_t ScriptWriter::word_term() {
  unsigned w = random_width();
  static std::vector<std::string> const cheap = {"bvand", "bvor", "bvxor", "bvadd", "bvsub"};
  if (random_.percent(20)) {
    Sort const s = word_sort(w);
    if (w == 0) return term_of(s, Shape::word_unary, "bvnot", {operand(s)});
    return term_of(s, Shape::word_unary, random_.percent(40) ? "bvnot" : "bvneg", {operand(s)});
  }
  std::string op = random_.pick(cheap);
  unsigned cost = 15 * w;
  if (random_.percent(50)) {
    op =
        random_.pick({"bvmul", "bvmul", "bvudiv", "bvurem", "bvsdiv", "bvsrem", "bvshl", "bvlshr", "bvashr"});
    if (op == "bvmul") {
      w = std::min(w, 12u);
      cost = 10 * w * w;
    } else if (op == "bvshl" || op == "bvlshr" || op == "bvashr") {
      if (w > 16 && !random_.percent(20)) w %= 16;
      cost = 4 * w * w;
    } else {
      w = std::min(w, 8u);
      cost = 24 * w * w;
    }
    if (op == "bvsdiv" || op == "bvsrem" || op == "bvashr") w = std::max(w, 1u);
  }
  if (!affordable(cost)) op = random_.pick(cheap);
  Sort const s = word_sort(w);
  bool const shift = op == "bvshl" || op == "bvlshr" || op == "bvashr";
  // A negative amount hides behind no operator but a shift.
  std::size_t const x = op == "bvmul" && random_.percent(40) ? numeral(s, true) : operand(s);
  std::size_t const y = shift || hooks_ ? shift_amount(s) : random_.percent(10) ? x : operand(s);
  if (!shift && hooks_ && random_.percent(10)) op = "tag50";
  if (random_.percent(3)) {  // by number
    static std::vector<std::pair<std::string, int>> const tags = {
        {"bvand", 18}, {"bvor", 19}, {"bvxor", 20}, {"bvadd", 27}, {"bvsub", 28}, {"bvmul", 29}};
    for (auto const& [name, tag] : tags)
      if (op == name) op = "tag" + std::to_string(tag);
  }
  return term_of(s, op == "tag50" ? Shape::opaque : Shape::word_binary, op, {x, y});
}

std::size_t ScriptWriter::structural_term() {
  switch (random_.below(5)) {
    case 0: {
      unsigned const high = random_width();
      unsigned const low = random_width();
      if (high + low > 100) break;
      return term_of(word_sort(high + low), Shape::concat, "concat",
                     {operand(word_sort(high)), operand(word_sort(low))});
    }
    case 1: {
      unsigned const w = random_width();
      if (w == 0) break;
      unsigned const lsb = static_cast<unsigned>(random_.below(w));
      unsigned const msb = random_.percent(20) ? w - 1 : lsb + static_cast<unsigned>(random_.below(w - lsb));
      return term_of(word_sort(msb - lsb + 1), Shape::extract,
                     "extract:" + std::to_string(msb) + ':' + std::to_string(lsb), {operand(word_sort(w))});
    }
    case 2:
    case 3: {
      unsigned const w = std::max(1u, random_width());
      unsigned const by = static_cast<unsigned>(random_.below(random_.percent(10) ? 30 : 5));
      return term_of(word_sort(w + by), Shape::extend, random_.percent(50) ? "zext" : "sext",
                     {operand(word_sort(w))});
    }
    default: break;
  }
  unsigned const w = std::max(1u, random_width());
  return term_of(word_sort(w), Shape::rotate,
                 (random_.percent(50) ? "rol:" : "ror:") + std::to_string(random_.below(w + 1)),
                 {operand(word_sort(w))});
}

std::size_t ScriptWriter::predicate_term() {
  Sort const boolean{Kind::boolean, 0, 0, "bool"};
  std::string op = random_.pick({"bvult", "bvule", "bvslt", "bvsle", "eq", "eq", "eqnp"});
  Sort s = word_sort(random_width());
  if (s.a == 0 && (op == "bvslt" || op == "bvsle")) op = "eq";
  if (op == "eq" && random_.percent(15)) s = random_sort();
  if (op == "eq" && unsupported_ && random_.percent(10)) s = {Kind::other, 0, 0, "int"};
  if (hooks_ && random_.percent(8)) op = "tag51";
  std::size_t const x = operand(s);
  std::size_t const y = random_.percent(8) ? x : operand(s);
  std::size_t const made = term_of(boolean, op == "tag51" ? Shape::opaque : Shape::predicate, op, {x, y});
  if (atoms_ && random_.percent(40)) {
    std::string const l = random_.percent(75) ? unused_literal() : random_.percent(15) ? "none" : literal();
    emit("atomlit " + terms_[made].name + ' ' + l);
  }
  return made;
}

std::size_t ScriptWriter::boolean_term() {
  Sort const boolean{Kind::boolean, 0, 0, "bool"};
  std::size_t const x = operand(boolean);
  if (random_.percent(25)) return term_of(boolean, Shape::bool_unary, "not", {x});
  std::string const op = random_.pick({"and", "or", "iff", "iff"});
  std::vector<std::size_t> children{x, random_.percent(8) ? x : operand(boolean)};
  if (random_.percent(4)) children.push_back(operand(boolean));  // ignored, but translated
  return term_of(boolean, Shape::bool_binary, op, children);
}

// These have no tag: bit_blast makes variables of them. Handlers called directly read their children.
std::size_t ScriptWriter::ite_term() {
  Sort const boolean{Kind::boolean, 0, 0, "bool"};
  bool const word = random_.percent(60);
  Sort const s = word ? word_sort(random_width()) : boolean;
  bool const tagged = hooks_ && random_.percent(60);
  std::string const op = tagged ? (word ? "tag52" : "tag53") : (word ? "ite" : "boolite");
  Shape const shape = tagged ? Shape::opaque : word ? Shape::word_ite : Shape::bool_ite;
  std::size_t const c = operand(boolean);
  std::size_t const t = operand(s);
  return term_of(s, shape, op, {c, t, operand(s)});
}

std::size_t ScriptWriter::fp_term() {
  unsigned e = 3;
  unsigned s = 4;
  std::vector<Sort> formats;
  for (Term const& t : terms_)
    if (t.sort.kind == Kind::floating) formats.push_back(t.sort);
  if (!formats.empty() && random_.percent(70)) {
    Sort const& f = random_.pick(formats);
    e = f.a;
    s = f.b;
  }
  std::size_t const x = operand(fp_sort(e, s));
  if (random_.percent(20)) return term_of(word_sort(e + s + 1), Shape::pattern, "fp_as_ieeebv", {x});
  std::size_t const mode = operand({Kind::mode, 0, 0, "rm"});
  unsigned const w = 1 + static_cast<unsigned>(random_.below(random_.percent(15) ? s + 6 : 6));
  unsigned const n = std::max(s + 1, w);
  if (!affordable(24 * n * n)) return boolean_term();
  return term_of(word_sort(w), Shape::conversion, random_.percent(50) ? "fp_to_sbv" : "fp_to_ubv", {mode, x});
}

std::size_t ScriptWriter::odd_term() {
  Sort const s = random_sort();
  std::vector<std::size_t> children;
  for (std::uint64_t n = random_.below(3); n > 0; --n) children.push_back(operand(random_sort()));
  std::string const op = random_.pick({"uf", "tag0", "tag7", "tag11", "tag13", "tag14", "tag41", "tag42",
                                       "tag43", "tag59", "tag63", "tag64", "tag99", "tag4294967295"});
  if (unsupported_ && random_.percent(50)) {
    std::size_t const made =
        term_of({Kind::other, 0, 0, random_.pick({"int", "real", "fun"})}, Shape::opaque, op, children);
    terms_[made].unsupported = true;
    return made;
  }
  return term_of(s, Shape::opaque, op, children);
}

// Terms that only direct calls and questions reach.
void ScriptWriter::scrap_term() {
  static std::vector<std::string> const sorts = {"bv 0", "int", "real",   "fun",
                                                 "bool", "rm",  "fp 3 2", "fp 2 0"};
  std::string const sort = random_.pick(sorts);
  Term t;
  t.scrap = true;
  t.sort = {Kind::other, 0, 0, sort};
  switch (random_.below(3)) {
    case 0: declare("var @ " + sort, t); break;
    case 1: declare("num @ " + sort + " small " + std::to_string(random_.between(-4, 9)), t); break;
    default:
      if (!floating_) {
        declare("term @ uf " + sort, t);
        break;
      }
      t.shape = Shape::conversion;
      t.children = {operand({Kind::mode, 0, 0, "rm"}), operand(fp_sort(3, 4))};
      t.sort.text = random_.pick({"int", "bool", "real"});
      declare("term @ " + std::string(random_.pick({"fp_to_sbv ", "fp_to_ubv "})) + t.sort.text, t);
      break;
  }
}

}  // namespace vell::generate
