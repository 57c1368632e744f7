#include "vell/script/cnf.h"

#include <cstdlib>
#include <unordered_map>

#include "vell/cnf/decoder.h"
#include "vell/cnf/mapline.h"
#include "vell/cnf/writer.h"
#include "vell/engine/engine.h"
#include "vell/io/outputfile.h"
#include "vell/run/limittest.h"
#include "vell/sat/clausifier.h"
#include "vell/script/border.h"
#include "vell/script/controlparts.h"
#include "vell/script/simplify.h"
#include "vell/sinks/dimacssink.h"
#include "vell/smtlib/reader.h"
#include "vell/terms/cone.h"
#include "vell/terms/operators.h"

namespace vell::script {

namespace {

// Keeps clauses in two arrays, as variables of the form.
class FlatSink : public bv::ClauseSink {
 public:
  explicit FlatSink(sinks::Form form) : shift_(form == sinks::Form::raw ? 0 : 1) {
    offsets_.push_back(0);
    if (form == sinks::Form::raw) {
      lits.assign(1, bv::l_true);
      add_clause();
    }
  }

  bv::BvLit new_lit() override { return next_++; }
  bool atom_lit(Term_ const*, bv::BvLit&) override { return false; }
  void add_clause() override {
    std::size_t const start = literals_.size();
    literals_.resize(start + lits.size());
    std::int32_t* out = literals_.data() + start;
    for (bv::BvLit l : lits) {
      if (shift_ != 0 && bv::is_constant(l)) {
        if (l == bv::l_false) continue;
        literals_.resize(start);
        return;
      }
      *out++ = l > 0 ? l - shift_ : l + shift_;
    }
    literals_.resize(static_cast<std::size_t>(out - literals_.data()));
    offsets_.push_back(literals_.size());
  }

  std::uint64_t fresh_literals() const { return static_cast<std::uint64_t>(next_) - 2; }
  std::vector<std::int32_t> const& literals() const { return literals_; }
  std::vector<std::uint64_t> const& offsets() const { return offsets_; }

 private:
  bv::BvLit const shift_;
  bv::BvLit next_ = 2;
  std::vector<std::int32_t> literals_;
  std::vector<std::uint64_t> offsets_;
};

// Terms whose value their operands can leave open.
bool may_be_open(TermManager const& terms, Term_ const* t) {
  switch (terms.get_tag(t->symbol)) {
    case SymbolTag::bv_udiv:
    case SymbolTag::bv_sdiv:
    case SymbolTag::bv_urem:
    case SymbolTag::bv_srem:
    case SymbolTag::fp_to_sbv:
    case SymbolTag::fp_to_ubv: return true;
    default: return terms.is_uninterpreted_function(t->symbol);
  }
}

}  // namespace

struct Cnf::State {
  State(TermManager& t, CnfOptions const& o)
      : terms(t),
        options(o),
        form(o.raw ? sinks::Form::raw : sinks::Form::clean),
        config{o.free_division ? 1 : 0},
        sink(form),
        clausifier(&t, &config) {}

  void clausify(std::span<Term_ const* const> formulas, Control* control);
  bv::BvLitList const* lookup(Term_ const* term) const;
  std::uint64_t variables() const { return sinks::variables(sink.fresh_literals(), form); }

  TermManager& terms;
  CnfOptions const options;
  sinks::Form const form;
  Configuration::Theory::Bv config;
  FlatSink sink;
  sat::ScriptClausifier clausifier;
  std::vector<Term_ const*> constants;
  std::vector<Term_ const*> valued;  // terms whose bits a model gives, and no others follow from
  std::unordered_map<Term_ const*, Term_ const*> definitions;
};

void Cnf::State::clausify(std::span<Term_ const* const> formulas, Control* control) {
  ControlOrOwn const work(control);
  for (Term_ const* f : formulas)
    if (f->symbol->get_output_type() != terms.bool_type)
      throw Exception("a formula is of sort Bool, not " + sort_text(f->symbol->get_output_type()));
  Simplified const simple = simplify(terms, formulas, options, control);

  work.statistics().enter(run::Phase::clausifying);
  if (options.logger != nullptr) clausifier.set_logger(options.logger);
  auto const report = [&] {
    work.statistics().fresh_literals = sink.fresh_literals();
    work.statistics().clauses = sink.offsets().size() - 1;
    work.statistics().literals = sink.literals().size();
  };
  run::LimitTest const test(work.limits(), work.statistics(), report);
  clausifier.set_termination_test(&test);
  for (Term_ const* f : simple.formulas) {
    bv::BvLit const holds = clausifier.bit_blast(f, &sink);
    sink.lits.assign(1, holds);
    sink.add_clause();
  }
  for (Definition const& d : simple.definitions) {
    clausifier.bit_blast(d.value, &sink);
    definitions[d.variable] = d.value;
  }
  clausifier.set_termination_test(nullptr);
  report();

  Cone cone(work.limits());
  cone.add(formulas);
  for (Term_ const* t : cone.sorted()) {
    if (t->symbol->arity == 0 && terms.is_uninterpreted_function(t->symbol)) constants.push_back(t);
    if (may_be_open(terms, t)) valued.push_back(t);
  }
}

bv::BvLitList const* Cnf::State::lookup(Term_ const* term) const {
  auto const defined = definitions.find(term);
  return clausifier.lookup(defined == definitions.end() ? term : defined->second);
}

Cnf::Cnf(TermManager& terms, std::span<Term_ const* const> formulas, CnfOptions const& options,
         Control* control)
    : state_(std::make_unique<State>(terms, options)) {
  across_border([&] { state_->clausify(formulas, control); });
}
Cnf::Cnf(Cnf&&) noexcept = default;
Cnf& Cnf::operator=(Cnf&&) noexcept = default;
Cnf::~Cnf() = default;

std::uint64_t Cnf::variables() const { return state_->variables(); }
std::uint64_t Cnf::clauses() const { return state_->sink.offsets().size() - 1; }
std::span<std::int32_t const> Cnf::literals() const { return state_->sink.literals(); }
std::span<std::uint64_t const> Cnf::offsets() const { return state_->sink.offsets(); }
std::span<Term_ const* const> Cnf::constants() const { return state_->constants; }

std::vector<std::int32_t> Cnf::bits(Term_ const* term) const {
  std::uint64_t const width = value_width(state_->terms, term->symbol->get_output_type());
  std::vector<std::int32_t> out(width, any_bit);
  bv::BvLitList const* bits = state_->lookup(term);
  for (std::uint64_t i = 0; bits != nullptr && i < width; ++i) {
    bv::BvLit const l = (*bits)[i];
    if (l == bv::l_undef) continue;
    if (bv::is_constant(l) && state_->form == sinks::Form::clean)
      out[i] = l == bv::l_true ? true_bit : false_bit;
    else
      out[i] = l > 0 ? sinks::variable(l, state_->form) : -sinks::variable(-l, state_->form);
  }
  return out;
}

Model Cnf::decode(std::span<std::int32_t const> model) const {
  std::uint64_t const count = variables();
  std::vector<std::int8_t> values(count + 1, 0);
  for (std::int32_t l : model) {
    std::uint64_t const v = static_cast<std::uint64_t>(std::abs(static_cast<std::int64_t>(l)));
    if (v == 0 || v > count)
      throw Exception("the model has the literal " + std::to_string(l) + ": no such variable");
    std::int8_t const sign = l > 0 ? 1 : -1;
    if (values[v] == -sign) throw Exception("the model has both literals of variable " + std::to_string(v));
    values[v] = sign;
  }
  auto const holds = [&](std::int32_t l) {
    return l > 0 ? values[static_cast<std::uint64_t>(l)] > 0 : values[static_cast<std::uint64_t>(-l)] <= 0;
  };
  for (std::uint64_t i = 0; i < clauses(); ++i) {
    bool satisfied = false;
    for (std::uint64_t k = offsets()[i]; k < offsets()[i + 1] && !satisfied; ++k)
      satisfied = holds(literals()[k]);
    if (!satisfied) throw Exception("the model does not satisfy clause " + std::to_string(i + 1));
  }
  Model out(state_->terms, state_->options.free_division);
  for (Term_ const* t : state_->valued) {
    std::vector<std::int32_t> const lits = bits(t);
    std::vector<std::uint64_t> words((lits.size() + 63) / 64, 0);
    for (std::size_t i = 0; i < lits.size(); ++i) {
      std::int32_t const l = lits[i];
      bool const value = l == true_bit || (l != false_bit && l != any_bit && holds(l));
      if (value) words[i / 64] |= std::uint64_t{1} << (i % 64);
    }
    out.set(t, words);
  }
  return out;
}

void Cnf::write(std::string const& path, std::span<std::pair<std::string, Term_ const*> const> names) const {
  across_border([&] {
    io::OutputFile file(path);
    sinks::DimacsSink sink(file, state_->form);
    sink.comment(std::string("vell-bv ") + engine::version);
    auto const map = [&](std::string const& symbol, Term_ const* t) {
      std::uint64_t const width = value_width(state_->terms, t->symbol->get_output_type());
      sink.comment(cnf::map_line(symbol, t, state_->lookup(t), width, state_->form));
    };
    for (Term_ const* c : constants()) map(smtlib::quote_symbol(c->symbol->name), c);
    if (!names.empty()) sink.comment(cnf::names_heading);
    for (auto const& [name, term] : names) map(smtlib::quote_symbol(name), term);
    sink.header(variables(), clauses());
    // The header of the raw form brings the first clause.
    bv::BvLit const shift = state_->form == sinks::Form::raw ? 0 : 1;
    for (std::uint64_t i = state_->form == sinks::Form::raw ? 1 : 0; i < clauses(); ++i) {
      sink.lits.clear();
      for (std::uint64_t k = offsets()[i]; k < offsets()[i + 1]; ++k)
        sink.lits.push_back(literals()[k] > 0 ? literals()[k] + shift : literals()[k] - shift);
      sink.add_clause();
    }
    sink.flush();
    file.commit();
  });
}

void write_cnf(std::string const& script, std::string const& output, CnfFileOptions const& options,
               Control* control) {
  across_border([&] {
    ControlOrOwn const work(control);
    cnf::CnfOptions inner;
    inner.input = script;
    inner.output = output;
    inner.query = options.query;
    inner.symbols = options.symbols;
    inner.annotate = options.annotate;
    inner.raw = options.raw;
    inner.free_division = options.free_division;
    inner.tunables = tunables_of(options);
    inner.passes = passes_of(options);
    inner.logger = options.logger;
    cnf::write_cnf(inner, work.limits(), work.statistics());
  });
}

std::string decode(std::string const& cnf, std::string const& solution, WordFormat format) {
  return across_border([&] { return cnf::decode(cnf, solution, to_internal(format)); });
}

std::string decode(std::string const& cnf, std::string const& solution, std::string const& script,
                   std::uint64_t query, WordFormat format) {
  return across_border([&] { return cnf::decode(cnf, solution, to_internal(format), {script, query}); });
}

}  // namespace vell::script
