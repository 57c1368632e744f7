// vell-bv draw FILE.smt2 -o OUT.svg, and vell-bv draw --circuit OPERATOR -o OUT.svg

#include <cstdio>

#include "vell/cli/options.h"
#include "vell/cli/watchdog.h"
#include "vell/script/drawing.h"

namespace vell::cli {

namespace {

struct Arguments {
  std::string input;  // "" for a circuit
  std::string output;
  std::string model;
  script::DrawingOptions terms;
  script::CircuitDrawingOptions circuit;
};

void draw(Arguments& arguments, CommonOptions const& common, script::Console& console,
          script::Control& control) {
  arguments.terms.model = arguments.circuit.model = arguments.model;
  arguments.terms.free_division = arguments.circuit.free_division = common.div_by_zero == "free";
  arguments.terms.settings = common.tunables;
  if (!common.words.empty()) arguments.terms.words = common.words;
  if (arguments.input.empty()) return script::write_circuit(arguments.output, arguments.circuit, &control);
  if (script::write_drawing(arguments.input, arguments.output, arguments.terms, &control))
    console.message(
        "the " + std::to_string(arguments.terms.most) +
        " terms with the most clauses are drawn (--most); --only, --depth and --least choose others");
}

int run(Arguments arguments, CommonOptions const& common) {
  script::Console console;
  script::Control control;
  Watchdog watchdog(common, console, control, "");
  int code = exit_error;
  try {
    draw(arguments, common, console, control);
    code = 0;
  } catch (script::Stopped const& e) {
    console.message(arguments.output + ": not written: " + e.what());
  } catch (Exception const& e) {
    console.message(e.what());
  } catch (std::bad_alloc const&) {
    console.message(arguments.output, ": not written: out of memory");
  }
  watchdog.finish(code);
}

void check(Arguments const& arguments, bool html) {
  bool const circuit = !arguments.circuit.name.empty();
  if (circuit == !arguments.input.empty())
    throw CLI::ValidationError("draw", "takes a FILE or --circuit, one of them");
  bool const page = arguments.output.ends_with(".html");
  if (html && !page) throw CLI::ValidationError("--html", "needs an output that ends in .html");
  if (page && !circuit)
    throw CLI::ValidationError("--output", "a page of terms is made by `profile FILE --html OUT.html`");
  for (char const* suffix : {".svg", ".png", ".dot", ".html"})
    if (arguments.output.ends_with(suffix)) return;
  throw CLI::ValidationError("--output", "must end in .svg, .png or .dot, or in .html for a circuit");
}

// "E,S" as two numbers.
std::string read_format(std::string const& text, script::CircuitDrawingOptions& circuit) {
  int used = 0;
  unsigned e = 0;
  unsigned s = 0;
  if (std::sscanf(text.c_str(), "%3u,%4u%n", &e, &s, &used) != 2 ||
      static_cast<std::size_t>(used) != text.size())
    return "takes the bits of exponent and significand, such as 5,11";
  circuit.exponent = e;
  circuit.significand = s;
  return "";
}

}  // namespace

void add_draw(CLI::App& app, CommonOptions& common, Action& action) {
  auto arguments = std::make_shared<Arguments>();
  auto html = std::make_shared<bool>(false);
  script::DrawingOptions& terms = arguments->terms;
  script::CircuitDrawingOptions& circuit = arguments->circuit;
  CLI::App* command = app.add_subcommand("draw", "draw the terms of a query, or the circuit of an operator");
  command->add_option("FILE", arguments->input, "SMT-LIB script; - is standard input")->type_name("");
  command
      ->add_option("-o,--output", arguments->output,
                   "picture: .svg or .png (by Graphviz), .dot, and .html for a circuit")
      ->required()
      ->type_name("OUT");
  CLI::Option* const name =
      command->add_option("--circuit", circuit.name, "an operator, such as bvadd or '(_ extract 5 2)'")
          ->type_name("OPERATOR");
  for (CLI::Option* o :
       {command->add_option("--query", terms.query, "which check-sat, the first without")
            ->type_name("N")
            ->check(count()),
        command->add_option("--depth", terms.depth, "levels of terms below the assertions")
            ->type_name("N")
            ->check(count()),
        command->add_option("--only", terms.only, "one assertion, constant or defined term")
            ->type_name("NAME"),
        command
            ->add_option("--least", terms.least,
                         "percent of all clauses that a term must have, with what is below it")
            ->type_name("SHARE")
            ->check(CLI::Range(0.0, 100.0)),
        command->add_option("--most", terms.most, "terms that are drawn: 150 without")
            ->type_name("N")
            ->check(count())})
    o->excludes(name);
  for (CLI::Option* o :
       {command->add_option("--width", circuit.width, "of the operator's words: 4 without")
            ->type_name("N")
            ->check(count()),
        command
            ->add_option("--constants", circuit.constants,
                         "bits of each argument, separated by commas: 0, 1 and ? for a free one; ? for a "
                         "free argument")
            ->type_name("BITS,...")
            ->delimiter(','),
        command
            ->add_option_function<std::string>(
                "--format",
                [&circuit](std::string const& text) {
                  if (std::string const why = read_format(text, circuit); !why.empty())
                    throw CLI::ValidationError("--format", why);
                },
                "bits of exponent and significand of a floating-point argument")
            ->type_name("E,S"),
        command->add_flag("--html", *html,
                          "a circuit as a page: clauses of each cell, values that run through")})
    o->needs(name);
  command->add_option("--model", arguments->model, "values to show, as `vell-bv decode` prints them")
      ->type_name("MODEL");
  common.add_to(*command, {"--time-limit", "--memory-limit", "--stats", "--progress", "--div-by-zero",
                           "--words", "--set"});
  command->callback([arguments, html, &common, &action] {
    check(*arguments, *html);
    action = [arguments, &common] { return run(*arguments, common); };
  });
}

}  // namespace vell::cli
