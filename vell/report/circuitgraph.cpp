#include "vell/report/circuitgraph.h"

#include <cstdlib>
#include <map>
#include <nlohmann/json.hpp>

#include "vell/report/graphviz.h"
#include "vell/report/pages.h"

namespace vell::report {

namespace {

std::string text_of(bv::BvLit l) {
  if (bv::is_constant(l)) return l == bv::l_true ? "T" : "F";
  return std::to_string(l);
}

class Drawer {
 public:
  Drawer(Circuit const& circuit, std::vector<bool> const& values) : circuit_(circuit), values_(values) {}

  std::string dot() {
    out_ = "digraph circuit {\n  graph [" +
           std::string(is_large() ? "mclimit=0.2, nslimit=2, nslimit1=2, " : "") +
           "rankdir=TB, nodesep=0.25, ranksep=0.45, bgcolor=white, label=" +
           dot_string(circuit_.title + ", width " + std::to_string(circuit_.width)) +
           ", labelloc=t, fontname=Helvetica, fontsize=14];\n"
           "  node [shape=box, style=filled, fillcolor=white, color=\"#333333\", fontname=Helvetica, "
           "fontsize=11, "
           "margin=\"0.08,0.04\"];\n"
           "  edge [color=\"#333333\", fontname=Helvetica, fontsize=9, arrowsize=0.6];\n";
    inputs();
    cells();
    result();
    return out_ + "}\n";
  }

 private:
  // Beyond so many cells dot would take minutes to place labels in the middle of lines.
  bool is_large() const { return circuit_.cells.size() > 60; }
  bool valued() const { return !values_.empty(); }
  bool is_true(bv::BvLit l) const {
    if (bv::is_constant(l)) return l == bv::l_true;
    return values_[static_cast<std::size_t>(std::abs(l))] == (l > 0);
  }
  // " = 1" where there are values.
  std::string value_text(bv::BvLit l) const { return !valued() ? "" : is_true(l) ? " = 1" : " = 0"; }
  // A true literal has a thick border, beside its colour.
  std::string marks(bv::BvLit l) const {
    return valued() && is_true(l) ? ", fillcolor=\"#ffe08a\", penwidth=2.5" : "";
  }

  void inputs() {
    for (std::size_t i = 0; i < circuit_.inputs.size(); ++i) {
      Circuit::Port const& port = circuit_.inputs[i];
      out_ += "  { rank=source;";
      for (std::size_t k = port.bits.size(); k-- > 0;) {
        std::string const id = "in_" + std::to_string(i) + "_" + std::to_string(k);
        bv::BvLit const l = port.bits[k];
        out_ += " " + id + " [id=" + id + ", shape=ellipse, class=\"input l" + std::to_string(std::abs(l)) +
                "\", label=" +
                dot_string(port.name + (port.bits.size() == 1 ? "" : "[" + std::to_string(k) + "]") + "\n" +
                           text_of(l) + (bv::is_constant(l) ? "" : value_text(l))) +
                (bv::is_constant(l) ? std::string(", style=\"filled,dashed\"") : marks(l)) + "];";
        if (!bv::is_constant(l)) sources_[std::abs(l)] = id;
      }
      out_ += " }\n";
    }
  }

  // A negated literal enters through a circle, as gates are drawn.
  void wire(bv::BvLit l, std::string const& to, std::string const& role) {
    if (bv::is_constant(l)) return;
    bool const thick = valued() && is_true(l);
    out_ += "  " + sources_.at(std::abs(l)) + " -> " + to + " [class=\"l" + std::to_string(std::abs(l)) +
            "\", " + (is_large() ? "headlabel" : "label") + "=" +
            dot_string((role.empty() ? "" : role + " ") + std::to_string(l)) +
            ", arrowhead=" + (l < 0 ? "odot" : "normal") +
            (thick ? ", penwidth=2.5, color=\"#b06a00\"" : "") + "];\n";
  }

  void cells() {
    for (std::size_t c = 0; c < circuit_.cells.size(); ++c) {
      Cell const& cell = circuit_.cells[c];
      std::string const id = "cell" + std::to_string(c);
      std::string label = cell.kind;
      // Constants are written in the box: they need no line.
      for (Cell::Pin const& pin : cell.inputs)
        if (bv::is_constant(pin.literal)) label += " (" + pin.role + " = " + text_of(pin.literal) + ")";
      std::string classes = "cell";
      label += "\n";
      for (Cell::Pin const& pin : cell.outputs) {
        label += (&pin == &cell.outputs[0] ? "" : "  ") + (pin.role == "x" ? "" : pin.role + " ") +
                 std::to_string(pin.literal) + value_text(pin.literal);
        classes += " l" + std::to_string(pin.literal);
        sources_[pin.literal] = id;
      }
      out_ += "  " + id + " [id=" + id + ", class=\"" + classes + "\", label=" + dot_string(label) +
              marks(cell.outputs[0].literal) + "];\n";
      for (Cell::Pin const& pin : cell.inputs) wire(pin.literal, id, pin.role);
    }
  }

  void result() {
    out_ += "  { rank=sink;";
    Circuit::Port const& port = circuit_.result;
    for (std::size_t k = port.bits.size(); k-- > 0;) {
      std::string const id = "out_" + std::to_string(k);
      bv::BvLit const l = port.bits[k];
      out_ += " " + id + " [id=" + id + ", shape=ellipse, peripheries=2, class=\"output\", label=" +
              dot_string(port.name + (port.bits.size() == 1 ? "" : "[" + std::to_string(k) + "]") + "\n" +
                         text_of(l) + (bv::is_constant(l) ? "" : value_text(l))) +
              marks(l) + "];";
    }
    out_ += " }\n";
    for (std::size_t k = port.bits.size(); k-- > 0;) wire(port.bits[k], "out_" + std::to_string(k), "");
  }

  Circuit const& circuit_;
  std::vector<bool> const& values_;
  std::string out_;
  std::map<bv::BvLit, std::string> sources_;  // by variable: the node that gives it
};

nlohmann::ordered_json port_json(Circuit::Port const& port) {
  return {{"name", port.name}, {"bits", port.bits}};
}

}  // namespace

std::string circuit_dot(Circuit const& circuit, std::vector<bool> const& values) {
  return Drawer(circuit, values).dot();
}

std::string circuit_page(Circuit const& circuit, std::string const& svg, std::vector<bool> const& values) {
  nlohmann::ordered_json data;
  data["title"] = circuit.title;
  data["width"] = circuit.width;
  data["last"] = circuit.last;
  for (Circuit::Port const& port : circuit.inputs) data["inputs"].push_back(port_json(port));
  data["result"] = port_json(circuit.result);
  data["cells"] = nlohmann::ordered_json::array();
  for (Cell const& cell : circuit.cells) {
    nlohmann::ordered_json row{{"kind", cell.kind}, {"clauses", cell.clauses}};
    for (auto const& [name, pins] : {std::pair("in", &cell.inputs), std::pair("out", &cell.outputs)}) {
      row[name] = nlohmann::ordered_json::array();
      for (Cell::Pin const& pin : *pins) row[name].push_back({pin.role, pin.literal});
    }
    data["cells"].push_back(std::move(row));
  }
  data["true"] = nlohmann::ordered_json::array();
  for (std::size_t v = 0; v < values.size(); ++v)
    if (values[v]) data["true"].push_back(v);
  return filled_page(circuit_template(), circuit.title, data, svg.substr(svg.find("<svg")));
}

}  // namespace vell::report
