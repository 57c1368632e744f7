#include "vell/script/drawing.h"

#include <gtest/gtest.h>

#include "tests/support/scratch.h"
#include "vell/terms/exception.h"

namespace vell::script {
namespace {

constexpr char text[] =
    "(declare-const x (_ BitVec 4))(declare-const y (_ BitVec 4))(assert (bvult (bvmul x y) x))(check-sat)";

TEST(Drawing, TermsOfAScript) {
  test::Scratch scratch;
  std::string const input = scratch.write("a.smt2", text);
  DrawingOptions options;
  options.words = "none";
  EXPECT_FALSE(write_drawing(input, scratch.file("a.dot"), options));
  std::string const dot = scratch.read("a.dot");
  EXPECT_NE(std::string::npos, dot.find("bvmul 4"));
  EXPECT_NE(std::string::npos, dot.find("x: variable 4"));
  options.most = 1;
  EXPECT_TRUE(write_drawing(input, scratch.file("a.dot"), options));
  EXPECT_EQ(std::string::npos, scratch.read("a.dot").find("bvmul 4"));
  options.most = 10;
  options.model =
      scratch.write("m", "sat\n((define-fun x () (_ BitVec 4) #b0011)(define-fun y () (_ BitVec 4) #b0010))");
  EXPECT_FALSE(write_drawing(input, scratch.file("a.dot"), options));
  EXPECT_NE(std::string::npos, scratch.read("a.dot").find("= #b0110"));
}

TEST(Drawing, Refusals) {
  test::Scratch scratch;
  std::string const input = scratch.write("a.dot", text);
  EXPECT_THROW(write_drawing(input, input), Exception);
  EXPECT_EQ(text, scratch.read("a.dot"));
  EXPECT_THROW(write_drawing(input, scratch.file("a.pdf")), Exception);
  EXPECT_THROW(write_drawing(input, scratch.file("a.html")), Exception);
  EXPECT_THROW(write_drawing(scratch.file("none"), scratch.file("b.dot")), Exception);
  EXPECT_THROW(write_circuit(scratch.file("b.dot"), {.name = "bvnix"}), Exception);
  Control control;
  control.stop();
  EXPECT_THROW(write_drawing(input, scratch.file("b.dot"), {}, &control), Stopped);
  EXPECT_EQ(1u, scratch.files());
}

TEST(Drawing, Circuits) {
  test::Scratch scratch;
  CircuitDrawingOptions options;
  options.name = "bvadd";
  options.width = 2;
  options.model =
      scratch.write("m", "sat\n((define-fun x () (_ BitVec 2) #b01)(define-fun y () (_ BitVec 2) #b01))");
  write_circuit(scratch.file("a.dot"), options);
  EXPECT_NE(std::string::npos, scratch.read("a.dot").find("result[1]\\n8 = 1"));
  options.width = 3;
  EXPECT_THROW(write_circuit(scratch.file("a.dot"), options), Exception);  // the model's words are shorter
  options.model.clear();
  options.constants = {"0?1"};
  write_circuit(scratch.file("a.dot"), options);
  EXPECT_NE(std::string::npos, scratch.read("a.dot").find("x[0]\\nT"));
}

}  // namespace
}  // namespace vell::script
