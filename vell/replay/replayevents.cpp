#include "vell/replay/replayevents.h"

#include "vell/terms/exception.h"

namespace vell::replay {

void write_literals(std::ostream& out, bv::BvLitList const& literals) {
  for (bv::BvLit l : literals) out << ' ' << l;
}

bv::BvLit Sink::new_lit() {
  if (next_ == INT32_MAX) throw Exception("no fresh literal left");
  bv::BvLit const l = next_++;
  out_ << "new " << l << '\n';
  return l;
}

bool Sink::atom_lit(Term_ const* term, bv::BvLit& out) {
  std::string const name = term->to_shallow_str();
  auto const found = atoms_.find(name);
  out_ << "atom " << name << ' ';
  if (found == atoms_.end()) {
    out_ << "none\n";
    return false;
  }
  out_ << found->second << '\n';
  out = found->second;
  return true;
}

void Sink::add_clause() {
  out_ << "clause";
  write_literals(out_, lits);
  out_ << '\n';
}

TraceLines::int_type TraceLines::overflow(int_type c) {
  if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
  if (char const ch = traits_type::to_char_type(c); ch != '\n') {
    pending_ += ch;
  } else {
    out_ << "trace " << pending_ << '\n';
    pending_.clear();
  }
  return c;
}

std::streamsize TraceLines::xsputn(char const* text, std::streamsize n) {
  for (std::streamsize i = 0; i < n; ++i) overflow(traits_type::to_int_type(text[i]));
  return n;
}

void CountedTest::operator()() const {
  out_ << "poll\n";
  if (calls_ < 0) return;
  if (calls_ == 0) throw Exception("terminated");
  --calls_;
}

void Combination::encode_term(Term_ const* term) {
  out_ << "fpencode " << term->to_shallow_str() << '\n';
  encoded_[term] = true;
}

bool Combination::is_encoded(Term_ const* term) const { return encoded_.count(term) != 0; }

std::uint64_t Combination::length(Term_ const* term) const {
  if (auto const found = bits_.find(term->to_shallow_str()); found != bits_.end())
    return found->second.size();
  std::uint64_t e = 0;
  std::uint64_t s = 0;
  tm_.is_fp_type(term->symbol->get_output_type(), &e, &s);
  return e + s + 1;
}

void Combination::get_term_bits(Term_ const* term, bv::BvLitList* out) {
  std::string const name = term->to_shallow_str();
  out_ << "fpbits " << name << '\n';
  if (auto const found = bits_.find(name); found != bits_.end()) {
    *out = found->second;
    return;
  }
  std::uint64_t const n = length(term);
  for (std::uint64_t i = 0; i < n; ++i) out->push_back(static_cast<bv::BvLit>(500000 + 100 * term->id + i));
}

}  // namespace vell::replay
