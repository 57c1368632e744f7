#pragma once

// Clauses as DIMACS text, streamed.
//
// Tested by tests/sinks/dimacssink_test.cpp.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include "vell/sinks/numbering.h"
#include "vell/terms/clausesink.h"
#include "vell/utils/byteoutput.h"
#include "vell/utils/export.h"

namespace vell::sinks {

// Writes each clause as it comes. The header must be there first, so the number of clauses has to be known:
// count them by a run into a CountingSink, which sees the same clauses.
class VELL_API DimacsSink : public bv::ClauseSink {
 public:
  using Form = sinks::Form;  // see numbering.h

  // out must outlive the sink. Takes a buffer of 256 KiB and 16 KiB for the text of variables.
  DimacsSink(ByteOutput& out, Form form);
  // Hands nothing over: call flush() first.
  ~DimacsSink() override = default;

  bv::BvLit new_lit() override;
  bool atom_lit(Term_ const*, bv::BvLit&) override { return false; }
  void add_clause() override;

  // "p cnf VARIABLES CLAUSES"; both as for the form: see variables() and written_clauses().
  void header(std::uint64_t variables, std::uint64_t clauses);
  // A comment line "c TEXT"; text is one line.
  void comment(std::string_view text);
  // Text as it stands.
  void text(std::string_view text);
  // Hands all bytes over to the output.
  void flush();

  // The DIMACS variable of a literal v >= 2 under the form.
  static bv::BvLit variable(bv::BvLit v, Form form) { return sinks::variable(v, form); }
  // Variables a header must declare for this many fresh literals.
  static std::uint64_t variables(std::uint64_t fresh_literals, Form form) {
    return sinks::variables(fresh_literals, form);
  }
  // Clauses that stand in the file, the unit clause of header() included.
  std::uint64_t written_clauses() const { return written_; }

 private:
  char* reserve(std::size_t bytes) {
    if (static_cast<std::size_t>(end_ - next_byte_) < bytes) make_room(bytes);
    return next_byte_;
  }
  void make_room(std::size_t bytes);

  // A variable's number and a blank, as text. The whole entry is copied out, so it has the size of a vector
  // register.
  struct alignas(16) Text {
    char bytes[11];
    std::uint8_t length;
    std::uint32_t magnitude;  // of the literal; 0 while the entry is empty
  };
  static_assert(sizeof(Text) == 16);
  static constexpr std::uint32_t text_count = 1024;
  // The rows of a circuit lie a multiple of its width apart: folded, the bits of one column do not all meet
  // in a place.
  static std::uint32_t text_index(std::uint32_t magnitude) {
    return (magnitude ^ magnitude >> 10) % text_count;
  }
  void make_text(std::uint32_t magnitude);

  ByteOutput& out_;
  std::uint32_t
      offset_;  // from a literal's magnitude down to its variable; also the magnitude of what is removed
  std::unique_ptr<Text[]> texts_;
  bv::BvLit next_ = 2;
  std::uint64_t written_ = 0;
  std::size_t capacity_;
  std::unique_ptr<char[]> buffer_;
  char* next_byte_;
  char* end_;
};

}  // namespace vell::sinks
