// Random scripts reach the whole language, and are the same for a seed.

#include "tests/generate/scriptwriter.h"

#include <gtest/gtest.h>

#include <set>

#include "vell/replay/replayoperands.h"

namespace vell::generate {
namespace {

TEST(ScriptWriterTest, ASeedGivesOneScript) {
  EXPECT_EQ(ScriptWriter(7).write(), ScriptWriter(7).write());
  EXPECT_NE(ScriptWriter(7).write(), ScriptWriter(8).write());
}

// What the scripts of some seeds use.
struct Usage {
  std::set<std::string> commands;
  std::set<std::string> operators;  // without parameters
  std::set<std::string> called;
  std::set<std::string> hooked;
  std::set<std::string> circuits;
  std::set<std::string> types;
  std::set<std::string> settings;
  std::uint64_t longest_table = 0;
  std::set<std::string> errors;
};

Usage const& usage() {
  static Usage const u = [] {
    Usage u;
    for (std::uint64_t seed = 0; seed < 1200; ++seed) {
      Script const script = ScriptWriter(seed).write();
      for (std::string const& line : script) {
        std::vector<std::string> const tokens = tokens_of(line);
        std::string const& c = tokens[0];
        u.commands.insert(c);
        if (c == "term") {
          u.operators.insert(tokens[2].substr(0, tokens[2].find(':')));
          u.types.insert(tokens[3]);
        }
        if (c == "var" || c == "num") u.types.insert(tokens[2]);
        if (c == "call") u.called.insert(tokens[1]);
        if (c == "hook") u.hooked.insert(tokens[2]);
        if (c == "circuit") u.circuits.insert(tokens[1]);
        if (c == "termtest" || c == "fpcomb" || c == "verbosity" || c == "config")
          u.settings.insert(c + ' ' + tokens[1]);
        if (c == "rmconst") u.settings.insert(c + ' ' + tokens[2]);
      }
      if (seed % 4 != 0) continue;
      for (std::string const& text : run(script))
        for (std::string const& event : split_lines(text)) {
          std::vector<std::string> const tokens = tokens_of(event);
          if (event.rfind("buckets ", 0) == 0)
            u.longest_table = std::max<std::uint64_t>(u.longest_table, std::stoull(tokens[1]));
          if (event.rfind("error ", 0) == 0) u.errors.insert(tokens[1]);
        }
    }
    return u;
  }();
  return u;
}

TEST(ScriptWriterTest, EveryCommandOccurs) {
  std::set<std::string> const all = {
      "var",        "num",   "rmconst",   "term",   "config",  "nextlit",   "atomlit",    "verbosity",
      "termtest",   "hook",  "fpcomb",    "fpbits", "echo",    "blast",     "getbits",    "setbits",
      "makebits",   "eq",    "push",      "pop",    "retract", "notify",    "isterminal", "iscached",
      "newfpterms", "hooks", "dumptrail", "call",   "circuit", "dumptable", "dumpcache",  "dumppools"};
  EXPECT_EQ(usage().commands, all);
}

TEST(ScriptWriterTest, EveryOperatorOccurs) {
  for (char const* op :
       {"true",    "false", "and",   "or",    "not",       "iff",       "eq",     "concat",      "extract",
        "bvnot",   "bvand", "bvor",  "bvxor", "bvult",     "bvslt",     "bvule",  "bvsle",       "eqnp",
        "bvneg",   "bvadd", "bvsub", "bvmul", "bvudiv",    "bvsdiv",    "bvurem", "bvsrem",      "bvshl",
        "rol",     "ror",   "zext",  "sext",  "fp_to_sbv", "fp_to_ubv", "bvlshr", "bvashr",      "ite",
        "boolite", "uf",    "tag0",  "tag50", "tag13",     "tag41",     "tag42",  "fp_as_ieeebv"})
    EXPECT_EQ(usage().operators.count(op), 1u) << op;
  for (char const* type : {"bv", "bool", "fp", "rm", "int", "real", "fun"})
    EXPECT_EQ(usage().types.count(type), 1u) << type;
}

TEST(ScriptWriterTest, EveryHandlerIsCalled) {
  for (char const* name : {"word_not",
                           "word_and",
                           "word_or",
                           "word_xor",
                           "word_lsr",
                           "word_asr",
                           "word_lsl",
                           "word_rol",
                           "word_ror",
                           "word_sel",
                           "word_concat",
                           "word_zext",
                           "word_sext",
                           "word_neg",
                           "word_add",
                           "word_sub",
                           "word_mul",
                           "word_mul_by_constant",
                           "word_mul_generic",
                           "word_sdiv",
                           "word_srem",
                           "word_udiv",
                           "word_urem",
                           "word_srem_by_power_of_2",
                           "word_ult",
                           "word_ule",
                           "word_slt",
                           "word_sle",
                           "word_equal",
                           "word_equal_noproxy",
                           "bool_not",
                           "bool_and",
                           "bool_or",
                           "bool_iff",
                           "bool_true",
                           "bool_false",
                           "fp_to_sbv",
                           "fp_to_ubv",
                           "fp_as_ieeebv",
                           "word_atom",
                           "bool_ite",
                           "word_ite",
                           "generic_ite",
                           "word_constant",
                           "word_variable",
                           "bool_variable",
                           "generic_variable",
                           "fp_variable",
                           "fp_rounding_variable"}) {
    EXPECT_NE(replay::find_handler(name), nullptr) << name;
    EXPECT_EQ(usage().called.count(name), 1u) << name;
  }
  EXPECT_EQ(usage().called.count("word_sr"), 1u);
  EXPECT_EQ(usage().called.count("fp_to_bv"), 1u);
  EXPECT_GE(usage().hooked.size(), 25u);
}

TEST(ScriptWriterTest, EveryCircuitIsCalled) {
  std::set<std::string> const all = {"bit_not",          "bit_and",   "bit_or",
                                     "bit_xor",          "bit_ite",   "full_adder",
                                     "word_and",         "word_add",  "word_neg",
                                     "word_ule",         "word_ult",  "word_equal",
                                     "word_sr",          "word_sl",   "word_udiv_simple",
                                     "word_sdiv_simple", "word_sdiv", "word_div_complete_semantics",
                                     "fp_rounding"};
  EXPECT_EQ(usage().circuits, all);
}

TEST(ScriptWriterTest, SettingsErrorsAndTableGrowthOccur) {
  for (char const* setting : {"termtest 0", "termtest 5", "termtest -1", "termtest off", "fpcomb on",
                              "fpcomb off", "config null", "config div", "verbosity -1", "verbosity 5",
                              "rmconst even", "rmconst zero", "rmconst plus", "rmconst minus"})
    EXPECT_EQ(usage().settings.count(setting), 1u) << setting;
  EXPECT_GE(usage().longest_table, 313u);
  EXPECT_EQ(usage().errors, (std::set<std::string>{"no", "not", "terminated"}));
}

}  // namespace
}  // namespace vell::generate
