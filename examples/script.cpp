// Reads a script, tells what each of its checks asserts, and decides it incrementally.
#include <iostream>

#include "vell/script/script.h"
#include "vell/script/solver.h"
#include "vell/terms/theory.h"

constexpr char text[] = R"((set-logic QF_BV)
(declare-const x (_ BitVec 8))
(declare-const y (_ BitVec 8))
(assert (! (= (bvmul x y) #x8f) :named product))
(assert (! (bvult x y) :named order))
(check-sat)
(assert (! (bvult y #x0c) :named small))
(assert (! (bvult #x01 x) :named proper))
(check-sat)
)";

int main() {
  vell::TermManager terms;
  try {
    vell::script::Script const script = vell::script::Script::text(terms, text, "example.smt2");
    for (std::uint64_t query = 1; query <= script.queries(); ++query) {
      vell::script::Solver solver(terms);
      for (vell::script::Formula const& f : script.formulas(query)) {
        std::cout << "line " << f.position.line << ": " << vell::script::term_text(terms, f.term) << '\n';
        solver.assert_formula(f.term, f.name);
      }
      // Terms of the program's own beside those of the script.
      solver.assert_formula(
          vell::mk_app(terms, "not", {vell::mk_app(terms, "bvumulo", {script.find("x"), script.find("y")})}));
      if (solver.check() == vell::script::Answer::sat)
        std::cout << "sat, x * y is "
                  << solver.text(vell::mk_app(terms, "bvmul", {script.find("x"), script.find("y")})) << '\n';
      else
        for (std::string const& name : solver.core()) std::cout << "unsat because of " << name << '\n';
    }
    vell::script::Script::text(terms, "(assert (bvult x))", "broken.smt2");
  } catch (vell::script::Error const& e) {
    std::cout << e.file() << ", line " << e.position().line << ", column " << e.position().column << ": "
              << e.message() << '\n';
  }
}
