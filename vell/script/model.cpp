#include "vell/script/model.h"

#include <algorithm>
#include <unordered_map>

#include "vell/script/border.h"
#include "vell/values/evaluator.h"

namespace vell::script {

struct Model::State : values::Assignment {
  State(TermManager const& t, bool free_division) : terms(t), evaluator(t, free_division) {}

  void read(Term_ const* t, std::uint64_t, std::uint64_t* words) const override {
    auto const found = given.find(t);
    if (found != given.end()) std::copy(found->second.begin(), found->second.end(), words);
  }
  values::Evaluator& current() {
    if (changed) evaluator.set_assignment(*this);
    changed = false;
    return evaluator;
  }

  TermManager const& terms;
  values::Evaluator evaluator;
  std::unordered_map<Term_ const*, std::vector<std::uint64_t>> given;
  bool changed = true;
};

Model::Model(TermManager const& terms, bool free_division)
    : state_(std::make_unique<State>(terms, free_division)) {}
Model::Model(Model&&) noexcept = default;
Model& Model::operator=(Model&&) noexcept = default;
Model::~Model() = default;

void Model::set(Term_ const* variable, std::span<std::uint64_t const> words) {
  std::uint64_t const width = value_width(state_->terms, variable->symbol->get_output_type());
  std::vector<std::uint64_t> value((width + 63) / 64, 0);
  std::copy_n(words.begin(), std::min(words.size(), value.size()), value.begin());
  if (width % 64 != 0) value.back() &= (std::uint64_t{1} << width % 64) - 1;
  state_->given[variable] = std::move(value);
  state_->changed = true;
}

std::vector<std::uint64_t> Model::words(Term_ const* term) {
  std::uint64_t const width = value_width(state_->terms, term->symbol->get_output_type());
  std::uint64_t const* const value = state_->current().value(term);
  return {value, value + (width + 63) / 64};
}

bool Model::is_true(Term_ const* formula) { return state_->current().is_true(formula); }

std::string Model::text(Term_ const* term, WordFormat format) {
  return state_->current().text(term, to_internal(format));
}

std::uint64_t value_width(TermManager const& terms, Type const* type) {
  return values::value_width(terms, type);
}

}  // namespace vell::script
