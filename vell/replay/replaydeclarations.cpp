#include "vell/replay/replay.h"

// Terms of a replay script. Each declaration makes a symbol of its own, so no two terms are ever shared and
// the ids count declarations.

#include <algorithm>
#include <charconv>
#include <iterator>

#include "vell/terms/operators.h"

namespace vell::replay {

namespace {

// Operators are named as in SMT-LIB, but for these: a name of a replay script is one word, and belongs to one
// operator.
struct OtherName {
  SymbolTag::tag tag;
  std::string_view name;
};
constexpr OtherName other_names[] = {
    {SymbolTag::bool_iff, "iff"},        {SymbolTag::equal, "eq"},
    {SymbolTag::equal_noproxy, "eqnp"},  {SymbolTag::bv_rotate_left, "rol"},
    {SymbolTag::bv_rotate_right, "ror"}, {SymbolTag::bv_zero_extend, "zext"},
    {SymbolTag::bv_sign_extend, "sext"}, {SymbolTag::fp_to_sbv, "fp_to_sbv"},
    {SymbolTag::fp_to_ubv, "fp_to_ubv"}, {SymbolTag::fp_as_ieeebv, "fp_as_ieeebv"},
};

// Symbols without a tag. The handlers of if-then-else are not in the table of a clausifier.
struct Untagged {
  std::string_view name;
  Symbol::Role role;
};
constexpr Untagged untagged[] = {
    {"ite", Symbol::Role::term_ite},
    {"boolite", Symbol::Role::plain},
    {"uf", Symbol::Role::uninterpreted},
};

bool is_named(OperatorInfo const& op, std::string_view name) {
  if (op.typing == OperatorInfo::Typing::ite) return false;
  auto const other = std::find_if(std::begin(other_names), std::end(other_names),
                                  [&](OtherName const& o) { return o.tag == op.tag; });
  return name == (other == std::end(other_names) ? op.name : other->name);
}

// Colon-separated numbers behind the name. The amount of an extension, and the width of a conversion, are
// those of the term's type.
unsigned parameters_of(SymbolTag::tag tag) {
  return operator_role(tag) == Symbol::Role::plain ? 0 : operator_parameters(tag);
}

std::uint64_t parse_number(Line const& line, std::string_view text) {
  std::uint64_t n = 0;
  auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), n);
  if (error != std::errc() || end != text.data() + text.size())
    line.fail("`" + std::string(text) + "` stands where a number should");
  return n;
}

// Tag, role and parameters of an operator token such as "bvadd", "extract:7:4" or "tag50".
void set_operator(Line const& line, std::string_view token, SymbolSpec& spec) {
  std::size_t const colon = token.find(':');
  std::string_view const name = token.substr(0, colon);
  std::string_view rest = colon == std::string_view::npos ? std::string_view() : token.substr(colon + 1);
  auto const op = std::find_if(std::begin(operator_table), std::end(operator_table),
                               [&](OperatorInfo const& o) { return is_named(o, name); });
  auto const plain = std::find_if(std::begin(untagged), std::end(untagged),
                                  [&](Untagged const& u) { return u.name == name; });
  if (op != std::end(operator_table)) {
    spec.tag = op->tag;
    spec.role = operator_role(op->tag);
  } else if (plain != std::end(untagged)) {
    spec.role = plain->role;
  } else {
    if (name.substr(0, 3) != "tag" || colon != std::string_view::npos)
      line.fail("unknown operator `" + std::string(token) + "`");
    std::uint64_t const tag = parse_number(line, token.substr(3));
    if (tag > UINT32_MAX) line.fail("a tag of more than 32 bits");
    spec.tag = static_cast<SymbolTag::tag>(tag);
    return;
  }
  unsigned const count = parameters_of(spec.tag);
  std::uint64_t* const parameters[] = {&spec.parameter0, &spec.parameter1};
  for (unsigned i = 0; i < count; ++i) {
    std::size_t const end = i + 1 < count ? rest.find(':') : rest.size();
    if (end == std::string_view::npos) line.fail("`" + std::string(token) + "` lacks a parameter");
    *parameters[i] = parse_number(line, rest.substr(0, end));
    rest = rest.substr(std::min(end + 1, rest.size()));
  }
  if (!rest.empty()) line.fail("`" + std::string(token) + "` has a parameter too many");
}

}  // namespace

std::string Replay::new_name(Line& line) {
  std::string name(line.token("a name"));
  bool const well_formed = std::all_of(name.begin(), name.end(), [](unsigned char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
  });
  if (!well_formed) line.fail("a name consists of letters, digits and _");
  if (terms_.count(name) != 0) line.fail("`" + name + "` is declared already");
  return name;
}

Type const* Replay::type(Line& line) {
  std::string_view const t = line.token("a type");
  if (t == "bv") return tm_.bv_type(line.number("a width"));
  if (t == "bool") return tm_.bool_type;
  if (t == "fp") {
    std::uint64_t const e = line.number("an exponent width");
    if (e > max_length) line.fail("an exponent width above " + std::to_string(max_length));
    std::uint64_t const s = line.number("a fraction width");
    if (s > max_length) line.fail("a fraction width above " + std::to_string(max_length));
    return tm_.fp_type(e, s);
  }
  if (t == "rm") return tm_.rounding_mode_type;
  if (t == "int") return tm_.int_type;
  if (t == "real") return tm_.real_type;
  if (t == "fun") return tm_.function_type({}, tm_.bool_type);
  line.fail("unknown type `" + std::string(t) + "`");
}

void Replay::declare(std::string const& name, SymbolSpec spec, std::vector<Term_ const*> const& children) {
  spec.label = name;
  terms_[name] = tm_.mk_term(tm_.make_symbol(spec), children);
}

void Replay::declare_var(Line& line) {
  std::string const name = new_name(line);
  SymbolSpec spec;
  spec.name = name;
  spec.output_type = type(line);
  spec.role = Symbol::Role::uninterpreted;
  declare(name, spec);
}

void Replay::declare_num(Line& line) {
  std::string const name = new_name(line);
  SymbolSpec spec;
  spec.name = name;
  spec.output_type = type(line);
  spec.role = Symbol::Role::number;
  std::string_view const form = line.token("small or big");
  if (form != "small" && form != "big")
    line.fail("`" + std::string(form) + "` stands where small or big should");
  std::string_view const digits = line.token("a value");
  QNumber value;
  try {
    value = QNumber::from_digits(digits, 10, form == "big");
  } catch (Exception const&) {
    line.fail("`" + std::string(digits) + "` stands where a value should");
  }
  if (form == "small" && value.is_big()) line.fail("the value does not fit a machine integer");
  spec.number = &value;
  declare(name, spec);
}

void Replay::declare_rmconst(Line& line) {
  std::string const name = new_name(line);
  SymbolSpec spec;
  spec.name = name;
  spec.output_type = tm_.rounding_mode_type;
  std::string_view const mode = line.token("a mode");
  if (mode == "even")
    spec.role = Symbol::Role::rounding_even;
  else if (mode == "zero")
    spec.role = Symbol::Role::rounding_zero;
  else if (mode == "plus")
    spec.role = Symbol::Role::rounding_plus_inf;
  else if (mode == "minus")
    spec.role = Symbol::Role::rounding_minus_inf;
  else
    line.fail("`" + std::string(mode) + "` stands where even, zero, plus or minus should");
  declare(name, spec);
}

void Replay::declare_term(Line& line) {
  std::string const name = new_name(line);
  std::string const op(line.token("an operator"));
  SymbolSpec spec;
  spec.name = op;
  set_operator(line, op, spec);
  spec.output_type = type(line);
  std::vector<Term_ const*> children;
  while (!line.at_end()) children.push_back(term(line));
  spec.arity = children.size();
  declare(name, spec, children);
}

}  // namespace vell::replay
