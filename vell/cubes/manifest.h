#pragma once

// The folder of a formula in cubes, and the manifest that binds its pieces together by hashes.
//
//   manifest.json   what the pieces are, written last
//   script.smt2     the script (the suffix of a compressed one is kept)
//   formula.cnf     the CNF, as vell-bv cnf writes it
//   cubes.icnf      the same clauses and all cubes (p inccnf)
//   K.cube          cube K, from 1: its literals behind an `a`
//   K.verdict       what solve-cube found (verdict.h)
//   K.drat          its proof
//
// A hash is a SHA-256 in hexadecimal. That of the manifest names the folder's contents, and every verdict
// holds it: a verdict of another script, or of other cubes, does not fit.
//
// Tested by tests/cubes/manifest_test.cpp.

#include <cstdint>
#include <string>
#include <vector>

#include "vell/cubes/formula.h"

namespace vell::cubes {

struct Manifest {
  std::string folder;  // where it was read; not in the file
  std::string hash;    // of the file
  std::string script;  // file name
  std::string script_hash;
  std::uint64_t query = 0;  // which check-sat, as in cnf::CnfOptions
  bool free_division = false;
  std::string cnf_hash;
  std::string icnf_hash;
  std::int32_t variables = 0;
  std::string split;        // how the cubes were found, for people
  std::vector<Cube> cubes;  // cube K at K - 1
  std::vector<std::string> cube_hashes;

  std::size_t count() const { return cubes.size(); }
  std::string path(std::string const& name) const { return folder + "/" + name; }
  std::string cnf() const { return path("formula.cnf"); }
  std::string cube(std::size_t k) const { return path(std::to_string(k) + ".cube"); }
  std::string verdict(std::size_t k) const { return path(std::to_string(k) + ".verdict"); }
  std::string proof_name(std::size_t k) const { return std::to_string(k) + ".drat"; }

  // Throw Exception "FILE: reason" where the file is not the one that was written with the manifest.
  void check_script() const;
  void check_cnf() const;
  void check_cube(std::size_t k) const;
};

// What K.cube holds.
std::string cube_text(Manifest const& manifest, std::size_t k);

// Throws Exception "FILE: reason" for a folder without a manifest, or with one that is broken.
Manifest read_manifest(std::string const& folder);
// Writes manifest.json to the folder. Throws io::OutputError.
void write_manifest(Manifest const& manifest);

}  // namespace vell::cubes
