#include "vell/report/model.h"

#include <algorithm>

#include "vell/io/source.h"
#include "vell/smtlib/reader.h"
#include "vell/terms/exception.h"

namespace vell::report {

namespace {

constexpr char blanks[] = " \t\r\n";

// Blanks for the first word and the parentheses around the definitions, so that lines and columns stay.
void strip(std::string& text, std::string const& name) {
  std::size_t at = text.find_first_not_of(blanks);
  auto const word = [&](std::string_view w) {
    return at != std::string::npos && std::string_view(text).substr(at).starts_with(w);
  };
  if (word("unsat") || word("unknown"))
    throw Exception(name + ": no model: " + (word("unsat") ? "unsat" : "unknown"));
  if (word("sat")) {
    std::fill_n(text.begin() + static_cast<std::ptrdiff_t>(at), 3, ' ');
    at = text.find_first_not_of(blanks, at);
  }
  if (at == std::string::npos || text[at] != '(') throw Exception(name + ": no model");
  std::size_t const inner = text.find_first_not_of(blanks, at + 1);
  bool const list = inner != std::string::npos && (text[inner] == '(' || text[inner] == ')');
  if (!list) return;
  std::size_t const last = text.find_last_not_of(blanks);
  if (text[last] != ')') throw Exception(name + ": no model: it is cut off");
  text[at] = text[last] = ' ';
}

}  // namespace

Model Model::read(std::string const& path) {
  std::unique_ptr<io::Source> source = io::Source::open(path);
  while (source->refill(source->begin())) {
  }
  std::string const name = source->name();
  std::string text(source->begin(), source->end());
  strip(text, name);
  Model model;
  if (text.find_first_not_of(blanks) == std::string::npos) return model;

  TermManager tm;
  smtlib::Reader reader(tm, io::Source::text(text, name));
  values::Evaluator evaluator(tm);
  evaluator.set_assignment(model);
  smtlib::Command command;
  while (reader.next(command)) {
    if (command.kind != smtlib::CommandKind::define || command.terms.empty())
      reader.fail(command.offset, "a model has values of constants only");
    Term_ const* t = command.terms[0];
    std::uint64_t const width = values::value_width(tm, t->symbol->get_output_type());
    std::uint64_t const* words = evaluator.value(t);
    Bits& bits = model.values_[command.text];
    bits.clear();
    for (std::uint64_t i = 0; i < width; ++i) bits.push_back((words[i / 64] >> (i % 64) & 1) != 0);
  }
  return model;
}

Model::Bits const* Model::find(std::string const& name) const {
  auto const found = values_.find(name);
  return found == values_.end() ? nullptr : &found->second;
}

void Model::read(Term_ const* t, std::uint64_t width, std::uint64_t* words) const {
  std::fill_n(words, (width + 63) / 64, 0);
  Bits const* bits = find(t->symbol->name);
  if (bits == nullptr || bits->size() != width) return;
  for (std::uint64_t i = 0; i < width; ++i)
    if ((*bits)[i]) words[i / 64] |= std::uint64_t{1} << (i % 64);
}

}  // namespace vell::report
