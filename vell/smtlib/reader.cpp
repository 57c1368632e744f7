#include "vell/smtlib/reader.h"

#include <algorithm>
#include <array>

#include "vell/smtlib/lexer.h"
#include "vell/smtlib/macro.h"
#include "vell/smtlib/operatortable.h"
#include "vell/smtlib/sortparser.h"
#include "vell/smtlib/spelling.h"
#include "vell/smtlib/symboltable.h"
#include "vell/smtlib/syntax.h"
#include "vell/smtlib/termparser.h"

namespace vell::smtlib {

namespace {

// Bytes of a script per term: from 10, with many small atoms, to 80, with long names.
constexpr std::uint64_t bytes_per_term = 16;

std::string quoted(Name const* name) { return "`" + std::string(name->view()) + "`"; }

// Whether the operator is one of rounding modes and floating-point values.
bool is_floating(Operator const& op) {
  std::span<Operator const> const table = floating_operator_table();
  return std::any_of(table.begin(), table.end(), [&](Operator const& row) { return &row == &op; });
}

}  // namespace

struct Reader::State {
  using Handler = void (State::*)(Command&);
  struct CommandInfo {
    char const* name;
    CommandKind kind;
    Handler read;                   // arguments; the closing parenthesis comes after
    char const* refused = nullptr;  // why it is not executed
  };
  static CommandInfo const commands[];

  State(TermManager& tm, std::unique_ptr<io::Source> s)
      : terms(tm),
        source(std::move(s)),
        lexer(*source),
        sorts(terms, lexer, symbols),
        term_parser(terms, lexer, symbols, sorts) {
    std::uint8_t number = 0;
    for (CommandInfo const* c = commands; c->name != nullptr; ++c)
      symbols.intern(c->name)->command = ++number;
  }

  bool next(Command& command);
  void take_effect(Command const& command);
  void recover();
  [[noreturn]] void unknown_command(Name const* name) const;
  [[noreturn]] void no_argument_list() const;

  // ---- arguments ----
  void none(Command&) {}
  void set_logic(Command& c);
  void attribute(Command& c);
  void set_option(Command& c);
  void keyword(Command& c);
  void echo(Command& c);
  void declare_const(Command& c);
  void declare_fun(Command& c);
  void define_const(Command& c);
  void define_fun(Command& c);
  void define_sort(Command& c);
  void assertion(Command& c);
  void check_sat_assuming(Command& c);
  void get_value(Command& c);
  void question(Command& c);
  void levels(Command& c);
  void push(Command& c);
  void pop(Command& c);

  // ---- pieces ----
  Name* new_symbol(Command& c);
  void check_new(Name const* name, std::uint64_t offset) const;
  Term_ const* next_term(Command& c);
  Term_ const* next_term_of(Type const* sort, char const* what, Command& c);
  void term_list(Command& c, bool formulas);
  void declare(Command& c, Name* name);

  TermManager& terms;
  std::unique_ptr<io::Source> source;
  Lexer lexer;
  SymbolTable symbols;
  SortParser sorts;
  TermParser term_parser;
  bool ahead = false;  // the current token is the one behind the arguments
  bool any_command = false;
  bool ended = false;
  bool has_logic = false;
  // Whether the logic, if there is one, has floating point. If not, a script may declare the names of its
  // operators.
  bool has_floats = true;
  // Of the command that is being read, or was read last.
  CommandKind kind = CommandKind::exit;
  bool complete = true;
  SymbolTable::Mark before{};
};

Reader::State::CommandInfo const Reader::State::commands[] = {
    {"assert", CommandKind::assert_, &State::assertion},
    {"check-sat", CommandKind::check_sat, &State::none},
    {"check-sat-assuming", CommandKind::check_sat_assuming, &State::check_sat_assuming},
    {"declare-const", CommandKind::declare, &State::declare_const},
    {"declare-fun", CommandKind::declare, &State::declare_fun},
    {"define-const", CommandKind::define, &State::define_const},
    {"define-fun", CommandKind::define, &State::define_fun},
    {"define-sort", CommandKind::define_sort, &State::define_sort},
    {"echo", CommandKind::echo, &State::echo},
    {"exit", CommandKind::exit, &State::none},
    {"get-assertions", CommandKind::get_assertions, &State::none},
    {"get-assignment", CommandKind::get_assignment, &State::none},
    {"get-info", CommandKind::get_info, &State::keyword},
    {"get-model", CommandKind::get_model, &State::none},
    {"get-option", CommandKind::get_option, &State::keyword},
    {"get-proof", CommandKind::get_proof, &State::none},
    {"get-unsat-assumptions", CommandKind::get_unsat_assumptions, &State::none},
    {"get-unsat-core", CommandKind::get_unsat_core, &State::none},
    {"get-value", CommandKind::get_value, &State::get_value},
    {"pop", CommandKind::pop, &State::pop},
    {"push", CommandKind::push, &State::push},
    {"reset", CommandKind::reset, &State::none},
    {"reset-assertions", CommandKind::reset_assertions, &State::none},
    {"set-info", CommandKind::set_info, &State::attribute},
    {"set-logic", CommandKind::set_logic, &State::set_logic},
    {"set-option", CommandKind::set_option, &State::set_option},
    // Commands of other solvers that print a term in some form and change nothing, so the script can continue
    // without them.
    {"display", CommandKind::unsupported, &State::question},
    {"eval", CommandKind::unsupported, &State::question},
    {"simplify", CommandKind::unsupported, &State::question},
    {"declare-datatype", CommandKind::exit, nullptr, "datatypes are not supported"},
    {"declare-datatypes", CommandKind::exit, nullptr, "datatypes are not supported"},
    {"declare-sort", CommandKind::exit, nullptr, "uninterpreted sorts are not supported"},
    {"declare-sort-parameter", CommandKind::exit, nullptr, "uninterpreted sorts are not supported"},
    {"define-fun-rec", CommandKind::exit, nullptr, "recursive functions are not supported"},
    {"define-funs-rec", CommandKind::exit, nullptr, "recursive functions are not supported"},
    {nullptr, CommandKind::exit, nullptr},
};

bool Reader::State::next(Command& command) {
  command.text.clear();
  command.value.clear();
  command.number = 0;
  command.terms.clear();
  command.texts.clear();
  command.named.clear();
  command.name.clear();
  if (ended) return false;
  complete = false;
  kind = CommandKind::exit;
  before = symbols.declared_mark();
  if (lexer.next() == Token::end) {
    ended = true;
    if (!any_command) throw io::Error(source->name(), {}, "the script holds no command");
    return false;
  }
  if (lexer.kind() == Token::close) lexer.fail("unexpected `)`");
  if (lexer.kind() != Token::open) lexer.fail("expected a command in parentheses, found " + lexer.describe());
  std::uint64_t const offset = lexer.offset();
  lexer.begin_command(offset, {});
  lexer.next();
  Name const* const name = read_symbol(lexer, symbols, "the name of a command");
  if (name->command == 0) unknown_command(name);
  CommandInfo const& info = commands[name->command - 1];
  if (info.refused != nullptr) lexer.fail(offset, std::string(info.name) + ": " + info.refused);
  lexer.begin_command(offset, info.name);
  command.kind = kind = info.kind;
  command.offset = offset;
  command.position = source->position(offset);
  (this->*info.read)(command);
  if (!ahead) lexer.next();
  ahead = false;
  if (lexer.kind() != Token::close) {
    std::string began = lexer.kind() == Token::open ? lexer.open_command() : "";
    if (!began.empty()) began = "; a `)` may be missing" + began;
    lexer.fail("expected `)` at the end of `" + std::string(info.name) + "`, found " + lexer.describe() +
               began);
  }
  lexer.end_command();
  take_effect(command);
  complete = true;
  any_command = true;
  ended = info.kind == CommandKind::exit;
  return true;
}

// The effect of a complete command on the scopes of symbols.
void Reader::State::take_effect(Command const& c) {
  switch (c.kind) {
    case CommandKind::set_option:
      if (c.text == ":global-declarations") symbols.set_global(c.value == "true");
      break;
    case CommandKind::push: symbols.push(c.number); break;
    case CommandKind::pop: symbols.pop(c.number); break;
    case CommandKind::reset:
      symbols.reset();
      has_logic = false;
      has_floats = true;
      break;
    case CommandKind::reset_assertions: symbols.reset_assertions(); break;
    case CommandKind::set_logic:
      has_logic = true;
      has_floats = c.text.find("FP") != std::string::npos || c.text.find("ALL") != std::string::npos;
      break;
    default: break;
  }
}

void Reader::State::recover() {
  // A complete command was refused by the engine. Of such commands only set-logic has changed the reader's
  // state.
  if (!complete) symbols.forget_since(before);
  if (complete && kind == CommandKind::set_logic) {
    has_logic = false;
    has_floats = true;
  }
  complete = true;
  ahead = false;
  term_parser.recover();
  symbols.unbind_locals(0);
  lexer.drop_window();
}

void Reader::State::unknown_command(Name const* name) const {
  Spelling spelling(name->view());
  for (CommandInfo const* c = commands; c->name != nullptr; ++c)
    if (c->refused == nullptr) spelling.offer(c->name);
  lexer.fail("unknown command " + quoted(name) + spelling.hint());
}

// ---- scripts ----

void Reader::State::set_logic(Command& c) {
  lexer.next();
  c.argument_offset = lexer.offset();
  Name const* const logic = read_symbol(lexer, symbols, "the name of a logic");
  if (has_logic) lexer.fail("the logic is already set");
  c.text = logic->view();
}

void Reader::State::attribute(Command& c) {
  keyword(c);
  lexer.capture(&c.value);
  lexer.next();
  c.value_offset = lexer.offset();
  skip_attribute_value(lexer, symbols);
  lexer.capture(nullptr);
  ahead = true;
  // The token after the value has been read to find the value's end.
  c.value.resize(c.value.size() - lexer.raw().size());
  if (c.value.ends_with(' ')) c.value.pop_back();
}

void Reader::State::set_option(Command& c) {
  attribute(c);
  if (c.text == ":global-declarations") {
    if (c.value != "true" && c.value != "false")
      lexer.fail(c.value_offset, ":global-declarations takes true or false, not " + c.value);
  }
}

void Reader::State::keyword(Command& c) {
  if (lexer.next() != Token::keyword) lexer.fail("expected a keyword, found " + lexer.describe());
  c.text = lexer.text();
  c.argument_offset = c.value_offset = lexer.offset();
}

void Reader::State::echo(Command& c) {
  if (lexer.next() != Token::string) lexer.fail("expected a string, found " + lexer.describe());
  c.text = lexer.raw();
}

// A term, followed by attributes that say how to print it.
void Reader::State::question(Command& c) {
  c.terms.push_back(next_term(c));
  lexer.next();
  while (lexer.kind() == Token::keyword) {
    lexer.next();
    skip_attribute_value(lexer, symbols);
  }
  ahead = true;
}

// ---- declarations ----

Name* Reader::State::new_symbol(Command& c) {
  lexer.next();
  Name* const n = read_symbol(lexer, symbols, "a symbol");
  check_new(n, lexer.offset());
  c.text = n->view();
  return n;
}

void Reader::State::check_new(Name const* name, std::uint64_t offset) const {
  check_not_reserved(lexer, name, offset);
  if (name->theory != nullptr && (has_floats || !is_floating(*name->theory)))
    lexer.fail(offset, "symbol " + quoted(name) + " belongs to the theory");
  if (name->meaning != Name::Meaning::none)
    lexer.fail(offset, "symbol " + quoted(name) + " is already declared");
}

void Reader::State::no_argument_list() const {
  lexer.fail("expected the list of argument sorts, found " + lexer.describe() +
             "; `()` is missing before the sort");
}

// The sort and the end of a declaration.
void Reader::State::declare(Command& c, Name* name) {
  lexer.next();
  Type const* const sort = sorts.parse();
  c.terms.push_back(terms.mk_variable(name->view(), sort));
  symbols.bind(name, Name::Meaning::constant, c.terms[0]);
}

void Reader::State::declare_const(Command& c) {
  Name* const name = new_symbol(c);
  declare(c, name);
}

void Reader::State::declare_fun(Command& c) {
  Name* const name = new_symbol(c);
  if (lexer.next() != Token::open) {
    if (lexer.kind() == Token::symbol && lexer.text() != "_") no_argument_list();
    lexer.fail("expected the list of argument sorts, found " + lexer.describe());
  }
  std::uint64_t const offset = lexer.offset();
  if (lexer.next() != Token::close) {
    if (lexer.kind() == Token::symbol && lexer.text() == "_")
      lexer.fail(offset, "expected the list of argument sorts, found a sort; `()` is missing before it");
    lexer.fail("functions with arguments are not supported");
  }
  declare(c, name);
}

void Reader::State::define_const(Command& c) {
  Name* const name = new_symbol(c);
  std::uint64_t const offset = lexer.offset();
  lexer.next();
  Type const* const sort = sorts.parse();
  Term_ const* const body = next_term_of(sort, "the body", c);
  check_new(name, offset);
  c.terms.push_back(body);
  symbols.bind(name, Name::Meaning::definition, body);
}

void Reader::State::define_fun(Command& c) {
  Name* const name = new_symbol(c);
  std::uint64_t const offset = lexer.offset();
  expect_open(lexer, "the list of parameters");
  struct Parameter {
    Name* name;
    Type const* sort;
  };
  std::vector<Parameter> parameters;
  std::uint32_t stamp = 0;
  while (lexer.next() != Token::close) {
    if (lexer.kind() != Token::open)
      lexer.fail("expected a parameter in parentheses, found " + lexer.describe());
    lexer.next();
    Name* const p = read_symbol(lexer, symbols, "a parameter");
    if (stamp == 0) stamp = symbols.new_stamp();
    if (p->stamp == stamp) lexer.fail("parameter " + quoted(p) + " occurs twice");
    p->stamp = stamp;
    lexer.next();
    parameters.push_back({p, sorts.parse()});
    expect_close(lexer, "after the sort of a parameter");
  }
  lexer.next();
  Type const* const sort = sorts.parse();
  std::size_t const mark = symbols.local_mark();
  std::vector<Term_ const*> variables;
  for (Parameter const& p : parameters) {
    variables.push_back(terms.mk_variable(p.name->view(), p.sort));
    symbols.bind_local(p.name, variables.back());
  }
  if (!variables.empty()) term_parser.set_parameters(variables);
  Term_ const* const body = next_term_of(sort, "the body", c);
  symbols.unbind_locals(mark);
  check_new(name, offset);
  if (variables.empty()) {
    c.terms.push_back(body);
    symbols.bind(name, Name::Meaning::definition, body);
  } else {
    term_parser.set_parameters({});
    symbols.bind(name, std::make_unique<Macro>(std::move(variables), body));
  }
}

void Reader::State::define_sort(Command& c) {
  lexer.next();
  Name* const name = read_symbol(lexer, symbols, "the name of a sort");
  check_not_reserved(lexer, name, lexer.offset());
  if (name->theory_sort != 0) lexer.fail("sort " + quoted(name) + " belongs to the theory");
  if (name->sort != nullptr) lexer.fail("sort " + quoted(name) + " is already declared");
  c.text = name->view();
  expect_open(lexer, "the list of sort parameters");
  std::vector<Name*> parameters;
  std::uint32_t const stamp = symbols.new_stamp();
  while (lexer.next() != Token::close) {
    parameters.push_back(read_symbol(lexer, symbols, "a sort parameter"));
    if (parameters.back()->stamp == stamp)
      lexer.fail("sort parameter " + quoted(parameters.back()) + " occurs twice");
    parameters.back()->stamp = stamp;
  }
  lexer.next();
  symbols.bind_sort(name, sorts.parse_definition(parameters));
}

// ---- terms ----

Term_ const* Reader::State::next_term(Command& c) {
  lexer.next();
  return term_parser.parse(c.named);
}

Term_ const* Reader::State::next_term_of(Type const* sort, char const* what, Command& c) {
  lexer.next();
  std::uint64_t const offset = lexer.offset();
  Term_ const* const t = term_parser.parse(c.named);
  Type const* const found = t->symbol->get_output_type();
  if (found != sort)
    lexer.fail(offset, std::string(what) + " has sort " + sort_text(found) + ", not " + sort_text(sort));
  return t;
}

void Reader::State::assertion(Command& c) {
  c.terms.push_back(next_term_of(terms.bool_type, "the asserted term", c));
  c.name = term_parser.outer_name();
}

// A list of terms in parentheses, with their texts.
void Reader::State::term_list(Command& c, bool formulas) {
  expect_open(lexer, "a list of terms");
  for (;;) {
    c.texts.emplace_back();
    lexer.capture(&c.texts.back());
    if (lexer.next() == Token::close) break;
    std::uint64_t const offset = lexer.offset();
    Term_ const* const t = term_parser.parse(c.named);
    if (formulas && t->symbol->get_output_type() != terms.bool_type)
      lexer.fail(offset, "the assumption has sort " + sort_text(t->symbol->get_output_type()) + ", not Bool");
    c.terms.push_back(t);
  }
  lexer.capture(nullptr);
  c.texts.pop_back();
}

void Reader::State::check_sat_assuming(Command& c) { term_list(c, true); }

void Reader::State::get_value(Command& c) {
  term_list(c, false);
  if (c.terms.empty()) lexer.fail("expected a term, found `)`");
}

// ---- scopes ----

void Reader::State::levels(Command& c) {
  c.number = 1;
  if (lexer.next() == Token::close) {
    ahead = true;
    return;
  }
  c.number = read_numeral(lexer);
}

void Reader::State::push(Command& c) {
  levels(c);
  // Each level takes memory here and in the engine; a larger number is most likely a mistake.
  constexpr std::uint64_t most = 10'000'000;
  if (c.number > most || c.number + symbols.scopes() > most)
    lexer.fail("more than " + std::to_string(most) + " levels");
}

void Reader::State::pop(Command& c) {
  levels(c);
  if (c.number > symbols.scopes())
    lexer.fail("pop takes away " + std::to_string(c.number) + (c.number == 1 ? " level" : " levels") +
               " and there are " + std::to_string(symbols.scopes()));
}

// ---- Reader ----

Reader::Reader(TermManager& tm, std::unique_ptr<io::Source> source)
    : state_((tm.reserve_terms(tm.term_count() + source->size() / bytes_per_term),
              std::make_unique<State>(tm, std::move(source)))) {}

Reader::~Reader() = default;

bool Reader::next(Command& command) { return state_->next(command); }

void Reader::fail(std::uint64_t offset, std::string const& message) const {
  state_->lexer.fail(offset, message);
}

void Reader::recover() { state_->recover(); }

bool Reader::inside_command() const { return state_->lexer.inside_command(); }

std::vector<std::string> Reader::names(std::string_view prefix) const {
  std::vector<std::string> out;
  state_->symbols.each([&](Name const& n) {
    bool const command = n.command != 0 && State::commands[n.command - 1].refused == nullptr;
    if (!command && n.theory == nullptr && n.meaning == Name::Meaning::none && n.sort == nullptr &&
        n.theory_sort == 0 && n.reserved != Reserved::let)
      return;
    if (n.view().starts_with(prefix)) out.push_back(quote_symbol(n.view()));
  });
  std::sort(out.begin(), out.end());
  return out;
}

std::string const& Reader::file() const { return state_->source->name(); }

std::uint64_t Reader::bytes_read() const { return state_->lexer.offset() + state_->lexer.raw().size(); }

std::uint64_t Reader::bytes_total() const { return state_->source->size(); }

std::string quote_symbol(std::string_view symbol) {
  constexpr std::string_view reserved[] = {"!",       "_",           "as",      "let",    "exists",
                                           "forall",  "match",       "par",     "lambda", "BINARY",
                                           "DECIMAL", "HEXADECIMAL", "NUMERAL", "STRING"};
  constexpr std::string_view others = "~!@$%^&*_-+=<>.?/";
  auto letter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
  auto digit = [](char c) { return c >= '0' && c <= '9'; };
  bool simple = !symbol.empty() && !digit(symbol[0]);
  for (char c : symbol)
    simple = simple && (letter(c) || digit(c) || others.find(c) != std::string_view::npos);
  for (std::string_view r : reserved) simple = simple && symbol != r;
  return simple ? std::string(symbol) : "|" + std::string(symbol) + "|";
}

}  // namespace vell::smtlib
