// One loop with a stack of open parentheses (frames). A complete value is passed to the frame on top: an
// application collects it, a let binds it or passes it on, an annotation names it or passes it on. There is
// no recursion: nesting costs 24 bytes per level and no machine stack.

#include "vell/smtlib/termparser.h"

#include "vell/smtlib/macro.h"
#include "vell/smtlib/spelling.h"
#include "vell/smtlib/syntax.h"

namespace vell::smtlib {

namespace {

std::string quoted(Name const* name) { return "`" + std::string(name->view()) + "`"; }

Type const* type_of(Term_ const* t) { return t->symbol->get_output_type(); }

unsigned digit_value(char c) { return static_cast<unsigned>(c <= '9' ? c - '0' : (c | 32) - 'a' + 10); }

template <typename T>
void shrink(std::vector<T>& v) {
  if (v.capacity() > 1u << 20) std::vector<T>().swap(v);
}

// bv5
bool is_numeral(std::string_view symbol) {
  if (symbol.size() < 3 || symbol[0] != 'b' || symbol[1] != 'v') return false;
  for (char c : symbol.substr(2))
    if (c < '0' || c > '9') return false;
  return true;
}

}  // namespace

TermParser::TermParser(TermManager& terms, Lexer& lexer, SymbolTable& symbols, SortParser& sorts)
    : terms_(terms), lexer_(lexer), symbols_(symbols), sorts_(sorts) {
  for (std::span<Operator const> const table : {operator_table(), floating_operator_table()})
    for (Operator const& op : table) symbols_.intern(op.name)->theory = &op;
}

Term_ const* TermParser::parse(std::vector<NamedTerm>& named) {
  named_ = &named;
  outer_name_.clear();
  frames_.clear();
  values_.clear();
  rational_of_ = 0;
  for (;; lexer_.next()) {
    Term_ const* value = nullptr;
    switch (lexer_.kind()) {
      case Token::open:
        value = open();
        if (value == nullptr) continue;
        break;
      case Token::close: value = close(); break;
      case Token::symbol:
      case Token::quoted: value = plain_symbol(); break;
      case Token::hexadecimal: value = literal(4); break;
      case Token::binary: value = literal(1); break;
      case Token::numeral:
      case Token::decimal:
        if (takes_exponent()) {
          scale_rational();
          continue;
        }
        if (!takes_rational()) not_a_term();
        value = rational();
        break;
      default: not_a_term();
    }
    if (!deliver(value)) continue;
    // The memory of a very deep term is released, since solving will need it.
    shrink(frames_);
    shrink(values_);
    symbols_.shrink_locals();
    return value;
  }
}

void TermParser::recover() {
  frames_.clear();
  values_.clear();
  binders_.clear();
  indices_.clear();
  qualified_.clear();
  parameters_.clear();
}

// Passes the value to the frames that wait for one; true if no frame is left, so that `value` is the whole
// term.
bool TermParser::deliver(Term_ const*& value) {
  for (;;) {
    if (frames_.empty()) return true;
    Frame& f = frames_.back();
    switch (f.kind) {
      case Kind::operation:
      case Kind::macro: values_.push_back(value); return false;
      case Kind::let_bindings:
        values_.push_back(value);
        expect_close(lexer_, "after the value of a let variable");
        next_binding(f);
        return false;
      case Kind::let_body:
        expect_close(lexer_, "after the body of let");
        symbols_.unbind_locals(f.mark);
        break;
      case Kind::annotation: read_attributes(value); break;
    }
    frames_.pop_back();
  }
}

TermParser::Frame& TermParser::push(Kind kind, std::uint64_t offset) {
  if (values_.size() > UINT32_MAX || symbols_.local_mark() > UINT32_MAX || binders_.size() > UINT32_MAX)
    lexer_.fail(offset, "terms are nested too deep");
  Frame& f = frames_.emplace_back();
  f.offset = offset & ((std::uint64_t{1} << 55) - 1);
  f.qualified = 0;
  f.kind = kind;
  f.base = static_cast<std::uint32_t>(values_.size());
  if (rational_of_ == frames_.size()) rational_of_ = 0;  // that of another to_fp, which is complete
  return f;
}

// ---- parentheses ----

// At "(": pushes a frame, or reads a whole term such as (_ bv5 8).
Term_ const* TermParser::open() {
  std::uint64_t const offset = lexer_.offset();
  switch (lexer_.next()) {
    case Token::symbol:
    case Token::quoted: {
      Name const* const n = symbols_.intern(lexer_.text());
      if (lexer_.kind() == Token::symbol && n->reserved != Reserved::none) {
        switch (n->reserved) {
          case Reserved::let: {
            expect_open(lexer_, "the list of let variables");
            Frame& f = push(Kind::let_bindings, offset);
            f.mark = static_cast<std::uint32_t>(binders_.size());
            if (!next_binding(f)) lexer_.fail("expected a let variable, found `)`");
            return nullptr;
          }
          case Reserved::annotation: push(Kind::annotation, offset); return nullptr;
          case Reserved::underscore: return indexed_constant();
          case Reserved::as: return qualified_constant(offset);
          case Reserved::exists:
          case Reserved::forall: lexer_.fail("quantifiers are not supported");
          case Reserved::match: lexer_.fail("datatypes are not supported");
          case Reserved::lambda: lexer_.fail("functions as values are not supported");
          default: lexer_.fail("expected a function, found the reserved word " + lexer_.describe());
        }
      }
      bool const arithmetic = n->view() == "-" || n->view() == "/";
      if (arithmetic && n->meaning == Name::Meaning::none && n->local == nullptr) {
        if (takes_rational()) return rational();
        if (takes_exponent()) {
          scale_rational();
          return nullptr;
        }
      }
      push_function(n, offset);
      return nullptr;
    }
    case Token::open: open_compound_head(offset); return nullptr;
    default: lexer_.fail("expected a function, found " + lexer_.describe());
  }
}

// The current token is the function's name.
void TermParser::push_function(Name const* name, std::uint64_t offset) {
  if (name->local != nullptr) lexer_.fail(quoted(name) + " is a variable, not a function");
  switch (name->meaning) {
    case Name::Meaning::macro: push(Kind::macro, offset).macro = name->macro; return;
    case Name::Meaning::constant:
    case Name::Meaning::definition:
      lexer_.fail(quoted(name) + " takes no arguments; write it without parentheses");
    case Name::Meaning::none: break;
  }
  Operator const* const op = name->theory;
  if (op == nullptr) unknown(name, lexer_.offset());
  if (op->max_arguments == 0 && op->indices == 0)
    lexer_.fail(quoted(name) + " takes no arguments; write it without parentheses");
  if (op->max_arguments == 0) lexer_.fail(quoted(name) + " is written (_ " + op->name + " 8 24)");
  if (op->indices != 0)
    lexer_.fail(quoted(name) + " is written with " + (op->indices == 1 ? "an index" : "two indices") +
                ", ((_ " + op->name + (op->indices == 1 ? " 1" : " 1 0") + ") ...)");
  push(Kind::operation, offset).op = op;
}

// After "((_"; the parenthesis that opens the application is at `offset`.
void TermParser::push_indexed_function(std::uint64_t offset) {
  lexer_.next();
  Name const* const n = read_symbol(lexer_, symbols_, "an indexed function");
  Operator const* const op = n->theory;
  if (op == nullptr || op->indices == 0 || op->max_arguments == 0) {
    if (op != nullptr || n->meaning != Name::Meaning::none) lexer_.fail(quoted(n) + " takes no index");
    if (is_numeral(n->view())) lexer_.fail(quoted(n) + " is no function");
    unknown(n, lexer_.offset());
  }
  std::uint64_t const head = lexer_.offset();
  unsigned count = 0;
  while (lexer_.next() != Token::close) {
    indices_.push_back(read_numeral(lexer_));
    ++count;
  }
  if (count != op->indices)
    lexer_.fail(head, quoted(n) + " takes " + std::to_string(op->indices) +
                          (op->indices == 1 ? " index, not " : " indices, not ") + std::to_string(count));
  push(Kind::operation, offset).op = op;
}

// At the second parenthesis of "((".
void TermParser::open_compound_head(std::uint64_t offset) {
  lexer_.next();
  if (lexer_.kind() == Token::symbol) {
    switch (symbols_.intern(lexer_.text())->reserved) {
      case Reserved::underscore: push_indexed_function(offset); return;
      case Reserved::as: {
        if (lexer_.next() == Token::open) {
          if (lexer_.next() != Token::symbol || lexer_.text() != "_")
            lexer_.fail("expected `_`, found " + lexer_.describe());
          push_indexed_function(offset);
        } else {
          push_function(read_symbol(lexer_, symbols_, "a function"), offset);
        }
        lexer_.next();
        qualified_.push_back(sorts_.parse());
        expect_close(lexer_, "after the sort of a qualified function");
        frames_.back().qualified = 1;
        return;
      }
      default: break;
    }
  }
  lexer_.fail("expected `_` or `as`, found " + lexer_.describe());
}

// At ")": the application on top is complete.
Term_ const* TermParser::close() {
  if (frames_.empty() || frames_.back().kind > Kind::macro) not_a_term();
  Frame const f = frames_.back();
  std::span<Term_ const* const> const arguments(values_.data() + f.base, values_.size() - f.base);
  Term_ const* t = nullptr;
  if (f.kind == Kind::operation) {
    std::size_t const indices = indices_.size() - f.op->indices;
    try {
      t = apply(terms_, *f.op, arguments, indices_.data() + indices);
    } catch (SortError const& e) {
      lexer_.fail(f.offset, e.what());
    }
    indices_.resize(indices);
  } else {
    std::vector<Term_ const*> const& parameters = f.macro->parameters;
    if (arguments.size() != parameters.size())
      lexer_.fail(f.offset, "the function takes " + std::to_string(parameters.size()) +
                                (parameters.size() == 1 ? " argument, not " : " arguments, not ") +
                                std::to_string(arguments.size()));
    for (std::size_t i = 0; i < arguments.size(); ++i)
      if (type_of(arguments[i]) != type_of(parameters[i]))
        lexer_.fail(f.offset, "argument " + std::to_string(i + 1) + " has sort " +
                                  sort_text(type_of(arguments[i])) + ", not " +
                                  sort_text(type_of(parameters[i])));
    t = f.macro->instance(terms_, arguments);
  }
  values_.resize(f.base);
  if (f.qualified) {
    check_sort(t, qualified_.back(), f.offset);
    qualified_.pop_back();
  }
  frames_.pop_back();
  return t;
}

// ---- symbols and literals ----

Term_ const* TermParser::plain_symbol() {
  if (lexer_.kind() == Token::symbol && RationalLiteral::is_negative_number(lexer_.text()) &&
      takes_rational())
    return rational();
  Name const* const n = symbols_.intern(lexer_.text());
  if (n->local != nullptr && (lexer_.kind() == Token::quoted || n->reserved == Reserved::none))
    return n->local;
  if (lexer_.kind() == Token::symbol && n->reserved != Reserved::none)
    lexer_.fail("expected a term, found the reserved word " + lexer_.describe());
  return constant(n, lexer_.offset());
}

Term_ const* TermParser::constant(Name const* name, std::uint64_t offset) {
  if (name->local != nullptr) return name->local;
  switch (name->meaning) {
    case Name::Meaning::constant:
    case Name::Meaning::definition: return name->term;
    case Name::Meaning::macro: lexer_.fail(offset, quoted(name) + " is a function and needs arguments");
    case Name::Meaning::none: break;
  }
  if (name->theory == nullptr) unknown(name, offset);
  if (name->theory->max_arguments != 0)
    lexer_.fail(offset, quoted(name) + " is a function and needs arguments");
  if (name->theory->indices != 0)
    lexer_.fail(offset, quoted(name) + " is written with two indices, (_ " + name->theory->name + " 8 24)");
  return apply(terms_, *name->theory, {}, nullptr);
}

// After "(_": a constant such as (_ bv5 8).
Term_ const* TermParser::indexed_constant() {
  // Numerals are not interned as symbols, since there may be very many.
  if (lexer_.next() == Token::symbol && is_numeral(lexer_.text())) return bit_vector_numeral();
  Name const* const n = read_symbol(lexer_, symbols_, "an indexed symbol");
  if (n->theory != nullptr && n->theory->indices == 2 && n->theory->max_arguments == 0) {
    std::uint64_t const offset = lexer_.offset();
    std::uint64_t widths[2] = {0, 0};
    for (std::uint64_t& width : widths) {
      lexer_.next();
      width = read_numeral(lexer_);
    }
    expect_close(lexer_, "after the widths of a floating-point format");
    try {
      return apply(terms_, *n->theory, {}, widths);
    } catch (SortError const& e) {
      lexer_.fail(offset, e.what());
    }
  }
  if (n->theory != nullptr && n->theory->indices != 0)
    lexer_.fail(quoted(n) + " is a function: write ((_ " + n->theory->name + " ...) argument)");
  if (n->theory != nullptr || n->meaning != Name::Meaning::none) lexer_.fail(quoted(n) + " takes no index");
  unknown(n, lexer_.offset());
}

// Whether the term that begins now is the number that a to_fp rounds.
bool TermParser::takes_rational() const {
  if (frames_.empty() || frames_.back().kind != Kind::operation ||
      frames_.back().op->sorts != Sorts::float_conversion)
    return false;
  std::size_t const base = frames_.back().base;
  return values_.size() == base + 1 && type_of(values_[base]) == terms_.rounding_mode_type;
}

// A number, already rounded to the format of the to_fp around it.
Term_ const* TermParser::rational() {
  std::uint64_t const* const widths = indices_.data() + indices_.size() - 2;
  if (std::string const wrong = theory::format_error(widths[0], widths[1]); !wrong.empty())
    lexer_.fail(frames_.back().offset, wrong);
  rational_ = RationalLiteral(lexer_);
  rational_of_ = frames_.size();
  return rational_.rounded(terms_, values_.back(), widths[0], widths[1]);
}

// Whether the term that begins now is the binary exponent of the number before it, as z3 lets scripts
// write: 1.5 (- 3) is 1.5 * 2^-3.
bool TermParser::takes_exponent() const {
  return !frames_.empty() && rational_of_ == frames_.size() && frames_.back().kind == Kind::operation &&
         frames_.back().op->sorts == Sorts::float_conversion && values_.size() == frames_.back().base + 2u;
}

void TermParser::scale_rational() {
  std::uint64_t const offset = lexer_.offset();
  std::uint64_t const* const widths = indices_.data() + indices_.size() - 2;
  try {
    rational_.scale(RationalLiteral(lexer_).value());
  } catch (io::Error const&) {
    throw;
  } catch (Exception const& e) {
    lexer_.fail(offset, e.what());
  }
  rational_of_ = 0;
  values_.back() = rational_.rounded(terms_, values_[frames_.back().base], widths[0], widths[1]);
}

// At bvN.
Term_ const* TermParser::bit_vector_numeral() {
  std::uint64_t const offset = lexer_.offset();
  std::string_view digits = lexer_.text().substr(2);
  std::uint64_t value = 0;
  QNumber large;
  std::string shown(digits.substr(0, 20));
  bool const small = digits.size() <= 19;
  if (small)
    for (char c : digits) value = value * 10 + digit_value(c);
  else
    large = QNumber::from_digits(digits, 10);
  std::size_t const length = digits.size();
  lexer_.next();  // digits is gone
  std::uint64_t const width = read_numeral(lexer_);
  if (width == 0) lexer_.fail("the width of a bit-vector is at least 1");
  if (width > max_width)
    lexer_.fail("the width of a bit-vector is at most " + std::to_string(max_width) + ", not " +
                std::to_string(width));
  expect_close(lexer_, "after the width of a numeral");
  if (small ? width < 64 && value >> width != 0 : large.sign() != 0 && large.size_in_base_2() > width)
    lexer_.fail(offset, "bv" + shown + (length > shown.size() ? "..." : "") + " does not fit " +
                            std::to_string(width) + (width == 1 ? " bit" : " bits"));
  if (small && width <= 64) return number(value, width);
  if (small) large = QNumber::from_words(&value, 1);
  return terms_.mk_number(large, terms_.bv_type(width));
}

Term_ const* TermParser::literal(unsigned bits_per_digit) {
  std::string_view const digits = lexer_.text();
  std::uint64_t const width = digits.size() * bits_per_digit;
  if (width <= 64) {
    std::uint64_t value = 0;
    for (char c : digits) value = value << bits_per_digit | digit_value(c);
    return number(value, width);
  }
  if (width > max_width) lexer_.fail("the literal is wider than " + std::to_string(max_width) + " bits");
  return terms_.mk_number(QNumber::from_digits(digits, bits_per_digit == 4 ? 16 : 2), terms_.bv_type(width));
}

// value < 2^width, width <= 64
Term_ const* TermParser::number(std::uint64_t value, std::uint64_t width) {
  Recent& r = recent_[((value ^ width << 58) * 0x9e3779b97f4a7c15u) >> 54];
  if (r.term == nullptr || r.value != value || r.width != width) {
    r.value = value;
    r.width = width;
    r.term = terms_.mk_bv(value, width);
  }
  return r.term;
}

// After "(as": a constant with its sort.
Term_ const* TermParser::qualified_constant(std::uint64_t offset) {
  Term_ const* t = nullptr;
  if (lexer_.next() == Token::open) {
    if (lexer_.next() != Token::symbol || lexer_.text() != "_")
      lexer_.fail("expected `_`, found " + lexer_.describe());
    t = indexed_constant();
  } else {
    Name const* const n = read_symbol(lexer_, symbols_, "a symbol");
    t = constant(n, lexer_.offset());
  }
  lexer_.next();
  check_sort(t, sorts_.parse(), offset);
  expect_close(lexer_, "after the sort of a qualified symbol");
  return t;
}

void TermParser::check_sort(Term_ const* term, Type const* sort, std::uint64_t offset) const {
  if (type_of(term) != sort)
    lexer_.fail(offset, "the term has sort " + sort_text(type_of(term)) + ", not " + sort_text(sort));
}

// ---- let and annotations ----

// At the parenthesis that opens a let binding or closes their list. Reads up to the binding's value, or puts
// all bindings into force together, so that no value uses another variable of its list. False for an empty
// list.
bool TermParser::next_binding(Frame& frame) {
  Token const t = lexer_.next();
  if (t == Token::open) {
    lexer_.next();
    Name* const n = read_symbol(lexer_, symbols_, "a let variable");
    binders_.push_back({n, lexer_.offset()});
    return true;
  }
  if (t != Token::close) lexer_.fail("expected a let binding in parentheses, found " + lexer_.describe());
  std::size_t const first = frame.mark;
  std::size_t const count = binders_.size() - first;
  if (count == 0) return false;
  frame.kind = Kind::let_body;
  frame.mark = static_cast<std::uint32_t>(symbols_.local_mark());
  std::uint32_t const stamp = count > 1 ? symbols_.new_stamp() : 0;
  for (std::size_t i = 0; i < count; ++i) {
    Binder const& b = binders_[first + i];
    if (count > 1) {
      // Bound twice to the same term: this is unambiguous, and other solvers accept such scripts.
      if (b.name->stamp == stamp && b.name->local != values_[frame.base + i])
        lexer_.fail(b.offset, quoted(b.name) + " is bound to two terms in one let");
      b.name->stamp = stamp;
    }
    symbols_.bind_local(b.name, values_[frame.base + i]);
  }
  binders_.resize(first);
  values_.resize(frame.base);
  return true;
}

// After an annotated term: reads attributes up to the closing parenthesis.
void TermParser::read_attributes(Term_ const* term) {
  if (lexer_.next() != Token::keyword) lexer_.fail("expected an attribute, found " + lexer_.describe());
  while (lexer_.kind() != Token::close) {
    if (lexer_.kind() != Token::keyword)
      lexer_.fail("expected an attribute or `)`, found " + lexer_.describe());
    if (lexer_.text() == ":named") {
      lexer_.next();
      name_term(term);
      lexer_.next();
    } else {
      lexer_.next();
      skip_attribute_value(lexer_, symbols_);
    }
  }
}

void TermParser::name_term(Term_ const* term) {
  Name* const n = read_symbol(lexer_, symbols_, "the name of the term");
  check_not_reserved(lexer_, n, lexer_.offset());
  if (n->theory != nullptr || n->meaning != Name::Meaning::none)
    lexer_.fail("symbol " + quoted(n) + " is already declared");
  if (occurs(parameters_, term))
    lexer_.fail("the term named " + quoted(n) + " depends on a parameter of the definition around it");
  symbols_.bind(n, Name::Meaning::definition, term);
  named_->push_back({quote_symbol(n->view()), term});
  if (frames_.size() == 1) outer_name_ = named_->back().name;
}

// ---- errors ----

void TermParser::unknown(Name const* name, std::uint64_t offset) const {
  if (char const* why = refusal(name->view())) lexer_.fail(offset, quoted(name) + ": " + why);
  if (name->command != 0)
    lexer_.fail(offset, "unknown symbol " + quoted(name) + "; a `)` may be missing before this command" +
                            lexer_.open_command());
  Spelling spelling(name->view());
  symbols_.each([&](Name const& n) {
    // Not +oo and the like: they are near to any short word.
    bool const special = n.theory != nullptr && n.theory->max_arguments == 0 && n.theory->indices != 0;
    if ((n.theory != nullptr && !special) || n.meaning != Name::Meaning::none || n.local != nullptr ||
        n.reserved == Reserved::let)
      spelling.offer(n.view());
  });
  lexer_.fail(offset, "unknown symbol " + quoted(name) + spelling.hint());
}

// The current token, an integer, as a bit-vector of the width of the preceding arguments; for an error
// message.
std::string TermParser::bit_vector_hint() const {
  std::string width = "WIDTH";
  if (!frames_.empty() && frames_.back().kind == Kind::operation && frames_.back().op->indices == 0) {
    for (std::size_t i = frames_.back().base; i < values_.size(); ++i) {
      std::uint64_t bits = 0;
      if (terms_.is_bv_type(type_of(values_[i]), &bits)) width = std::to_string(bits);
    }
  }
  std::string const digits = lexer_.describe();
  return "; a bit-vector is written (_ bv" + digits.substr(1, digits.size() - 2) + " " + width + ")";
}

void TermParser::not_a_term() const {
  switch (lexer_.kind()) {
    case Token::numeral:
      lexer_.fail("integer " + lexer_.describe() + ": integers and reals are not supported" +
                  bit_vector_hint());
    case Token::decimal:
      lexer_.fail("real number " + lexer_.describe() + ": integers and reals are not supported");
    case Token::string:
      lexer_.fail("string " + lexer_.describe() + ": strings and sequences are not supported");
    default: lexer_.fail("expected a term, found " + lexer_.describe());
  }
}

}  // namespace vell::smtlib
