#pragma once

// For tests of one pass on words: formulas in the syntax of scripts, before and after.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "vell/smtlib/reader.h"
#include "vell/smtlib/termprinter.h"
#include "vell/words/pass.h"
#include "vell/words/simplifier.h"

namespace vell::test {

class PassTest : public testing::Test {
 protected:
  // Declarations and assertions of a script become the permanent formulas of a first batch.
  words::Formulas read(std::string const& script) {
    words::Formulas out;
    out.first = true;
    smtlib::Reader reader(tm, io::Source::text(script, "script"));
    smtlib::Command command;
    while (reader.next(command))
      if (command.kind == smtlib::CommandKind::assert_)
        out.permanent.push_back({command.terms.at(0), out.permanent.size()});
    return out;
  }
  static std::vector<std::string> texts(TermManager const& tm, std::vector<words::Formula> const& formulas) {
    std::vector<std::string> out;
    for (words::Formula const& f : formulas) out.push_back(smtlib::term_text(tm, f.term));
    return out;
  }
  std::vector<std::string> texts(std::vector<words::Formula> const& formulas) const {
    return texts(tm, formulas);
  }

  TermManager tm;
  run::Limits limits;
  run::Tunables tunables;
  words::PassContext context{tm, false, limits, tunables};
};

}  // namespace vell::test
