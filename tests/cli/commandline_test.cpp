// The tool as a user meets it: answers, exit codes, errors, files.

#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>

#include "tests/cli/process.h"
#include "tests/cli/scripts.h"
#include "tests/support/scratch.h"

namespace vell::cli {
namespace {

using test::Finished;
using test::hard;
using test::Scratch;
using test::Start;
using test::vell_bv;

constexpr char small[] =
    "(set-logic QF_BV)\n(declare-const x (_ BitVec 8))\n(assert (= (bvmul x #x03) "
    "#x21))\n(check-sat)\n(get-model)\n";

// ---- scripts ----

std::string shell(std::string const& command) {
  std::string out;
  FILE* const p = popen(command.c_str(), "r");
  char block[4096];
  for (std::size_t n = 0; (n = fread(block, 1, sizeof block, p)) > 0;) out.append(block, n);
  pclose(p);
  return out;
}

TEST(CommandLine, RunsAScript) {
  Scratch s;
  Finished const f = vell_bv({s.write("a.smt2", small)});
  EXPECT_EQ("sat\n(\n  (define-fun x () (_ BitVec 8) #b00001011)\n)\n", f.out);
  EXPECT_EQ("", f.err);
  EXPECT_EQ(0, f.code);
}

TEST(CommandLine, ReadsStandardInput) {
  Finished const f = vell_bv({"-"}, small);
  EXPECT_EQ(0u, f.out.find("sat\n"));
  EXPECT_EQ(0, f.code);
  EXPECT_EQ("(error \"<stdin>:2:9: ", vell_bv({"-"}, "\n(assert q)").out.substr(0, 21));
}

struct Broken {
  std::string name;
  std::string script;
  std::string where;  // LINE:COLUMN
};
void PrintTo(Broken const& b, std::ostream* out) { *out << b.script; }

class BrokenScript : public testing::TestWithParam<Broken> {};

TEST_P(BrokenScript, IsRefusedWithItsPosition) {
  Scratch s;
  std::string const path = s.write("bad.smt2", GetParam().script);
  Finished const f = vell_bv({path});
  EXPECT_EQ(1, f.code);
  EXPECT_EQ(0u, f.out.find("(error \"" + path + ":" + GetParam().where + ": ")) << f.out;
  EXPECT_EQ(1, std::count(f.out.begin(), f.out.end(), '\n')) << f.out;
  EXPECT_EQ(std::string::npos, f.out.find("sat\n"));
  EXPECT_EQ("", f.err);
}

INSTANTIATE_TEST_SUITE_P(
    All, BrokenScript,
    testing::Values(
        Broken{"empty", "", "1:1"}, Broken{"truncated", "(set-logic QF_BV)\n(assert (= #b1", "2:1"},
        Broken{"unbalanced", "(push 1))", "1:9"}, Broken{"unclosed", "(assert true", "1:1"},
        Broken{"unknown_symbol", "(declare-const x (_ BitVec 8))\n(assert (= x y))\n(check-sat)", "2:14"},
        Broken{"sort_mismatch", "(declare-const x (_ BitVec 8))\n(assert (= x #b1))\n(check-sat)", "2:9"},
        Broken{"width_zero", "(declare-const x (_ BitVec 0))(check-sat)", "1:28"},
        Broken{"literal_too_large", "(assert (= (_ bv16 4) #x0))(check-sat)", "1:15"},
        Broken{"declared_twice", "(declare-const x Bool)\n(declare-const x Bool)", "2:16"},
        Broken{"unknown_command", "\n\n  (frobnicate)", "3:4"},
        Broken{"array", "(declare-const m (Array (_ BitVec 2) Bool))", "1:19"},
        Broken{"function", "(declare-fun f (Bool) Bool)", "1:17"},
        Broken{"pop_too_much", "(push 1)(pop 2)", "1:14"}, Broken{"logic", "(set-logic QF_LIA)", "1:12"},
        Broken{"no_model", "(push 1)(get-model)", "1:9"}),
    [](auto const& info) { return info.param.name; });

TEST(CommandLine, FilesThatCannotBeRead) {
  Scratch s;
  Finished f = vell_bv({s.file("none.smt2")});
  EXPECT_EQ(1, f.code);
  EXPECT_EQ("(error \"" + s.file("none.smt2") + ":1:1: cannot read: No such file or directory\")\n", f.out);
  f = vell_bv({s.file("")});
  EXPECT_EQ(1, f.code);
  EXPECT_EQ(0u, f.out.find("(error \"" + s.file("") + ":1:1: "));
  f = vell_bv({"cnf", s.file("none.smt2"), "-o", s.file("o.cnf")});
  EXPECT_EQ(1, f.code);
  EXPECT_EQ("vell-bv: " + s.file("none.smt2") + ":1:1: cannot read: No such file or directory\n", f.err);
  EXPECT_EQ(0u, s.files());
}

// ---- options ----

TEST(CommandLine, ListsPassesAndNumbers) {
  Finished const f = vell_bv({"--options"});
  EXPECT_EQ(0, f.code);
  EXPECT_NE(std::string::npos, f.out.find("\nidentities "));
  EXPECT_NE(std::string::npos, f.out.find("\nsweep_rivals "));
  EXPECT_EQ("", f.err);
}

TEST(CommandLine, NumbersAndPassesAreSet) {
  Scratch s;
  // x occurs once, so the product need not hold.
  std::string const path = s.write("a.smt2",
                                   "(declare-const x (_ BitVec 8))(declare-const y (_ BitVec 8))"
                                   "(assert (= (bvadd x (bvmul y y)) #x05))(check-sat)");
  auto const clauses = [&](std::vector<std::string> options) {
    options.insert(options.end(), {path, "--stats"});
    std::string const err = vell_bv(options).err;
    return std::stoi(err.substr(err.find("\nclauses") + 21));
  };
  EXPECT_LT(clauses({"--words=-definitions"}), 50);
  EXPECT_GT(clauses({"--words=-definitions,-unconstrained"}), 50);
  EXPECT_LT(clauses({"--words=-definitions,-unconstrained", "--set", "rounds=0"}),
            clauses({"--words=none"}) + 1);
  Finished const bad = vell_bv({"--set", "sweep_rivals=0", path});
  EXPECT_EQ(2, bad.code);
  EXPECT_NE(std::string::npos, bad.err.find("sweep_rivals takes a number from 1 to 1000"));
}

TEST(CommandLine, OptionsWithoutMeaningAreRefused) {
  Scratch s;
  std::string const path = s.write("a.smt2", small);
  for (std::vector<std::string> const& arguments : std::vector<std::vector<std::string>>{
           {},
           {"--nonsense", path},
           {path, path},
           {"--time-limit", "-3", path},
           {"--time-limit", "x", path},
           {"--check-time-limit", "0", path},
           {"--conflict-limit", "0", path},
           {"--conflict-limit", "5", "--solver", "cadical {cnf}", path},
           {"--values=oct", path},
           {"solve"},
           {path, "solve", path},
           {"--time-limit", "nan", path},
           {"--memory-limit", "0", path},
           {"--stats=xml", path},
           {"--progress=sometimes", path},
           {"--div-by-zero", "one", path},
           {"--words", "some", path},
           {"--words=", path},
           {"cnf", path, "-o", s.file("o"), "--words=most"},
           {"replay", path, "--words=all"},
           {"--solver", "cadical", path},
           {"--solver", "cadical {cnf}", "--proof", "p", path},
           {"--query", "0", path},
           {"--query", "1", "cnf", path},
           {"--check-unsat", "decode", path, path},
           {"--check-unsat", "--proof", s.file("p"), path},
           {"cnf", path, "-o", s.file("o"), "--seed", "3"},
           {"cnf", path, "-o", s.file("o"), "--threads", "1"},
           {"--seed", "3", "cnf", path, "-o", s.file("o")},
           {"cnf", path, "-o", s.file("o"), "--proof", s.file("p")},
           {"cnf", path, "-o", s.file("o"), "--query", "0"},
           {path, "cnf", path, "-o", s.file("o")},
           {"decode", path, path, "--stats"},
       }) {
    Finished const f = vell_bv(arguments);
    EXPECT_EQ(2, f.code) << testing::PrintToString(arguments);
    EXPECT_EQ("", f.out);
    EXPECT_EQ(0u, f.err.find("vell-bv: ")) << f.err;
    EXPECT_EQ(1, std::count(f.err.begin(), f.err.end(), '\n')) << f.err;
  }
  EXPECT_EQ(1u, s.files());
}

TEST(CommandLine, MessagesAboutOptionsAreReadable) {
  auto message = [](std::vector<std::string> const& arguments) { return vell_bv(arguments).err; };
  EXPECT_EQ(
      "vell-bv: --time-limit: takes a number of seconds above 0, such as 2.5, not `0` (see vell-bv --help)\n",
      message({"--time-limit", "0", "-"}));
  EXPECT_EQ(
      "vell-bv: --time-limit: takes a number of seconds above 0, such as 2.5, not `1s` (see vell-bv "
      "--help)\n",
      message({"--time-limit", "1s", "-"}));
  EXPECT_EQ("vell-bv: --query: takes an integer from 1 on, not `0` (see vell-bv --help)\n",
            message({"cnf", "-", "-o", "-", "--query", "0"}));
  EXPECT_NE(std::string::npos, message({"--time-limt", "5", "-"}).find("did you mean `--time-limit`?"));
  EXPECT_NE(std::string::npos, message({"decod", "a", "b"}).find("did you mean `decode`?"));
}

TEST(CommandLine, ValuesOfOptionsMayStandBehindABlank) {
  EXPECT_EQ("{\"input-bytes\"", vell_bv({"--stats", "json", "-"}, small).err.substr(0, 14));
  EXPECT_EQ("input-bytes", vell_bv({"--stats", "text", "-"}, small).err.substr(0, 11));
  EXPECT_EQ("", vell_bv({"-", "--progress", "never"}, small).err);
  EXPECT_EQ(0, vell_bv({"-", "--progress", "never"}, small).code);
}

TEST(CommandLine, SolveAndHelpAreCommands) {
  Scratch s;
  std::string const path = s.write("a.smt2", small);
  EXPECT_EQ(vell_bv({path}).out, vell_bv({"solve", path}).out);
  EXPECT_EQ(0u, vell_bv({"solve", path, "--stats", "json"}).err.find("{"));
  EXPECT_EQ(vell_bv({"--help"}).out, vell_bv({"help"}).out);
  EXPECT_EQ(vell_bv({"cnf", "--help"}).out, vell_bv({"help", "cnf"}).out);
  EXPECT_NE(std::string::npos, vell_bv({"help"}).out.find("Exit codes: 0 "));
  EXPECT_NE(std::string::npos, vell_bv({"help"}).out.find("memory that ran out"));
  EXPECT_NE(
      0,
      shell(std::string(VELL_BINARY_DIR) + "/vell-bv --help >/dev/full 2>/dev/null; echo $?").compare("0\n"));
}

TEST(CommandLine, FormatsOfValues) {
  EXPECT_NE(std::string::npos, vell_bv({"-", "--values=hex"}, small).out.find("(_ BitVec 8) #x0b)"));
  EXPECT_NE(std::string::npos, vell_bv({"-", "--values=dec"}, small).out.find("(_ BitVec 8) (_ bv11 8))"));
  EXPECT_NE(std::string::npos, vell_bv({"-", "--values", "bin"}, small).out.find("#b00001011"));
  Scratch s;
  std::string const cnf = s.write("a.cnf", "c map x (_ BitVec 4) 1 T 2 F\np cnf 2 1\n1 0\n");
  EXPECT_EQ("sat\n(\n  (define-fun x () (_ BitVec 4) #x3)\n)\n",
            vell_bv({"decode", cnf, "-", "--values=hex"}, "s SATISFIABLE\nv 1 -2 0\n").out);
}

TEST(CommandLine, AStatusThatIsContradicted) {
  std::string const script = "(set-info :status unsat)\n(check-sat)\n(check-sat)";
  Finished f = vell_bv({"-"}, script);
  EXPECT_EQ("sat\nsat\n", f.out);
  EXPECT_EQ("vell-bv: warning: <stdin>:1:1: the answer is sat, but :status is unsat\n", f.err);
  EXPECT_EQ(0, f.code);
  f = vell_bv({"-", "--check-status"}, script);
  EXPECT_EQ("sat\nsat\n", f.out);
  EXPECT_EQ(1, f.code);
  f = vell_bv({"-", "--check-status"},
              "(set-info :status sat)(check-sat)(set-info :status unknown)(check-sat)");
  EXPECT_EQ("", f.err);
  EXPECT_EQ(0, f.code);
}

TEST(CommandLine, VersionAndHelp) {
  EXPECT_EQ(0u, vell_bv({"--version"}).out.find("vell-bv "));
  EXPECT_EQ(0, vell_bv({"--help"}).code);
  EXPECT_NE(std::string::npos, vell_bv({"cnf", "--help"}).out.find("--annotate"));
}

TEST(CommandLine, Statistics) {
  Scratch s;
  std::string const path = s.write("a.smt2", small);
  Finished f = vell_bv({path, "--stats"});
  EXPECT_NE(std::string::npos, f.err.find("clauses "));
  EXPECT_EQ(std::string::npos, f.out.find("clauses"));
  f = vell_bv({path, "--stats=json"});
  EXPECT_EQ(0u, f.err.find("{\"input-bytes\": " + std::to_string(std::string(small).size())));
  EXPECT_EQ("}\n", f.err.substr(f.err.size() - 2));
  // The passes on words, for solving and for cnf.
  for (std::vector<std::string> const& arguments : {std::vector<std::string>{path, "--stats=json"},
                                                    {"cnf", path, "-o", s.file("a.cnf"), "--stats=json"}}) {
    f = vell_bv({arguments});
    EXPECT_NE(std::string::npos, f.err.find("\"words-rewrite-formulas\": 1, \"words-rewrite-replaced\": "))
        << f.err;
    EXPECT_NE(std::string::npos, f.err.find("\"words-products-time\": ")) << f.err;
  }
}

TEST(CommandLine, TraceAndVerbosity) {
  Finished const f =
      vell_bv({"-", "--trace", "3", "--words=none"}, "(declare-const p Bool)(assert (not p))(check-sat)");
  EXPECT_NE(std::string::npos, f.err.find("BV:Word clausifier - calling a hook for p"));
  EXPECT_EQ("sat\n", f.out);
  EXPECT_NE(std::string::npos, vell_bv({"-", "-v"}, "(check-sat)").err.find("check-sat 1: sat"));
}

TEST(CommandLine, DivisionByZero) {
  std::string const script =
      "(declare-const x (_ BitVec 4))(assert (distinct (bvudiv x #x0) #xf))(check-sat)";
  EXPECT_EQ("unsat\n", vell_bv({"-"}, script).out);
  EXPECT_EQ("unsat\n", vell_bv({"-", "--div-by-zero", "smtlib"}, script).out);
  EXPECT_EQ("sat\n", vell_bv({"-", "--div-by-zero=free"}, script).out);
}

TEST(CommandLine, ExternalSolvers) {
  for (char const* command : {"cadical -q {cnf}", "cryptominisat5 --verb 0 {cnf}",
                              "minisat -verb=0 {cnf} {cnf}.out >/dev/null; cat {cnf}.out; rm {cnf}.out"}) {
    EXPECT_EQ("sat\n(\n  (define-fun x () (_ BitVec 8) #b00001011)\n)\n",
              vell_bv({"-", "--solver", command}, small).out)
        << command;
    EXPECT_EQ(
        "unsat\n",
        vell_bv({"-", "--solver", command}, "(declare-const p Bool)(assert (= p (not p)))(check-sat)").out)
        << command;
  }
}

TEST(CommandLine, AModelThatIsNoneIsTheFaultOfWhoPrintedIt) {
  // Values that satisfy nothing, from a program: its name is in the message.
  std::string const command = "true {cnf}; printf 's SATISFIABLE\\nv 0\\n'";
  Finished const f = vell_bv({"-", "--words=none", "--solver", command}, small);
  EXPECT_EQ(0u, f.out.find("unknown\n")) << f.out;
  EXPECT_EQ("vell-bv: --solver: the model that " + command + " printed does not satisfy the assertions\n",
            f.err);
  EXPECT_EQ(1, f.code);
}

TEST(CommandLine, OneQueryOfSeveral) {
  std::string const script =
      "(set-option :produce-unsat-assumptions true)(declare-const p Bool)(assert p)(check-sat)(get-value (p))"
      "(get-info :reason-unknown)(push)(assert (not p))(check-sat)(pop)(check-sat-assuming ((not p)))"
      "(get-unsat-assumptions)(check-sat)";
  EXPECT_EQ("unsat\n", vell_bv({"-", "--query", "2"}, script).out);
  EXPECT_EQ("unsat\n((not p))\n", vell_bv({"-", "--query", "3"}, script).out);
  EXPECT_EQ("sat\n", vell_bv({"-", "--query", "4"}, script).out);
  Finished const f = vell_bv({"-", "--query", "5"}, script);
  EXPECT_EQ(1, f.code);
  EXPECT_NE(std::string::npos, f.out.find(": query 5 of 4\")\n")) << f.out;
}

// ---- limits ----

TEST(CommandLine, TimeLimit) {
  Finished const f = vell_bv({"-", "--time-limit", "0.3"}, hard() + "(get-info :reason-unknown)(check-sat)");
  EXPECT_EQ("unknown\n(:reason-unknown timeout)\nunknown\n", f.out);
  EXPECT_EQ(0, f.code);
  EXPECT_LT(f.seconds, 3);
}

TEST(CommandLine, LimitsOfEachCheck) {
  std::string const easy = "(get-info :reason-unknown)(reset)(declare-const p Bool)(assert p)(check-sat)";
  Finished f = vell_bv({"-", "--check-time-limit", "0.3"}, hard() + easy);
  EXPECT_EQ("unknown\n(:reason-unknown timeout)\nsat\n", f.out);
  EXPECT_EQ(0, f.code);
  f = vell_bv({"-"}, "(set-option :timeout 300)" + hard() + "(check-sat)(get-info :reason-unknown)");
  EXPECT_EQ("unknown\nunknown\n(:reason-unknown timeout)\n", f.out);
  f = vell_bv({"-", "--conflict-limit", "200", "--stats", "json"}, hard() + easy);
  EXPECT_EQ("unknown\n(:reason-unknown resourceout)\nsat\n", f.out);
  f = vell_bv({"-"}, "(set-option :reproducible-resource-limit 200)" + hard() +
                         "(get-option :reproducible-resource-limit)(get-info :reason-unknown)");
  EXPECT_EQ("unknown\n200\n(:reason-unknown resourceout)\n", f.out);
}

TEST(CommandLine, ABudgetOfConflictsIsSpentAlikeEveryTime) {
  std::string conflicts[3];
  for (std::string& c : conflicts) {
    Finished const f = vell_bv({"-", "--conflict-limit", "3000", "--stats", "text"}, hard());
    EXPECT_EQ("unknown\n", f.out);
    std::size_t const at = f.err.find("\nconflicts ");
    c = f.err.substr(at, f.err.find('\n', at + 1) - at);
  }
  EXPECT_EQ(conflicts[0], conflicts[1]);
  EXPECT_EQ(conflicts[0], conflicts[2]);
}

// A limit that strikes while formulas are translated leaves nothing behind.
TEST(CommandLine, AnswersAfterACheckThatWasStopped) {
  std::string const wide = "(_ BitVec 64)";
  std::string quotient = "b";
  for (int i = 0; i < 40; ++i) quotient = "(bvudiv (bvadd c " + quotient + ") b)";
  Finished const f = vell_bv(
      {"-"}, "(declare-const a " + wide + ")(declare-const b " + wide + ")(declare-const c " + wide +
                 ")(assert (= a (bvadd b c)))(push 1)(set-option :timeout 1)(assert (= a " + quotient +
                 "))(check-sat)(pop 1)"
                 "(set-option :timeout 0)(check-sat)(assert (distinct (bvsub a c) b))(check-sat)");
  EXPECT_EQ("unknown\nsat\nunsat\n", f.out);
}

TEST(CommandLine, MemoryLimit) {
  // Some 300 MB of clauses.
  std::string script =
      "(declare-const a (_ BitVec 600))(declare-const b (_ BitVec 600))(assert (= (bvmul a b) (bvudiv a b)))"
      "(check-sat)(get-info :reason-unknown)";
  Finished const f = vell_bv({"-", "--memory-limit", "60"}, script);
#ifdef __SANITIZE_ADDRESS__
  // Malloc does not fail, and the program may be ended before it comes to the next command.
  EXPECT_EQ(0u, f.out.find("unknown\n")) << f.out;
#else
  EXPECT_EQ("unknown\n(:reason-unknown memout)\n", f.out);
#endif
  EXPECT_EQ(1, f.code);
  EXPECT_LT(f.seconds, 20);
}

TEST(CommandLine, InterruptWhileSolving) {
  Finished const f =
      vell_bv({.arguments = {"-", "--stats"}, .input = hard(), .signal = SIGINT, .signal_after = 0.5});
  EXPECT_EQ("unknown\n", f.out);
  EXPECT_NE(std::string::npos, f.err.find("conflicts"));
  EXPECT_EQ(130, f.code);
  EXPECT_LT(f.seconds, 1);
}

TEST(CommandLine, InterruptWhileReadingAndClausifying) {
  // One assertion of a hundred thousand multiplications.
  std::string script =
      "(declare-const x (_ BitVec 64))(declare-const y (_ BitVec 64))(assert (= #x0000000000000001 ";
  for (int i = 0; i < 100000; ++i) script += "(bvmul (bvadd x (_ bv" + std::to_string(i) + " 64)) ";
  script += "y" + std::string(100000, ')') + "))(check-sat)";
  Scratch s;
  std::string const path = s.write("a.smt2", script);
  for (double after : {0.15, 0.4, 1.0}) {
    Finished f = vell_bv({.arguments = {path}, .signal = SIGINT, .signal_after = after});
    EXPECT_EQ("unknown\n", f.out);
    EXPECT_EQ(130, f.code);
    EXPECT_LT(f.seconds, 1);
    f = vell_bv(
        {.arguments = {"cnf", path, "-o", s.file("out.cnf")}, .signal = SIGINT, .signal_after = after});
    EXPECT_EQ(130, f.code);
    EXPECT_LT(f.seconds, 1);
    EXPECT_EQ(1u, s.files());
  }
  Finished const f = vell_bv({.arguments = {path}, .signal = SIGTERM, .signal_after = 0.3});
  EXPECT_EQ(143, f.code);
}

TEST(CommandLine, SigtermOnAnIdlePipeIsSilent) {
  Start start{.arguments = {"-"}, .input = "", .signal = SIGTERM, .signal_after = 0.3};
  start.keep_in_open = true;
  Finished const f = vell_bv(start);
  EXPECT_EQ("", f.out);
  EXPECT_EQ("", f.err);
  EXPECT_EQ(143, f.code);
}

// ---- CNF files ----

TEST(CommandLine, CnfIsDecidedLikeTheScript) {
  Scratch s;
  for (std::string const operation :
       {"bvadd", "bvmul", "bvudiv", "bvurem", "bvsdiv", "bvsrem", "bvshl", "bvashr"})
    for (std::string const value : {"#b00000", "#b10110", "#b11111"}) {
      std::string const script = "(declare-const x (_ BitVec 5))(declare-const y (_ BitVec 5))(assert (= (" +
                                 operation + " x y) " + value +
                                 "))(assert (bvult x y))(assert (bvult y #b00111))(check-sat)";
      std::string const path = s.write("a.smt2", script);
      std::string const answer = vell_bv({path}).out;
      for (bool raw : {false, true}) {
        std::vector<std::string> arguments = {"cnf", path, "-o", s.file("a.cnf")};
        if (raw) arguments.push_back("--raw");
        ASSERT_EQ(0, vell_bv(arguments).code);
        std::string const solution = shell("cadical -q " + s.file("a.cnf"));
        EXPECT_EQ(answer == "sat\n" ? "s SATISFIABLE" : "s UNSATISFIABLE",
                  solution.substr(0, solution.find('\n')))
            << script;
        Finished const decoded = vell_bv({"decode", s.file("a.cnf"), "-"}, solution);
        EXPECT_EQ(0, decoded.code);
        EXPECT_EQ(answer, decoded.out.substr(0, answer.size()));
        if (answer != "sat\n") continue;
        // The decoded model, pasted in front of the assertions, satisfies them.
        std::string model = decoded.out.substr(6, decoded.out.size() - 8);
        EXPECT_EQ("sat\n", vell_bv({"-"}, model + script.substr(script.find("(assert"))).out) << model;
      }
    }
}

TEST(CommandLine, CnfFilesAreWholeOrAbsent) {
  Scratch s;
  std::string const good = s.write("a.smt2", small);
  std::string const bad = s.write("b.smt2", "(declare-const x (_ BitVec 8))(assert (= x y))(check-sat)");
  Finished f = vell_bv({"cnf", bad, "-o", s.file("b.cnf")});
  EXPECT_EQ(1, f.code);
  EXPECT_EQ(0u, f.err.find("vell-bv: " + bad + ":1:44: ")) << f.err;
  EXPECT_EQ("", f.out);
  EXPECT_EQ(2u, s.files());
  f = vell_bv({"cnf", good, "-o", "/no/such/folder/a.cnf"});
  EXPECT_EQ(1, f.code);
  EXPECT_EQ("vell-bv: /no/such/folder/a.cnf: No such file or directory\n", f.err);
  f = vell_bv({"cnf", good, "-o", "/dev/full"});
  EXPECT_EQ(1, f.code);
  EXPECT_EQ("vell-bv: /dev/full: No space left on device\n", f.err);
}

TEST(CommandLine, CnfIsTheSameWhereverItGoes) {
  Scratch s;
  std::string const path = s.write("a.smt2", small);
  std::string const out = vell_bv({"cnf", path, "-o", "-"}).out;
  ASSERT_EQ(0, vell_bv({"cnf", path, "-o", s.file("a.cnf")}).code);
  EXPECT_EQ(out, s.read("a.cnf"));
  ASSERT_EQ(0, vell_bv({"cnf", path, "-o", s.file("a.cnf.gz")}).code);
  EXPECT_EQ(out, shell("zcat " + s.file("a.cnf.gz")));
  std::string const digest = shell("sha256sum " + path).substr(0, 64);
  EXPECT_NE(std::string::npos, out.find("c sha256 " + digest + "\n"));
  EXPECT_EQ(out, vell_bv({"cnf", path}).out);
  // Standard input: the same but for the name.
  std::string const piped = vell_bv({"cnf", "-", "-o", "-"}, small).out;
  EXPECT_NE(std::string::npos, piped.find("c sha256 " + digest + "\n"));
  EXPECT_EQ(out.substr(out.find("c sha256")), piped.substr(piped.find("c sha256")));
}

// ---- proofs ----

TEST(CommandLine, ProofsAreForOneUnsatAnswer) {
  Scratch s;
  std::string const proof = s.file("p.drat");
  std::string const unsat = "(declare-const x (_ BitVec 6))(assert (bvult x (bvlshr x #b000001)))(check-sat)";
  EXPECT_EQ("unsat\n", vell_bv({"-", "--proof", proof}, unsat).out);
  EXPECT_NE("", s.read("p.drat"));
  std::filesystem::remove(proof);
  Finished f = vell_bv({"-", "--proof", proof}, small);
  EXPECT_EQ(0u, f.out.find("sat\n"));
  EXPECT_NE(std::string::npos, f.err.find("no proof"));
  EXPECT_EQ(0u, s.files());
  EXPECT_EQ(1, vell_bv({"-", "--proof", proof}, unsat + "(check-sat)").code);
  EXPECT_EQ(1, vell_bv({"-", "--proof", "/no/such/folder/p"}, unsat).code);
}

// ---- IPASIR ----

TEST(CommandLine, AnswersWithASharedObject) {
  Scratch s;
  std::string const script =
      s.write("a.smt2",
              "(set-option :produce-unsat-assumptions true)(declare-const x (_ BitVec 8))"
              "(assert (= (bvmul x #x03) #x21))(check-sat)(get-value (x))(push 1)"
              "(assert (bvult x #x05))(check-sat)(pop 1)"
              "(declare-const p Bool)(assert (=> p (bvult x #x05)))"
              "(check-sat-assuming (p))(get-unsat-assumptions)(check-sat)");
  for (char const* library : {VELL_IPASIR_CADICAL, VELL_IPASIR_CRYPTOMINISAT}) {
    Finished const f = vell_bv({script, "--ipasir", library});
    EXPECT_EQ("sat\n((x #b00001011))\nunsat\nunsat\n(p)\nsat\n", f.out) << library;
    EXPECT_EQ("", f.err);
    EXPECT_EQ(0, f.code);
  }
}

TEST(CommandLine, RefusesASharedObjectThatIsNoSolver) {
  Scratch s;
  std::string const script = s.write("a.smt2", small);
  Finished const missing = vell_bv({script, "--ipasir", s.file("none.so")});
  EXPECT_EQ(1, missing.code);
  EXPECT_EQ("", missing.out);
  EXPECT_EQ(1, std::count(missing.err.begin(), missing.err.end(), '\n')) << missing.err;
  for (std::vector<std::string> const& more : {std::vector<std::string>{"--seed", "3"},
                                               {"--solver", "x {cnf}"},
                                               {"--proof", "p"},
                                               {"--threads", "1"}}) {
    std::vector<std::string> arguments = {script, "--ipasir", VELL_IPASIR_CADICAL};
    arguments.insert(arguments.end(), more.begin(), more.end());
    EXPECT_EQ(2, vell_bv(arguments).code) << more[0];
  }
}

TEST(CommandLine, StopsASharedObject) {
  Scratch s;
  Finished const f =
      vell_bv({s.write("a.smt2", hard()), "--ipasir", VELL_IPASIR_CADICAL, "--check-time-limit", "0.2"});
  EXPECT_EQ(0U, f.out.find("unknown")) << f.out;
}

}  // namespace
}  // namespace vell::cli
