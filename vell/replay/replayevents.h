#pragma once

// The collaborators of a replayed clausifier: each writes a line for everything that is asked of it.
//
// Tested by tests/replay/replay_test.cpp and by the scripts of tests/scenarios.

#include <cstdint>
#include <ostream>
#include <streambuf>
#include <string>
#include <unordered_map>

#include "vell/terms/clausesink.h"
#include "vell/terms/fpbvcombination.h"
#include "vell/terms/terminationtest.h"
#include "vell/terms/termmanager.h"

namespace vell::replay {

// "new LIT", "atom NAME LIT|none", "clause LIT ...". Terms are named by their shallow form. Throws Exception
// where no fresh literal is left.
class Sink : public bv::ClauseSink {
 public:
  explicit Sink(std::ostream& out) : out_(out) {}

  void set_next(bv::BvLit next) { next_ = next; }
  void set_atom(std::string const& name, bv::BvLit literal) { atoms_[name] = literal; }
  void clear_atom(std::string const& name) { atoms_.erase(name); }

  bv::BvLit new_lit() override;
  bool atom_lit(Term_ const* term, bv::BvLit& out) override;
  void add_clause() override;

 private:
  std::ostream& out_;
  bv::BvLit next_ = 2;
  std::unordered_map<std::string, bv::BvLit> atoms_;
};

// Collects the text of a logger and writes "trace TEXT" when a line is complete.
class TraceLines : public std::streambuf {
 public:
  explicit TraceLines(std::ostream& out) : out_(out) {}

  // Text not yet ended by a newline.
  std::string const& pending() const { return pending_; }

 protected:
  int_type overflow(int_type c) override;
  std::streamsize xsputn(char const* text, std::streamsize n) override;

 private:
  std::ostream& out_;
  std::string pending_;
};

// "poll"; throws Exception "terminated" when its calls are used up.
class CountedTest : public TerminationTest {
 public:
  // calls: how many return; negative for all.
  CountedTest(std::ostream& out, std::int64_t calls) : out_(out), calls_(calls) {}
  void operator()() const override;

 private:
  std::ostream& out_;
  mutable std::int64_t calls_;
};

// "fpencode NAME", "fpbits NAME"; delivers the bits set for a name, or 500000 + 100 * id + i for bit i.
class Combination : public FpBvCombination {
 public:
  Combination(std::ostream& out, TermManager const& tm) : out_(out), tm_(tm) {}

  void set_bits(std::string const& name, bv::BvLitList bits) { bits_[name] = std::move(bits); }
  // How many bits it delivers for the term.
  std::uint64_t length(Term_ const* term) const;

  void encode_term(Term_ const* term) override;
  bool is_encoded(Term_ const* term) const override;
  void get_term_bits(Term_ const* term, bv::BvLitList* out) override;

 private:
  std::ostream& out_;
  TermManager const& tm_;
  std::unordered_map<std::string, bv::BvLitList> bits_;
  std::unordered_map<Term_ const*, bool> encoded_;
};

// Writes each literal with a space before it.
void write_literals(std::ostream& out, bv::BvLitList const& literals);

}  // namespace vell::replay
