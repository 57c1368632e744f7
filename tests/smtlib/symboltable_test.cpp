#include "vell/smtlib/symboltable.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "vell/smtlib/macro.h"
#include "vell/terms/termmanager.h"

namespace vell::smtlib {
namespace {

TEST(SymbolTable, OneEntryForEachSymbol) {
  SymbolTable table;
  std::vector<std::string> symbols;
  // All lengths around those where the hash changes its way of loading.
  for (std::size_t n = 0; n <= 40; ++n)
    for (char c : {'a', 'b'}) symbols.push_back(std::string(n, 'x') + c);
  for (int i = 0; i < 20000; ++i) symbols.push_back("t" + std::to_string(i));
  symbols.push_back("");
  std::set<Name*> entries;
  for (std::string const& s : symbols) {
    Name* const n = table.intern(s);
    EXPECT_EQ(n->view(), s);
    EXPECT_TRUE(entries.insert(n).second) << s;
  }
  for (std::string const& s : symbols) EXPECT_TRUE(entries.contains(table.intern(std::string(s))));
}

// Symbols of up to eight bytes are told apart without looking at their text.
TEST(SymbolTable, ShortSymbolsThatShareBytes) {
  SymbolTable table;
  std::set<Name*> entries;
  std::size_t count = 0;
  std::string const alphabet = "ab";
  for (std::size_t n = 1; n <= 9; ++n)
    for (std::size_t bits = 0; bits < std::size_t{1} << n; ++bits) {
      std::string s;
      for (std::size_t i = 0; i < n; ++i) s += alphabet[bits >> i & 1];
      entries.insert(table.intern(s));
      ++count;
    }
  EXPECT_EQ(entries.size(), count);
}

TEST(SymbolTable, ReservedWords) {
  SymbolTable table;
  EXPECT_EQ(table.intern("let")->reserved, Reserved::let);
  EXPECT_EQ(table.intern("_")->reserved, Reserved::underscore);
  EXPECT_EQ(table.intern("STRING")->reserved, Reserved::token_class);
  EXPECT_EQ(table.intern("lets")->reserved, Reserved::none);
}

TEST(SymbolTable, LocalsNest) {
  TermManager tm;
  SymbolTable table;
  Term_ const* const t = tm.mk_bool(true);
  Term_ const* const f = tm.mk_bool(false);
  Name* const x = table.intern("x");
  std::size_t const outer = table.local_mark();
  table.bind_local(x, t);
  std::size_t const inner = table.local_mark();
  table.bind_local(x, f);
  table.bind_local(table.intern("y"), f);
  EXPECT_EQ(x->local, f);
  table.unbind_locals(inner);
  EXPECT_EQ(x->local, t);
  EXPECT_EQ(table.intern("y")->local, nullptr);
  table.unbind_locals(outer);
  EXPECT_EQ(x->local, nullptr);
}

TEST(SymbolTable, Scopes) {
  TermManager tm;
  SymbolTable table;
  Term_ const* const t = tm.mk_bool(true);
  auto declare = [&](char const* s) { table.bind(table.intern(s), Name::Meaning::constant, t); };
  auto known = [&](char const* s) { return table.intern(s)->meaning != Name::Meaning::none; };
  declare("a");
  table.push(2);
  declare("b");
  table.set_global(true);
  declare("g");
  table.set_global(false);
  table.bind_sort(table.intern("S"), {0, tm.bool_type, 0});
  EXPECT_EQ(table.scopes(), 2u);
  table.pop(1);
  EXPECT_TRUE(known("a"));
  EXPECT_FALSE(known("b"));
  EXPECT_TRUE(known("g"));
  EXPECT_EQ(table.intern("S")->sort, nullptr);
  table.pop(0);
  EXPECT_EQ(table.scopes(), 1u);
  table.reset_assertions();
  EXPECT_EQ(table.scopes(), 0u);
  EXPECT_FALSE(known("a"));
  EXPECT_TRUE(known("g"));
  table.reset();
  EXPECT_FALSE(known("g"));
}

TEST(SymbolTable, StampsAreNew) {
  SymbolTable table;
  Name* const x = table.intern("x");
  std::uint32_t const a = table.new_stamp();
  x->stamp = a;
  EXPECT_NE(table.new_stamp(), a);
}

}  // namespace
}  // namespace vell::smtlib
