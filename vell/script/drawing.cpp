#include "vell/script/drawing.h"

#include <optional>

#include "vell/io/outputfile.h"
#include "vell/io/samefile.h"
#include "vell/report/circuitgraph.h"
#include "vell/report/graphviz.h"
#include "vell/report/termgraph.h"
#include "vell/script/border.h"
#include "vell/script/controlparts.h"

namespace vell::script {

namespace {

void write(std::string const& output, std::string const& bytes) {
  io::OutputFile file(output);
  file.write(bytes.data(), bytes.size());
  file.commit();
}

// Values by variable of the circuit, for those that the model has.
std::vector<bool> values_of(report::Circuit const& circuit, std::string const& path) {
  report::Model const model = report::Model::read(path);
  std::vector<std::vector<bool>> inputs;
  for (report::Circuit::Port const& port : circuit.inputs) {
    report::Model::Bits const* bits = model.find(port.name);
    if (bits != nullptr && bits->size() != port.bits.size())
      throw Exception(path + ": " + port.name + " has " + std::to_string(bits->size()) +
                      " bits, that of the circuit has " + std::to_string(port.bits.size()));
    inputs.push_back(bits == nullptr ? report::Model::Bits() : *bits);
  }
  return report::circuit_values(circuit, inputs);
}

}  // namespace

bool write_drawing(std::string const& script, std::string const& output, DrawingOptions const& options,
                   Control* control) {
  return across_border([&] {
    ControlOrOwn const work(control);
    report::Picture const picture = report::picture_of(output);
    if (picture == report::Picture::html)
      throw Exception(output + ": a page of terms is write_profile_page()'s");
    for (std::string const& input : {script, options.model})
      if (!input.empty()) io::refuse_same_file(output, input);
    std::optional<report::Model> model;
    if (!options.model.empty()) model = report::Model::read(options.model);
    cnf::CnfOptions inner;
    inner.input = script;
    inner.query = options.query;
    inner.free_division = options.free_division;
    inner.tunables = tunables_of(options);
    inner.passes = passes_of(options);
    report::Profile const profile = report::measure(inner, work.limits(), work.statistics());
    report::TermGraphOptions chosen;
    chosen.depth = options.depth;
    chosen.only = options.only;
    chosen.least = options.least;
    chosen.most = options.most;
    chosen.free_division = options.free_division;
    chosen.model = model ? &*model : nullptr;
    report::TermGraph const graph = report::term_graph(profile, chosen, work.limits());
    work.statistics().enter(run::Phase::writing);
    std::string const bytes = report::drawn(graph.dot, picture, work.limits());
    work.limits().check();
    write(output, bytes);
    return graph.skipped != 0;
  });
}

void write_circuit(std::string const& output, CircuitDrawingOptions const& options, Control* control) {
  across_border([&] {
    ControlOrOwn const work(control);
    report::Picture const picture = report::picture_of(output);
    if (!options.model.empty()) io::refuse_same_file(output, options.model);
    report::CircuitOptions inner;
    inner.name = options.name;
    inner.width = options.width;
    inner.constants = options.constants;
    inner.exponent = options.exponent;
    inner.significand = options.significand;
    inner.free_division = options.free_division;
    report::Circuit const circuit = report::make_circuit(inner);
    std::vector<bool> values;
    if (!options.model.empty()) values = values_of(circuit, options.model);
    bool const page = picture == report::Picture::html;
    std::string bytes = page
                            ? report::drawn(report::circuit_dot(circuit), report::Picture::svg, work.limits())
                            : report::drawn(report::circuit_dot(circuit, values), picture, work.limits());
    if (page) bytes = report::circuit_page(circuit, bytes, values);
    work.limits().check();
    write(output, bytes);
  });
}

}  // namespace vell::script
