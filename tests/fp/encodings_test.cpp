// Holds the sizes of floating-point operations in docs/encodings.md to the code.

#include <gtest/gtest.h>

#include <map>

#include "tests/support/markdown.h"
#include "vell/bv/standardclausifier.h"
#include "vell/fp/lowering.h"
#include "vell/sinks/countingsink.h"
#include "vell/terms/theory.h"

namespace vell::fp {
namespace {

struct Shape {
  std::uint64_t exponent;
  std::uint64_t significand;
};
constexpr Shape shapes[] = {{5, 11}, {8, 24}, {11, 53}};

// "clauses, fresh literals" of the term that `make` makes of three variables and a mode.
template <typename Make>
std::string size(Shape shape, Make make) {
  TermManager tm;
  TerminationTest const never;
  Lowering lowering(tm, never);
  std::vector<Term_ const*> x;
  for (char const* name : {"x", "y", "z"})
    x.push_back(tm.mk_variable(name, tm.fp_type(shape.exponent, shape.significand - 1)));
  bv::StandardClausifier clausifier(&tm);
  sinks::CountingSink sink;
  clausifier.bit_blast(lowering.lower(make(tm, x)), &sink);
  // The literals of the variables are no part of the circuit.
  std::uint64_t fresh = sink.fresh_literals();
  for (StandIn const& v : lowering.variables())
    if (clausifier.is_cached(v.word)) fresh -= tm.width(v.word);
  return std::to_string(sink.clauses()) + ", " + std::to_string(fresh);
}

std::string measured(std::string const& row, Shape shape) {
  std::size_t const space = row.find(' ');
  std::string const op = row.substr(0, space);
  std::string const mode = space == std::string::npos ? "" : row.substr(space + 1, 3);
  std::string const rest = row.size() > space && row.size() > space + 4 ? row.substr(space + 5) : "";
  return size(shape, [&](TermManager& tm, std::vector<Term_ const*> const& x) -> Term_ const* {
    std::vector<Term_ const*> arguments;
    if (!mode.empty())
      arguments.push_back(mode == "var" ? tm.mk_variable("m", tm.rounding_mode_type) : mk_app(tm, mode, {}));
    if (op == "to_fp_unsigned" || rest.starts_with("word")) {
      arguments.push_back(tm.mk_variable("w", tm.bv_type(32)));
      return mk_app(tm, op, arguments, {shape.exponent, shape.significand});
    }
    if (op == "to_fp") {
      arguments.push_back(x[0]);
      Shape const to = rest == "Float16" ? shapes[0] : rest == "Float32" ? shapes[1] : shapes[2];
      return mk_app(tm, op, arguments, {to.exponent, to.significand});
    }
    if (op == "fp.to_ubv" || op == "fp.to_sbv") {
      arguments.push_back(x[0]);
      return mk_app(tm, op, arguments, {32});
    }
    theory::Operator const* const found = theory::find_operator(op);
    std::size_t const operands = found->min_arguments;
    while (arguments.size() < operands) arguments.push_back(x[arguments.size() - (mode.empty() ? 0 : 1)]);
    return mk_app(tm, op, arguments);
  });
}

TEST(FpEncodings, SizesAreThoseOfThePage) {
  test::MarkdownFile const file = test::read_markdown(std::string(VELL_SOURCE_DIR) + "/docs/encodings.md");
  unsigned rows = 0;
  for (test::MarkdownTable const& table : file.tables) {
    if (table.header[0] != "Floating-point operation") continue;
    for (test::MarkdownTable::Row const& row : table.rows) {
      ++rows;
      for (std::size_t i = 0; i < 3; ++i)
        EXPECT_EQ(row.cells[i + 1], measured(row.cells[0], shapes[i]))
            << "docs/encodings.md:" << row.line << ": " << row.cells[0] << ", column " << i + 1;
    }
  }
  EXPECT_GE(rows, 30u);
}

}  // namespace
}  // namespace vell::fp
