/* Writes x + y = 9 over words of 4 bits, with x below y, as DIMACS. */
#include <stdio.h>
#include <stdlib.h>
#include <vell.h>
static vell_terms *terms;

static void check(vell_error error) {
  if (error == VELL_OK) return;
  fprintf(stderr, "%s\n", vell_message(terms));
  exit(1);
}

static vell_term apply(char const *name, vell_term a, vell_term b) {
  vell_term const arguments[] = {a, b};
  vell_term out;
  check(vell_apply(terms, name, arguments, 2, NULL, 0, &out));
  return out;
}

int main(void) {
  vell_term x, y, nine, formulas[2];
  vell_cnf *cnf;
  int32_t const *literals;
  uint64_t const *offsets;
  uint64_t variables, clauses;
  check(vell_terms_new(&terms));
  check(vell_variable(terms, "x", 4, &x));
  check(vell_variable(terms, "y", 4, &y));
  check(vell_number(terms, 9, 4, &nine));
  formulas[0] = apply("=", apply("bvadd", x, y), nine);
  formulas[1] = apply("bvult", x, y);
  check(vell_cnf_new(terms, formulas, 2, "none", 0, &cnf));
  check(vell_cnf_variables(cnf, &variables));
  check(vell_cnf_clauses(cnf, &clauses));
  check(vell_cnf_arrays(cnf, &literals, &offsets));
  printf("p cnf %d %d\n", (int)variables, (int)clauses);
  for (uint64_t i = 0; i < clauses; puts("0"), ++i)
    for (uint64_t k = offsets[i]; k < offsets[i + 1]; ++k) printf("%d ", (int)literals[k]);
  return vell_cnf_free(cnf) != VELL_OK || vell_terms_free(terms) != VELL_OK;
}
