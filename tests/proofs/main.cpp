// check_drat CNF PROOF: "s VERIFIED" and exit code 0, or why not.

#include <cstdio>
#include <exception>
#include <fstream>

#include "tests/proofs/drat.h"

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fputs("usage: check_drat CNF PROOF\n", stderr);
    return 2;
  }
  try {
    std::ifstream cnf(argv[1]);
    std::ifstream proof(argv[2]);
    if (!cnf || !proof) {
      std::fputs("check_drat: cannot open a file\n", stderr);
      return 2;
    }
    vell::proofs::DratChecker checker(cnf, proof);
    bool const good = checker.verify();
    std::printf("c %llu of %llu lemmas checked\ns %s\n",
                static_cast<unsigned long long>(checker.checked_lemmas()),
                static_cast<unsigned long long>(checker.lemmas()), good ? "VERIFIED" : "NOT VERIFIED");
    return good ? 0 : 1;
  } catch (std::exception const& e) {
    std::fprintf(stderr, "check_drat: %s\n", e.what());
    return 2;
  }
}
