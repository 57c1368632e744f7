#include "vell/cubes/manifest.h"

#include <cstdlib>
#include <fstream>
#include <iterator>

#include <nlohmann/json.hpp>

#include "vell/engine/engine.h"
#include "vell/io/digest.h"
#include "vell/io/outputfile.h"
#include "vell/terms/exception.h"

namespace vell::cubes {

namespace {

constexpr char format[] = "vell-bv cubes 1";

void check(std::string const& path, std::string const& hash) {
  std::string found;
  try {
    found = io::input_digest(path);
  } catch (Exception const&) {
    throw Exception(path + ": cannot be read");
  }
  if (found != hash)
    throw Exception(path + ": it is not the file that the manifest names: its SHA-256 differs");
}

// A file name without a folder: nothing outside the folder is ever read.
bool plain(std::string const& name) {
  return !name.empty() && name[0] != '.' && name.find('/') == std::string::npos;
}

}  // namespace

void Manifest::check_script() const { check(path(script), script_hash); }
void Manifest::check_cnf() const { check(cnf(), cnf_hash); }
void Manifest::check_cube(std::size_t k) const { check(cube(k), cube_hashes.at(k - 1)); }

std::string cube_text(Manifest const& manifest, std::size_t k) {
  return "c cube " + std::to_string(k) + " of " + std::to_string(manifest.count()) + "\nc cnf " +
         manifest.cnf_hash + "\na" + literals_text(manifest.cubes.at(k - 1)) + "\n";
}

Manifest read_manifest(std::string const& folder) {
  Manifest out;
  out.folder = folder;
  std::string const path = out.path("manifest.json");
  std::ifstream file(path, std::ios::binary);
  if (!file) throw Exception(path + ": cannot be read");
  std::string const text{std::istreambuf_iterator<char>(file), {}};
  try {
    nlohmann::json const json = nlohmann::json::parse(text);
    if (json.at("format") != format) throw Exception(path + ": not in the format " + std::string(format));
    out.script = json.at("script").at("file");
    out.script_hash = json.at("script").at("sha256");
    out.query = json.at("query");
    out.free_division = json.at("free-division");
    out.cnf_hash = json.at("cnf").at("sha256");
    out.variables = json.at("cnf").at("variables");
    out.icnf_hash = json.at("icnf").at("sha256");
    out.split = json.at("split");
    for (nlohmann::json const& cube : json.at("cubes")) {
      out.cubes.push_back(cube.at("literals"));
      out.cube_hashes.push_back(cube.at("sha256"));
    }
  } catch (nlohmann::json::exception const& e) {
    throw Exception(path + ": broken: " + e.what());
  }
  bool good = !out.cubes.empty() && out.variables >= 0 && plain(out.script);
  for (Cube const& cube : out.cubes)
    for (std::int32_t l : cube) good = good && l != 0 && l != INT32_MIN && std::abs(l) <= out.variables;
  if (!good) throw Exception(path + ": broken: a cube without a meaning, or a script outside the folder");
  out.hash = io::text_digest(text);
  return out;
}

void write_manifest(Manifest const& manifest) {
  nlohmann::ordered_json json;
  json["format"] = format;
  json["vell-bv"] = engine::version;
  json["script"] = {{"file", manifest.script}, {"sha256", manifest.script_hash}};
  json["query"] = manifest.query;
  json["free-division"] = manifest.free_division;
  json["cnf"] = {{"file", "formula.cnf"}, {"sha256", manifest.cnf_hash}, {"variables", manifest.variables}};
  json["icnf"] = {{"file", "cubes.icnf"}, {"sha256", manifest.icnf_hash}};
  json["split"] = manifest.split;
  json["cubes"] = nlohmann::ordered_json::array();
  for (std::size_t k = 1; k <= manifest.count(); ++k)
    json["cubes"].push_back({{"file", std::to_string(k) + ".cube"},
                             {"literals", manifest.cubes[k - 1]},
                             {"sha256", manifest.cube_hashes[k - 1]}});
  io::OutputFile file(manifest.path("manifest.json"));
  std::string const text = json.dump(1) + "\n";
  file.write(text.data(), text.size());
  file.commit();
}

}  // namespace vell::cubes
