// No sort is made of sorts, so every sort definition is equivalent to a sort or to one of
// its arguments. Only that is stored.

#include "vell/smtlib/sortparser.h"

#include "vell/smtlib/operatortable.h"
#include "vell/smtlib/spelling.h"
#include "vell/smtlib/syntax.h"

namespace vell::smtlib {

SortParser::SortParser(TermManager& terms, Lexer& lexer, SymbolTable& symbols)
    : terms_(terms),
      lexer_(lexer),
      symbols_(symbols),
      bool_(symbols.intern("Bool")),
      bit_vec_(symbols.intern("BitVec")),
      floating_point_(symbols.intern("FloatingPoint")),
      words_(257, nullptr) {
  named_ = {{symbols.intern("RoundingMode"), 0, 0},
            {symbols.intern("Float16"), 5, 11},
            {symbols.intern("Float32"), 8, 24},
            {symbols.intern("Float64"), 11, 53},
            {symbols.intern("Float128"), 15, 113}};
  bool_->theory_sort = bit_vec_->theory_sort = floating_point_->theory_sort = 1;
  for (NamedSort const& s : named_) s.name->theory_sort = 1;
}

// Null for another name.
Type const* SortParser::named(Name const* name) const {
  for (NamedSort const& s : named_)
    if (s.name == name)
      return s.exponent_width == 0 ? terms_.rounding_mode_type
                                   : terms_.fp_type(s.exponent_width, s.significand_width - 1);
  return nullptr;
}

Type const* SortParser::parse() {
  parameters_.clear();
  return parse_value().type;
}

SortDefinition SortParser::parse_definition(std::vector<Name*> const& parameters) {
  parameters_.clear();
  for (Name const* p : parameters) parameters_.emplace(p, parameters_.size());
  Value const v = parse_value();
  parameters_.clear();
  return {parameters.size(), v.type, v.parameter};
}

void SortParser::unknown(Name const* name) const {
  std::string const quoted = "`" + std::string(name->view()) + "`";
  if (name == bit_vec_) lexer_.fail("`BitVec` is written with a width, (_ BitVec 8)");
  if (name == floating_point_)
    lexer_.fail("`FloatingPoint` is written with two widths, (_ FloatingPoint 8 24)");
  if (char const* why = refusal(name->view())) lexer_.fail("sort " + quoted + ": " + why);
  Spelling spelling(name->view());
  symbols_.each([&](Name const& n) {
    if (n.sort != nullptr || n.theory_sort != 0) spelling.offer(n.view());
  });
  lexer_.fail("unknown sort " + quoted + spelling.hint());
}

void SortParser::wrong_count(Name const* name, std::size_t given, std::uint64_t offset) const {
  lexer_.fail(offset, "sort `" + std::string(name->view()) + "` takes " +
                          std::to_string(name->sort->parameters) +
                          (name->sort->parameters == 1 ? " argument, not " : " arguments, not ") +
                          std::to_string(given));
}

SortParser::Value SortParser::symbol_value() {
  Name const* const n = read_symbol(lexer_, symbols_, "a sort");
  if (!parameters_.empty()) {
    auto const i = parameters_.find(n);
    if (i != parameters_.end()) return {nullptr, i->second};
  }
  if (n == bool_) return {terms_.bool_type, 0};
  if (n->sort == nullptr && n->theory_sort != 0)
    if (Type const* const sort = named(n)) return {sort, 0};
  if (n->sort == nullptr) unknown(n);
  if (n->sort->parameters != 0) wrong_count(n, 0, lexer_.offset());
  return {n->sort->type, 0};
}

// After "(_".
Type const* SortParser::indexed() {
  lexer_.next();
  Name const* const n = read_symbol(lexer_, symbols_, "the name of a sort");
  if (n == floating_point_) return floating_point();
  if (n != bit_vec_) {
    if (n == bool_ || n->sort != nullptr || named(n) != nullptr)
      lexer_.fail("sort `" + std::string(n->view()) + "` takes no index");
    unknown(n);
  }
  lexer_.next();
  std::uint64_t const width = read_numeral(lexer_);
  if (width == 0) lexer_.fail("the width of a bit-vector is at least 1");
  if (width > max_width)
    lexer_.fail("the width of a bit-vector is at most " + std::to_string(max_width) + ", not " +
                std::to_string(width));
  expect_close(lexer_, "after the width of a bit-vector");
  if (width >= words_.size()) return terms_.bv_type(width);
  Type const*& t = words_[width];
  if (t == nullptr) t = terms_.bv_type(width);
  return t;
}

// At "FloatingPoint".
Type const* SortParser::floating_point() {
  std::uint64_t const offset = lexer_.offset();
  std::uint64_t widths[2] = {0, 0};
  for (std::uint64_t& width : widths) {
    lexer_.next();
    width = read_numeral(lexer_);
  }
  if (std::string const wrong = theory::format_error(widths[0], widths[1]); !wrong.empty())
    lexer_.fail(offset, wrong);
  expect_close(lexer_, "after the widths of a floating-point format");
  return terms_.fp_type(widths[0], widths[1] - 1);
}

SortParser::Value SortParser::close() {
  if (frames_.empty()) lexer_.fail("expected a sort, found `)`");
  Frame const f = frames_.back();
  std::size_t const given = values_.size() - f.base;
  SortDefinition const& sort = *f.name->sort;
  if (given != sort.parameters) wrong_count(f.name, given, f.offset);
  Value const v = sort.type != nullptr ? Value{sort.type, 0} : values_[f.base + sort.argument];
  values_.resize(f.base);
  frames_.pop_back();
  return v;
}

SortParser::Value SortParser::parse_value() {
  frames_.clear();
  values_.clear();
  for (;;) {
    Value v{nullptr, 0};
    if (lexer_.kind() == Token::close) {
      v = close();
    } else if (lexer_.kind() != Token::open) {
      v = symbol_value();
    } else {
      std::uint64_t const offset = lexer_.offset();
      if (lexer_.next() == Token::symbol &&
          symbols_.intern(lexer_.text())->reserved == Reserved::underscore) {
        v.type = indexed();
      } else {
        Name const* const n = read_symbol(lexer_, symbols_, "the name of a sort");
        if (Type const* const sort = parameters_.contains(n) ? nullptr : named(n)) {
          // Some scripts write (Float64).
          if (lexer_.next() != Token::close)
            lexer_.fail(offset, "sort `" + std::string(n->view()) + "` takes no arguments");
          if (frames_.empty()) return {sort, 0};
          values_.push_back({sort, 0});
          lexer_.next();
          continue;
        }
        if (parameters_.contains(n) || n == bool_ || (n->sort != nullptr && n->sort->parameters == 0))
          lexer_.fail("sort `" + std::string(n->view()) + "` takes no arguments");
        if (n->sort == nullptr) unknown(n);
        frames_.push_back({n, values_.size(), offset});
        lexer_.next();
        continue;
      }
    }
    if (frames_.empty()) return v;
    values_.push_back(v);
    lexer_.next();
  }
}

}  // namespace vell::smtlib
