#include "vell/report/circuit.h"

#include <algorithm>
#include <cstdlib>
#include <sstream>

#include "vell/bv/standardclausifier.h"
#include "vell/sinks/recordingsink.h"
#include "vell/smtlib/termprinter.h"
#include "vell/terms/exception.h"
#include "vell/terms/operators.h"
#include "vell/values/evaluator.h"

namespace vell::report {

namespace {

// Operators that share their SMT-LIB name with another one.
std::string name_of(OperatorInfo const& info) {
  switch (info.tag) {
    case SymbolTag::bool_iff: return "iff";
    case SymbolTag::bool_ite: return "bool_ite";
    case SymbolTag::equal_noproxy: return "equal_noproxy";
    default: return info.name;
  }
}

struct Chosen {
  OperatorInfo const* info = nullptr;
  std::vector<std::uint64_t> parameters;
};

// "bvadd" or "(_ extract 5 2)".
Chosen choose(std::string const& text) {
  std::istringstream words(text);
  std::string name;
  Chosen out;
  words >> name;
  bool const indexed = name == "(_";
  if (indexed) {
    words >> name;
    for (std::string number; words >> number;) {
      if (number.ends_with(')')) number.pop_back();
      if (number.empty()) continue;
      if (number.size() > 9 || number.find_first_not_of("0123456789") != std::string::npos)
        throw Exception("no number in " + text + ": " + number);
      out.parameters.push_back(std::stoull(number));
    }
  }
  for (OperatorInfo const& info : operator_table)
    if (name_of(info) == name) out.info = &info;
  if (out.info == nullptr) {
    std::string all;
    for (std::string const& n : operator_names()) all += " " + n;
    throw Exception("no operator " + name + "; there are" + all);
  }
  if (indexed && out.parameters.size() != out.info->parameters)
    throw Exception(name + " takes " + std::to_string(out.info->parameters) + " numbers");
  return out;
}

class Maker {
 public:
  explicit Maker(CircuitOptions const& options)
      : options_(options), chosen_(choose(options.name)), clausifier_(&tm_, &config_) {
    config_.div_semantics = options.free_division ? 1 : 0;
  }

  Circuit make() {
    OperatorInfo const& info = *chosen_.info;
    if (options_.width == 0 || options_.width > 4096) throw Exception("the width must be 1 to 4096");
    std::vector<Type const*> const sorts = argument_sorts(info);
    if (options_.constants.size() > sorts.size())
      throw Exception(name_of(info) + " takes " + std::to_string(sorts.size()) + " arguments, not " +
                      std::to_string(options_.constants.size()));
    std::vector<Term_ const*> arguments;
    static constexpr char const* names[] = {"x", "y", "z"};
    for (std::size_t i = 0; i < sorts.size(); ++i)
      arguments.push_back(
          argument(names[i], sorts[i], i < options_.constants.size() ? options_.constants[i] : "?"));
    std::vector<std::uint64_t> p = chosen_.parameters;
    if (p.empty()) p = default_parameters(info);
    p.resize(2);
    Term_ const* const term = tm_.mk_app(info.tag, arguments, p[0], p[1]);
    sink_.clear();
    clausifier_.call_hook(&sink_, term, term->symbol->tag());
    bool const equality = info.tag == SymbolTag::equal || info.tag == SymbolTag::equal_noproxy;
    circuit_.cells = cells_of(sink_.events(), equality);
    if (circuit_.cells.size() > options_.most)
      throw Exception(smtlib::shallow_text(tm_, term) + " of width " + std::to_string(options_.width) +
                      " has " + std::to_string(circuit_.cells.size()) + " cells; at most " +
                      std::to_string(options_.most) + " are drawn: choose a smaller --width, or --constants");
    circuit_.title = smtlib::shallow_text(tm_, term);
    circuit_.width = options_.width;
    circuit_.result = {"result", *clausifier_.lookup(term)};
    circuit_.last = sink_.next_literal() - 1;
    return std::move(circuit_);
  }

 private:
  using Typing = OperatorInfo::Typing;

  std::vector<Type const*> argument_sorts(OperatorInfo const& info) {
    Type const* const word = tm_.bv_type(options_.width);
    auto const count = static_cast<std::size_t>(info.arity);
    switch (info.typing) {
      case Typing::none: throw Exception("no circuit: " + name_of(info));
      case Typing::constant: return {};
      case Typing::booleans: return std::vector<Type const*>(count, tm_.bool_type);
      case Typing::ite: {
        Type const* const branch = info.tag == SymbolTag::bool_ite ? tm_.bool_type : word;
        return {tm_.bool_type, branch, branch};
      }
      case Typing::fp_to_word: return {tm_.rounding_mode_type, fp_type()};
      case Typing::fp_as_word: return {fp_type()};
      default: return std::vector<Type const*>(count, word);
    }
  }

  Type const* fp_type() {
    if (options_.exponent < 2 || options_.exponent > 30 || options_.significand < 2 ||
        options_.significand > 4096)
      throw Exception(
          "a floating-point format has an exponent of 2 to 30 bits and a significand of 2 to 4096");
    return tm_.fp_type(options_.exponent, options_.significand - 1);
  }

  // Where the name alone was given.
  std::vector<std::uint64_t> default_parameters(OperatorInfo const& info) const {
    switch (info.typing) {
      case Typing::extract: return {options_.width - 1, options_.width / 2};
      case Typing::rotate: return {std::min<std::uint64_t>(1, options_.width)};
      case Typing::extend: return {options_.width};
      case Typing::fp_to_word: return {options_.width};
      default: return {};
    }
  }

  // A variable, a numeral where all bits are given, or a word of which some are.
  Term_ const* argument(char const* name, Type const* sort, std::string const& given) {
    std::uint64_t const width = values::value_width(tm_, sort);
    if (sort == tm_.rounding_mode_type && given.starts_with('R')) return rounding_mode(given);
    std::string const bits = pattern(given, width);
    std::size_t const free = static_cast<std::size_t>(std::count(bits.begin(), bits.end(), '?'));
    Term_ const* term = nullptr;
    bool const whole = free == 0 && sort != tm_.rounding_mode_type;
    if (whole && sort == tm_.bool_type) {
      term = tm_.mk_bool(bits == "1");
    } else if (whole && tm_.is_bv_type(sort)) {
      term = tm_.mk_number(QNumber::from_digits(bits, 2), sort);
    } else {
      term = tm_.mk_variable(name, sort);
    }
    if (free == width || (whole && term->symbol->role() != Symbol::Role::uninterpreted)) {
      clausifier_.call_hook(&sink_, term, term->symbol->tag());
    } else {
      bv::BvLitList list;
      for (std::size_t i = bits.size(); i-- > 0;)
        list.push_back(bits[i] == '?' ? sink_.new_lit() : bits[i] == '1' ? bv::l_true : bv::l_false);
      clausifier_.set_bits(term, &sink_, list);
    }
    circuit_.inputs.push_back({name, *clausifier_.lookup(term)});
    return term;
  }

  Term_ const* rounding_mode(std::string const& given) {
    static constexpr std::pair<char const*, Symbol::Role> modes[] = {
        {"RNE", Symbol::Role::rounding_even},
        {"RTZ", Symbol::Role::rounding_zero},
        {"RTP", Symbol::Role::rounding_plus_inf},
        {"RTN", Symbol::Role::rounding_minus_inf}};
    for (auto const& [name, role] : modes)
      if (given == name) {
        Term_ const* term =
            tm_.mk_term(tm_.make_symbol({.name = name, .output_type = tm_.rounding_mode_type, .role = role}));
        clausifier_.call_hook(&sink_, term, SymbolTag::none);
        circuit_.inputs.push_back({"x", *clausifier_.lookup(term)});
        return term;
      }
    throw Exception("no rounding mode: " + given + " (RNE, RTZ, RTP or RTN)");
  }

  // The bits as 0, 1 and ?, the most significant first.
  static std::string pattern(std::string const& given, std::uint64_t width) {
    if (given == "?") return std::string(width, '?');
    std::string bits = given.starts_with("#b") ? given.substr(2) : given;
    if (given.starts_with("#x")) {
      bits.clear();
      for (char const c : given.substr(2)) {
        static constexpr char digits[] = "0123456789abcdef";
        char const lower = static_cast<char>(c >= 'A' && c <= 'F' ? c - 'A' + 'a' : c);
        char const* const at = std::find(digits, digits + 16, lower);
        if (at == digits + 16) throw Exception("no constant: " + given);
        for (int i = 3; i >= 0; --i) bits += ((at - digits) >> i & 1) != 0 ? '1' : '0';
      }
    }
    if (bits.find_first_not_of("01?") != std::string::npos)
      throw Exception("no constant: " + given + " (bits 0, 1 and ?, or #b... or #x...)");
    if (bits.size() != width)
      throw Exception("the constant " + given + " has " + std::to_string(bits.size()) + " bits, not " +
                      std::to_string(width));
    return bits;
  }

  CircuitOptions const& options_;
  Chosen chosen_;
  TermManager tm_;
  Configuration::Theory::Bv config_;
  bv::StandardClausifier clausifier_;
  sinks::RecordingSink sink_;
  Circuit circuit_;
};

}  // namespace

Circuit make_circuit(CircuitOptions const& options) { return Maker(options).make(); }

std::vector<std::string> operator_names() {
  std::vector<std::string> names;
  for (OperatorInfo const& info : operator_table) names.push_back(name_of(info));
  return names;
}

std::vector<bool> circuit_values(Circuit const& circuit, std::vector<std::vector<bool>> const& inputs) {
  std::vector<bool> values(static_cast<std::size_t>(circuit.last) + 1, false);
  for (std::size_t i = 0; i < circuit.inputs.size() && i < inputs.size(); ++i)
    for (std::size_t k = 0; k < circuit.inputs[i].bits.size() && k < inputs[i].size(); ++k) {
      bv::BvLit const l = circuit.inputs[i].bits[k];
      if (!bv::is_constant(l)) values[static_cast<std::size_t>(std::abs(l))] = inputs[i][k];
    }
  for (Cell const& cell : circuit.cells)
    for (std::size_t o = 0; o < cell.outputs.size(); ++o)
      values[static_cast<std::size_t>(cell.outputs[o].literal)] = cell_value(cell, o, values);
  return values;
}

}  // namespace vell::report
