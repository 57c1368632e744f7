#include "vell/terms/termtable.h"

#include <gtest/gtest.h>

#include "vell/terms/termmanager.h"

namespace vell {
namespace {

TEST(TermTable, KeepsWhatWasSaidOfEachTerm) {
  TermManager tm;
  std::vector<Term_ const*> terms;
  for (unsigned i = 0; i < 1000; ++i) terms.push_back(tm.mk_variable("x", tm.bv_type(4)));
  for (bool sparse : {false, true}) {
    TermTable<int> table(sparse);
    EXPECT_EQ(0, table.find(terms[999]));
    for (unsigned i = 0; i < 1000; i += 3) table.at(terms[i]) = static_cast<int>(i) + 1;
    ++table.at(terms[3]);
    for (unsigned i = 0; i < 1000; ++i)
      ASSERT_EQ(i == 3 ? 5 : i % 3 == 0 ? static_cast<int>(i) + 1 : 0, table.find(terms[i])) << sparse << i;
  }
}

}  // namespace
}  // namespace vell
