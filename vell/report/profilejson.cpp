#include "vell/report/profilejson.h"

#include <nlohmann/json.hpp>

#include "vell/engine/engine.h"
#include "vell/io/source.h"
#include "vell/report/cones.h"
#include "vell/smtlib/termprinter.h"

namespace vell::report {

namespace {

using Json = nlohmann::ordered_json;

constexpr char format_name[] = "vell-profile";
constexpr int format_version = 1;
constexpr std::size_t longest_text = 200;

void add_cost(Json& json, Cost const& cost) {
  json["variables"] = cost.fresh;
  json["clauses"] = cost.clauses;
  json["literals"] = cost.literals;
}

void add_share(Json& json, Cost const& cost, Cost const& total) {
  json["share"] =
      total.clauses == 0 ? 0.0 : static_cast<double>(cost.clauses) / static_cast<double>(total.clauses);
}

Json cost_json(Cost const& cost) {
  Json json;
  add_cost(json, cost);
  return json;
}

Json size_json(FormulasSize const& size) {
  Json json;
  json["formulas"] = size.formulas;
  json["terms"] = size.terms;
  json["clauses"] = size.clauses ? Json(*size.clauses) : Json(nullptr);
  return json;
}

Json operators_json(Profile const& profile) {
  Json out = Json::array();
  for (OperatorCost const& o : profile.operators) {
    Json row;
    row["name"] = o.name;
    row["width"] = o.width;
    row["terms"] = o.terms;
    add_cost(row, o.cost);
    add_share(row, o.cost, profile.total);
    out.push_back(std::move(row));
  }
  return out;
}

Json assertions_json(Profile const& profile) {
  Json out = Json::array();
  for (RootCost const& r : profile.roots) {
    Json row;
    row["kind"] = r.is_definition ? "definition" : "formula";
    row["line"] = r.line == 0 ? Json(nullptr) : Json(r.line);
    row["name"] = r.name;
    row["text"] = smtlib::short_text(*profile.tm, r.term, longest_text);
    row["terms"] = r.terms;
    add_cost(row, r.cost);
    add_share(row, r.cost, profile.total);
    row["cumulative"] = cost_json(r.cumulative);
    out.push_back(std::move(row));
  }
  return out;
}

Json terms_json(Profile const& profile, std::size_t top, run::Limits const& limits) {
  std::vector<std::size_t> const places = most_expensive(profile, top);
  std::vector<Cost> const cones = cumulative(profile, places, limits);
  Json out = Json::array();
  for (std::size_t i = 0; i < places.size(); ++i) {
    TermCost const& t = profile.terms[places[i]];
    std::uint64_t const line = profile.roots[t.root].line;
    Json row;
    row["id"] = t.term->id;
    row["operator"] = operator_name_of(*profile.tm, t.term);
    row["width"] = operator_width_of(*profile.tm, t.term);
    row["line"] = line == 0 ? Json(nullptr) : Json(line);
    row["assertion"] = t.root;
    row["text"] = smtlib::short_text(*profile.tm, t.term, longest_text);
    row["uses"] = t.uses;
    add_cost(row, t.own);
    add_share(row, t.own, profile.total);
    row["cumulative"] = cost_json(cones[i]);
    out.push_back(std::move(row));
  }
  return out;
}

Json passes_json(Profile const& profile) {
  Json steps = Json::array();
  for (Step const& s : profile.steps) {
    Json row;
    row["name"] = s.pass;
    row["replaced"] = s.replaced;
    row["seconds"] = s.seconds;
    row["before"] = size_json(s.before);
    row["after"] = size_json(s.after);
    steps.push_back(std::move(row));
  }
  Json out;
  out["given"] = size_json(profile.given);
  out["steps"] = std::move(steps);
  return out;
}

// Throws nlohmann's exceptions where something is missing that difference() reads.
void check_profile(Json const& json) {
  if (json.at("format").get<std::string>() != format_name) throw Exception("another format");
  if (json.at("version").get<int>() != format_version)
    throw Exception("version " + json.at("version").dump() + ", not " + std::to_string(format_version));
  auto const check_cost = [](Json const& row) {
    for (char const* name : {"terms", "variables", "clauses", "literals"})
      static_cast<void>(row.at(name).get<std::uint64_t>());
  };
  check_cost(json.at("total"));
  static_cast<void>(json.at("input").get<std::string>());
  static_cast<void>(json.at("words").get<std::string>());
  for (Json const& row : json.at("operators")) {
    check_cost(row);
    static_cast<void>(row.at("name").get<std::string>());
    static_cast<void>(row.at("width").get<std::uint64_t>());
  }
  for (Json const& row : json.at("assertions")) {
    check_cost(row);
    static_cast<void>(row.at("name").get<std::string>());
    static_cast<void>(row.at("kind").get<std::string>());
    if (!row.at("line").is_null()) static_cast<void>(row.at("line").get<std::uint64_t>());
  }
}

}  // namespace

Json to_json(Profile const& profile, std::size_t top, run::Limits const& limits) {
  Json json;
  json["format"] = format_name;
  json["version"] = format_version;
  json["program"] = engine::version;
  json["input"] = profile.input;
  json["query"] = profile.number == 0 ? 1 : profile.number;
  json["words"] = profile.words;
  Json total;
  total["terms"] = profile.terms.size();
  add_cost(total, profile.total);
  total["units"] = profile.units.clauses;
  total["lengths"] = profile.total.by_length;
  json["total"] = std::move(total);
  json["operators"] = operators_json(profile);
  json["assertions"] = assertions_json(profile);
  json["terms"] = terms_json(profile, top, limits);
  json["passes"] = passes_json(profile);
  return json;
}

std::string json_text(Json const& json) {
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

Json read_profile(std::string const& path) {
  std::unique_ptr<io::Source> source = io::Source::open(path);
  while (source->refill(source->begin())) {
  }
  std::string const name = source->name();
  try {
    Json json = Json::parse(source->begin(), source->end());
    check_profile(json);
    return json;
  } catch (nlohmann::json::exception const& e) {
    std::string what = e.what();
    std::size_t const after = what.find("] ");
    if (after != std::string::npos) what = what.substr(after + 2);
    throw Exception(name + ": no profile: " + what);
  } catch (Exception const& e) {
    throw Exception(name + ": no profile: " + e.what());
  }
}

}  // namespace vell::report
