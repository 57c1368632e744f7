#include "vell/report/circuitgraph.h"

#include <gtest/gtest.h>

#include "vell/report/graphviz.h"

namespace vell::report {
namespace {

Circuit made(std::string const& name, std::vector<std::string> constants = {}) {
  CircuitOptions options;
  options.name = name;
  options.width = 2;
  options.constants = std::move(constants);
  return make_circuit(options);
}

bool has(std::string const& text, std::string const& piece) { return text.find(piece) != std::string::npos; }

TEST(CircuitGraph, WiresCellsByTheirLiterals) {
  std::string const dot = circuit_dot(made("bvadd"));
  EXPECT_TRUE(has(dot, "label=\"half adder\\nsum 6  carry 7\"")) << dot;
  EXPECT_TRUE(has(dot, "label=\"full adder\\nsum 8  carry 9\"")) << dot;
  EXPECT_TRUE(has(dot, "cell0 -> cell1 [class=\"l7\", label=\"c 7\"")) << dot;
  EXPECT_TRUE(has(dot, "cell1 -> out_1 [class=\"l8\", label=\"8\"")) << dot;
  EXPECT_TRUE(has(dot, "label=\"x[1]\\n3\"")) << dot;
  EXPECT_FALSE(has(dot, "penwidth"));
  EXPECT_FALSE(has(dot, "odot"));
  // A negated literal enters through a circle; a constant is written in the box.
  std::string const less = circuit_dot(made("bvule"));
  EXPECT_TRUE(has(less, "less or equal (r = T)")) << less;
  EXPECT_TRUE(has(circuit_dot(made("bvsub")), "arrowhead=odot"));
}

TEST(CircuitGraph, MarksWhatIsTrue) {
  Circuit const c = made("bvadd");
  std::string const dot = circuit_dot(c, circuit_values(c, {{true, false}, {true, false}}));
  EXPECT_TRUE(has(dot, "label=\"half adder\\nsum 6 = 0  carry 7 = 1\"")) << dot;
  EXPECT_TRUE(has(dot, "label=\"x[0]\\n2 = 1\", fillcolor")) << dot;
  EXPECT_TRUE(has(dot, "label=\"c 7\", arrowhead=normal, penwidth=2.5")) << dot;
  EXPECT_TRUE(has(dot, "label=\"result[1]\\n8 = 1\"")) << dot;
}

TEST(CircuitGraph, ThePageHoldsTheClauses) {
  Circuit const c = made("bvadd");
  std::string const page = circuit_page(c, "<?xml?><svg id=\"picture\"></svg>", {});
  EXPECT_TRUE(
      has(page, "<section id=\"picture\" aria-label=\"Circuit\" tabindex=\"0\"><svg id=\"picture\"></svg>"));
  EXPECT_TRUE(has(page, "{\"kind\":\"half adder\",\"clauses\":[[-2,-4,-6],[2,4,-6]"));
  for (char const* mark : {"@DATA@", "@SVG@", "@TITLE@"}) EXPECT_FALSE(has(page, mark)) << mark;
}

}  // namespace
}  // namespace vell::report
