/* vell.h as a program in C uses it, and with every kind of wrong argument. Compiled as C99 and as C++20, and run under
 * valgrind. */

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <vell.h>

static int failures = 0;

static void expect(int holds, int line, char const *what) {
  if (holds) return;
  printf("line %d: %s\n", line, what);
  ++failures;
}
#define EXPECT(condition) expect(condition, __LINE__, #condition)
#define GOOD(call) expect((call) == VELL_OK, __LINE__, #call)
#define BAD(code, call) expect((call) == (code), __LINE__, #call)
/* The call is wrong, and its object, which is live, says why in one line. */
#define TOLD(code, handle, call)                                       \
  do {                                                                 \
    expect((call) == (code), __LINE__, #call);                         \
    expect(vell_message(handle)[0] != '\0', __LINE__, "no message");   \
    expect(strchr(vell_message(handle), '\n') == NULL, __LINE__, "lines"); \
  } while (0)

/* ---- a sink that keeps nothing ---- */

typedef struct Counts {
  int32_t literals;
  int clauses;
  int most; /* clauses; then it ends the work */
} Counts;

static int32_t new_literal(void *data) { return ++((Counts *)data)->literals; }
static int add_clause(void *data, int32_t const *literals, size_t count) {
  Counts *counts = (Counts *)data;
  for (size_t i = 0; i < count; ++i) EXPECT(literals[i] != 0);
  return ++counts->clauses > counts->most;
}
static int32_t no_literal(void *data) {
  (void)data;
  return 1;
}

/* ---- what it is for ---- */

static vell_term apply2(vell_terms *terms, char const *name, vell_term a, vell_term b) {
  vell_term arguments[2];
  vell_term out = 0;
  arguments[0] = a;
  arguments[1] = b;
  GOOD(vell_apply(terms, name, arguments, 2, NULL, 0, &out));
  return out;
}

static void use_terms(void) {
  vell_terms *terms = NULL;
  vell_term x, y, sum, low, wide;
  uint64_t const bounds[2] = {3, 0};
  uint64_t width = 99;
  char *text = NULL;
  GOOD(vell_terms_new(&terms));
  GOOD(vell_variable(terms, "x", 8, &x));
  GOOD(vell_variable(terms, "y", 8, &y));
  sum = apply2(terms, "bvadd", x, y);
  EXPECT(sum == apply2(terms, "bvadd", x, y));
  EXPECT(sum != x);
  GOOD(vell_apply(terms, "extract", &sum, 1, bounds, 2, &low));
  GOOD(vell_width(terms, low, &width));
  EXPECT(width == 4);
  GOOD(vell_term_text(terms, low, &text));
  EXPECT(strcmp(text, "((_ extract 3 0) (bvadd x y))") == 0);
  vell_string_free(text);
  GOOD(vell_number_text(terms, "123456789012345678901234567890", 10, 100, &wide));
  GOOD(vell_term_text(terms, wide, &text));
  EXPECT(strcmp(text, "(_ bv123456789012345678901234567890 100)") == 0);
  vell_string_free(text);
  GOOD(vell_boolean(terms, 1, &y));
  GOOD(vell_width(terms, y, &width));
  EXPECT(width == 0);
  EXPECT(strcmp(vell_message(terms), "") == 0);
  GOOD(vell_terms_free(terms));
}

static void use_clausifier(void) {
  vell_terms *terms = NULL;
  vell_clausifier *clausifier = NULL;
  Counts counts = {1, 0, 1000};
  vell_sink sink;
  vell_term x, y;
  int32_t literal = 0, bits[8] = {0};
  size_t count = 0;
  sink.data = &counts;
  sink.new_literal = new_literal;
  sink.add_clause = add_clause;
  GOOD(vell_terms_new(&terms));
  GOOD(vell_clausifier_new(terms, &sink, &clausifier));
  GOOD(vell_variable(terms, "x", 2, &x));
  GOOD(vell_variable(terms, "y", 2, &y));
  GOOD(vell_clausifier_push(clausifier));
  /* As in the README's program. */
  GOOD(vell_clausifier_translate(clausifier, apply2(terms, "bvult", x, y), &literal));
  EXPECT(literal == 7);
  EXPECT(counts.clauses == 12);
  GOOD(vell_clausifier_bits(clausifier, x, bits, 8, &count));
  EXPECT(count == 2 && bits[0] >= 2 && bits[1] >= 2 && bits[0] != bits[1]);
  bits[1] = 77;
  GOOD(vell_clausifier_bits(clausifier, x, bits, 1, &count));
  EXPECT(count == 2 && bits[1] == 77);
  GOOD(vell_clausifier_bits(clausifier, x, NULL, 0, &count));
  GOOD(vell_clausifier_pop(clausifier));
  TOLD(VELL_STATE, clausifier, vell_clausifier_bits(clausifier, x, bits, 8, &count));
  TOLD(VELL_STATE, clausifier, vell_clausifier_pop(clausifier));
  /* A sink that ends the work; what was translated by then is no obstacle afterwards. */
  counts.most = counts.clauses + 1;
  TOLD(VELL_STOPPED, clausifier, vell_clausifier_translate(clausifier, apply2(terms, "bvule", x, y), &literal));
  counts.most = 1000;
  GOOD(vell_clausifier_translate(clausifier, apply2(terms, "bvule", x, y), &literal));
  EXPECT(strcmp(vell_message(clausifier), "") == 0);
  /* The terms may go first. */
  GOOD(vell_terms_free(terms));
  GOOD(vell_clausifier_bits(clausifier, x, bits, 8, &count));
  GOOD(vell_clausifier_free(clausifier));
}

static void use_cnf(void) {
  vell_terms *terms = NULL;
  vell_cnf *cnf = NULL, *raw = NULL;
  vell_model *model = NULL;
  vell_term x, formula, three, c15;
  uint64_t variables = 0, clauses = 0, words[2] = {9, 9};
  int32_t const *literals = NULL;
  uint64_t const *offsets = NULL;
  int32_t bits[8], all[64];
  size_t count = 0;
  char *text = NULL;
  GOOD(vell_terms_new(&terms));
  GOOD(vell_variable(terms, "x", 4, &x));
  GOOD(vell_number(terms, 3, 4, &three));
  GOOD(vell_number(terms, 15, 4, &c15));
  formula = apply2(terms, "=", apply2(terms, "bvmul", x, three), c15);
  GOOD(vell_cnf_new(terms, &formula, 1, "none", 0, &cnf));
  GOOD(vell_cnf_variables(cnf, &variables));
  GOOD(vell_cnf_clauses(cnf, &clauses));
  GOOD(vell_cnf_arrays(cnf, &literals, &offsets));
  GOOD(vell_cnf_bits(cnf, x, bits, 8, &count));
  EXPECT(variables > 4 && clauses > 4 && count == 4);
  EXPECT(offsets[0] == 0 && offsets[clauses] > clauses);
  for (uint64_t i = 0; i < offsets[clauses]; ++i)
    EXPECT(literals[i] != 0 && literals[i] <= (int32_t)variables && -literals[i] <= (int32_t)variables);
  /* All assignments of x, and what follows from each: only 5 is a model. */
  TOLD(VELL_VALUE, cnf, vell_cnf_decode(cnf, bits, 4, &model));
  GOOD(vell_cnf_new(terms, &formula, 1, "none", VELL_RAW | VELL_FREE_DIVISION, &raw));
  GOOD(vell_cnf_arrays(raw, &literals, &offsets));
  EXPECT(offsets[1] == 1 && literals[0] == 1);
  GOOD(vell_cnf_free(raw));
  /* The passes solve the equation: x is constant. */
  GOOD(vell_cnf_free(cnf));
  GOOD(vell_cnf_new(terms, &formula, 1, NULL, 0, &cnf));
  GOOD(vell_cnf_variables(cnf, &variables));
  GOOD(vell_cnf_bits(cnf, x, bits, 8, &count));
  for (uint64_t v = 0; v < variables && v < 64; ++v) all[v] = (int32_t)v + 1;
  if (vell_cnf_decode(cnf, all, variables, &model) == VELL_OK) {
    GOOD(vell_model_words(model, x, words, 2, &count));
    EXPECT(count == 1 && words[0] == 5 && words[1] == 9);
    GOOD(vell_model_text(model, x, &text));
    EXPECT(strcmp(text, "#b0101") == 0);
    vell_string_free(text);
    GOOD(vell_model_free(model));
  } else {
    EXPECT(!"the passes solve the equation");
  }
  TOLD(VELL_FILE, cnf, vell_cnf_write(cnf, "/nowhere/a.cnf"));
  GOOD(vell_cnf_free(cnf));
  /* A model made by hand. */
  words[0] = 7;
  GOOD(vell_model_new(terms, &model));
  GOOD(vell_model_set(model, x, words, 1));
  GOOD(vell_model_words(model, apply2(terms, "bvmul", x, three), words, 1, &count));
  EXPECT(words[0] == 5);
  TOLD(VELL_VALUE, model, vell_model_set(model, formula, words, 1));
  GOOD(vell_model_free(model));
  GOOD(vell_terms_free(terms));
}

static void use_solver(void) {
  vell_terms *terms = NULL;
  vell_solver *solver = NULL;
  vell_term x, ten, twenty, low, high;
  vell_term const *failed = NULL;
  char const *const *names = NULL;
  char const *reason = NULL;
  vell_answer answer = VELL_UNKNOWN;
  uint64_t word = 0;
  size_t count = 0;
  char *text = NULL;
  GOOD(vell_terms_new(&terms));
  GOOD(vell_solver_new(terms, NULL, &solver));
  GOOD(vell_variable(terms, "x", 8, &x));
  GOOD(vell_number(terms, 10, 8, &ten));
  GOOD(vell_number(terms, 20, 8, &twenty));
  low = apply2(terms, "bvult", x, ten);
  high = apply2(terms, "bvugt", x, twenty);
  GOOD(vell_solver_assert(solver, low, "low"));
  GOOD(vell_solver_check(solver, NULL, 0, &answer));
  EXPECT(answer == VELL_SAT);
  GOOD(vell_solver_words(solver, x, &word, 1, &count));
  EXPECT(count == 1 && word < 10);
  GOOD(vell_solver_text(solver, low, &text));
  EXPECT(strcmp(text, "true") == 0);
  vell_string_free(text);
  TOLD(VELL_STATE, solver, vell_solver_core(solver, &names, &count));
  TOLD(VELL_STATE, solver, vell_solver_failed(solver, &failed, &count));
  GOOD(vell_solver_check(solver, &high, 1, &answer));
  EXPECT(answer == VELL_UNSAT);
  GOOD(vell_solver_failed(solver, &failed, &count));
  EXPECT(count == 1 && failed[0] == high);
  TOLD(VELL_STATE, solver, vell_solver_words(solver, x, &word, 1, &count));
  TOLD(VELL_STATE, solver, vell_solver_text(solver, x, &text));
  GOOD(vell_solver_push(solver, 1));
  GOOD(vell_solver_assert(solver, high, "high"));
  GOOD(vell_solver_check(solver, NULL, 0, &answer));
  EXPECT(answer == VELL_UNSAT);
  GOOD(vell_solver_core(solver, &names, &count));
  EXPECT(count == 2 && strcmp(names[0], "low") == 0 && strcmp(names[1], "high") == 0);
  TOLD(VELL_STATE, solver, vell_solver_pop(solver, 2));
  GOOD(vell_solver_pop(solver, 1));
  TOLD(VELL_STATE, solver, vell_solver_core(solver, &names, &count));
  GOOD(vell_solver_time_limit(solver, 10000));
  GOOD(vell_solver_conflict_limit(solver, 10000));
  GOOD(vell_solver_interrupt(solver));
  GOOD(vell_solver_check(solver, NULL, 0, &answer));
  EXPECT(answer == VELL_SAT);
  GOOD(vell_solver_reason(solver, &reason));
  EXPECT(reason != NULL);
  GOOD(vell_solver_statistics(solver, &text));
  EXPECT(text[0] == '{');
  vell_string_free(text);
  GOOD(vell_terms_free(terms));
  GOOD(vell_solver_check(solver, NULL, 0, &answer));
  EXPECT(answer == VELL_SAT);
  GOOD(vell_solver_free(solver));
}

static void use_script(void) {
  char const *const text =
      "(declare-const |a b| Bool)(assert |a b|)(check-sat)(assert (not |a b|))(check-sat)";
  vell_terms *terms = NULL;
  vell_script *script = NULL, *none = NULL;
  vell_term const *formulas = NULL;
  vell_term a = 0;
  uint64_t queries = 0;
  size_t count = 0;
  GOOD(vell_terms_new(&terms));
  GOOD(vell_script_text(terms, text, NULL, &script));
  GOOD(vell_script_queries(script, &queries));
  EXPECT(queries == 2);
  GOOD(vell_script_find(script, "a b", &a));
  GOOD(vell_script_formulas(script, 0, &formulas, &count));
  EXPECT(count == 1 && formulas[0] == a);
  GOOD(vell_script_formulas(script, 2, &formulas, &count));
  EXPECT(count == 2);
  TOLD(VELL_VALUE, script, vell_script_formulas(script, 3, &formulas, &count));
  TOLD(VELL_VALUE, script, vell_script_find(script, "c", &a));
  TOLD(VELL_SCRIPT_ERROR, terms, vell_script_text(terms, "(assert x)", "a.smt2", &none));
  EXPECT(strncmp(vell_message(terms), "a.smt2:1:9: ", 12) == 0);
  TOLD(VELL_SCRIPT_ERROR, terms, vell_script_file(terms, "/nowhere/a.smt2", &none));
  EXPECT(none == NULL);
  GOOD(vell_script_free(script));
  GOOD(vell_terms_free(terms));
}

/* ---- wrong arguments ---- */

/* Every function with one handle: null, freed, of another kind, invented. */
static void wrong_handles(void) {
  vell_terms *terms = NULL, *freed = NULL;
  vell_model *other = NULL;
  int stack_object = 0;
  GOOD(vell_terms_new(&terms));
  GOOD(vell_model_new(terms, &other)); /* no function for the rest takes it */
  GOOD(vell_terms_new(&freed));
  GOOD(vell_terms_free(freed));
  for (int kind = 0; kind < 4; ++kind) {
    /* The functions of models get the terms as another kind. */
    void *const h = kind == 0 ? NULL : kind == 1 ? (void *)freed : kind == 2 ? (void *)other : (void *)&stack_object;
    void *const m = kind == 2 ? (void *)terms : h;
    vell_error const code = kind == 0 ? VELL_NULL : VELL_HANDLE;
    vell_error const freeing = kind == 0 ? VELL_OK : VELL_HANDLE;
    vell_term t = 0;
    vell_term const *list = NULL;
    vell_script *s = NULL;
    vell_clausifier *c = NULL;
    vell_cnf *n = NULL;
    vell_model *o = NULL;
    vell_solver *v = NULL;
    vell_sink sink;
    vell_answer answer;
    int32_t literal = 0;
    int32_t const *literals = NULL;
    uint64_t number = 0;
    uint64_t const *numbers = NULL;
    size_t count = 0;
    char *text = NULL;
    char const *constant = NULL;
    char const *const *names = NULL;
    sink.data = NULL;
    sink.new_literal = no_literal;
    sink.add_clause = add_clause;
#define T ((vell_terms *)h)
    BAD(code, vell_variable(T, "x", 8, &t));
    EXPECT(vell_message(NULL)[0] != '\0');
    BAD(code, vell_number(T, 1, 8, &t));
    BAD(code, vell_number_text(T, "1", 10, 8, &t));
    BAD(code, vell_boolean(T, 1, &t));
    BAD(code, vell_apply(T, "not", &t, 1, NULL, 0, &t));
    BAD(code, vell_width(T, t, &number));
    BAD(code, vell_term_text(T, t, &text));
    BAD(code, vell_script_file(T, "a", &s));
    BAD(code, vell_script_text(T, "", NULL, &s));
    BAD(code, vell_clausifier_new(T, &sink, &c));
    BAD(code, vell_cnf_new(T, &t, 1, NULL, 0, &n));
    BAD(code, vell_model_new(T, &o));
    BAD(code, vell_solver_new(T, NULL, &v));
    BAD(freeing, vell_terms_free(T));
#define S ((vell_script *)h)
    BAD(code, vell_script_queries(S, &number));
    BAD(code, vell_script_formulas(S, 0, &list, &count));
    BAD(code, vell_script_find(S, "x", &t));
    BAD(freeing, vell_script_free(S));
#define C ((vell_clausifier *)h)
    BAD(code, vell_clausifier_translate(C, t, &literal));
    BAD(code, vell_clausifier_bits(C, t, &literal, 1, &count));
    BAD(code, vell_clausifier_push(C));
    BAD(code, vell_clausifier_pop(C));
    BAD(freeing, vell_clausifier_free(C));
#define N ((vell_cnf *)h)
    BAD(code, vell_cnf_variables(N, &number));
    BAD(code, vell_cnf_clauses(N, &number));
    BAD(code, vell_cnf_arrays(N, &literals, &numbers));
    BAD(code, vell_cnf_bits(N, t, &literal, 1, &count));
    BAD(code, vell_cnf_write(N, "a"));
    BAD(code, vell_cnf_decode(N, &literal, 1, &o));
    BAD(freeing, vell_cnf_free(N));
#define M ((vell_model *)m)
    BAD(code, vell_model_set(M, t, &number, 1));
    BAD(code, vell_model_words(M, t, &number, 1, &count));
    BAD(code, vell_model_text(M, t, &text));
    BAD(freeing, vell_model_free(M));
#define V ((vell_solver *)h)
    BAD(code, vell_solver_assert(V, t, NULL));
    BAD(code, vell_solver_push(V, 1));
    BAD(code, vell_solver_pop(V, 1));
    BAD(code, vell_solver_check(V, NULL, 0, &answer));
    BAD(code, vell_solver_reason(V, &constant));
    BAD(code, vell_solver_time_limit(V, 1));
    BAD(code, vell_solver_conflict_limit(V, 1));
    BAD(code, vell_solver_words(V, t, &number, 1, &count));
    BAD(code, vell_solver_text(V, t, &text));
    BAD(code, vell_solver_core(V, &names, &count));
    BAD(code, vell_solver_failed(V, &list, &count));
    BAD(code, vell_solver_interrupt(V));
    BAD(code, vell_solver_statistics(V, &text));
    BAD(freeing, vell_solver_free(V));
    EXPECT(s == NULL && c == NULL && n == NULL && o == NULL && v == NULL && text == NULL && t == 0);
  }
  GOOD(vell_model_free(other));
  GOOD(vell_terms_free(terms));
  BAD(VELL_HANDLE, vell_terms_free(terms));
}

/* A term of another manager, 0, and one that was never handed out; null results; values out of range. */
static void wrong_arguments(void) {
  vell_terms *terms = NULL, *others = NULL;
  vell_term x, b, foreign, wrong[3], t = 0;
  vell_cnf *cnf = NULL;
  vell_solver *solver = NULL;
  vell_model *model = NULL, *no_model = NULL;
  vell_script *script = NULL;
  vell_clausifier *clausifier = NULL;
  vell_sink sink;
  vell_answer answer = VELL_SAT;
  Counts counts = {1, 0, 1000};
  uint64_t number = 0;
  uint64_t const *numbers = NULL;
  int32_t literal = 0;
  int32_t const *literals = NULL;
  vell_term const *list = NULL;
  char const *const *names = NULL;
  size_t count = 0;
  char *text = NULL;
  sink.data = &counts;
  sink.new_literal = new_literal;
  sink.add_clause = add_clause;
  GOOD(vell_terms_new(&terms));
  GOOD(vell_terms_new(&others));
  GOOD(vell_variable(terms, "x", 8, &x));
  GOOD(vell_variable(terms, "b", 0, &b));
  GOOD(vell_variable(others, "y", 8, &foreign));
  GOOD(vell_cnf_new(terms, &b, 1, NULL, 0, &cnf));
  GOOD(vell_solver_new(terms, "none", &solver));
  GOOD(vell_model_new(terms, &model));
  GOOD(vell_script_text(terms, "(check-sat)", NULL, &script));
  GOOD(vell_clausifier_new(terms, &sink, &clausifier));
  GOOD(vell_solver_check(solver, NULL, 0, &answer));
  wrong[0] = foreign;
  wrong[1] = 0;
  wrong[2] = x + 1000;
  for (int i = 0; i < 3; ++i) {
    vell_term const w = wrong[i];
    TOLD(VELL_TERM, terms, vell_apply(terms, "bvnot", &w, 1, NULL, 0, &t));
    TOLD(VELL_TERM, terms, vell_width(terms, w, &number));
    TOLD(VELL_TERM, terms, vell_term_text(terms, w, &text));
    TOLD(VELL_TERM, clausifier, vell_clausifier_translate(clausifier, w, &literal));
    TOLD(VELL_TERM, clausifier, vell_clausifier_bits(clausifier, w, &literal, 1, &count));
    TOLD(VELL_TERM, terms, vell_cnf_new(terms, &w, 1, NULL, 0, &cnf));
    TOLD(VELL_TERM, cnf, vell_cnf_bits(cnf, w, &literal, 1, &count));
    TOLD(VELL_TERM, model, vell_model_set(model, w, &number, 1));
    TOLD(VELL_TERM, model, vell_model_words(model, w, &number, 1, &count));
    TOLD(VELL_TERM, model, vell_model_text(model, w, &text));
    TOLD(VELL_TERM, solver, vell_solver_assert(solver, w, NULL));
    TOLD(VELL_TERM, solver, vell_solver_check(solver, &w, 1, &answer));
    GOOD(vell_solver_check(solver, NULL, 0, &answer));
    TOLD(VELL_TERM, solver, vell_solver_words(solver, w, &number, 1, &count));
    TOLD(VELL_TERM, solver, vell_solver_text(solver, w, &text));
  }
  /* Null where something is needed. */
  BAD(VELL_NULL, vell_terms_new(NULL));
  TOLD(VELL_NULL, terms, vell_variable(terms, NULL, 8, &t));
  TOLD(VELL_NULL, terms, vell_variable(terms, "x", 8, NULL));
  TOLD(VELL_NULL, terms, vell_number(terms, 1, 8, NULL));
  TOLD(VELL_NULL, terms, vell_number_text(terms, NULL, 10, 8, &t));
  TOLD(VELL_NULL, terms, vell_number_text(terms, "1", 10, 8, NULL));
  TOLD(VELL_NULL, terms, vell_boolean(terms, 1, NULL));
  TOLD(VELL_NULL, terms, vell_apply(terms, NULL, &x, 1, NULL, 0, &t));
  TOLD(VELL_NULL, terms, vell_apply(terms, "bvnot", NULL, 1, NULL, 0, &t));
  TOLD(VELL_NULL, terms, vell_apply(terms, "repeat", &x, 1, NULL, 1, &t));
  TOLD(VELL_NULL, terms, vell_apply(terms, "bvnot", &x, 1, NULL, 0, NULL));
  TOLD(VELL_NULL, terms, vell_width(terms, x, NULL));
  TOLD(VELL_NULL, terms, vell_term_text(terms, x, NULL));
  TOLD(VELL_NULL, terms, vell_script_file(terms, NULL, &script));
  TOLD(VELL_NULL, terms, vell_script_file(terms, "a", NULL));
  TOLD(VELL_NULL, terms, vell_script_text(terms, NULL, NULL, &script));
  TOLD(VELL_NULL, terms, vell_script_text(terms, "(check-sat)", NULL, NULL));
  TOLD(VELL_NULL, script, vell_script_queries(script, NULL));
  TOLD(VELL_NULL, script, vell_script_formulas(script, 0, NULL, &count));
  TOLD(VELL_NULL, script, vell_script_formulas(script, 0, &list, NULL));
  TOLD(VELL_NULL, script, vell_script_find(script, NULL, &t));
  TOLD(VELL_NULL, script, vell_script_find(script, "x", NULL));
  TOLD(VELL_NULL, terms, vell_clausifier_new(terms, NULL, &clausifier));
  TOLD(VELL_NULL, terms, vell_clausifier_new(terms, &sink, NULL));
  sink.add_clause = NULL;
  TOLD(VELL_NULL, terms, vell_clausifier_new(terms, &sink, &clausifier));
  sink.new_literal = NULL;
  sink.add_clause = add_clause;
  TOLD(VELL_NULL, terms, vell_clausifier_new(terms, &sink, &clausifier));
  TOLD(VELL_NULL, clausifier, vell_clausifier_translate(clausifier, x, NULL));
  GOOD(vell_clausifier_translate(clausifier, x, &literal));
  TOLD(VELL_NULL, clausifier, vell_clausifier_bits(clausifier, x, NULL, 1, &count));
  TOLD(VELL_NULL, clausifier, vell_clausifier_bits(clausifier, x, &literal, 1, NULL));
  TOLD(VELL_NULL, terms, vell_cnf_new(terms, NULL, 1, NULL, 0, &cnf));
  TOLD(VELL_NULL, terms, vell_cnf_new(terms, &b, 1, NULL, 0, NULL));
  TOLD(VELL_NULL, cnf, vell_cnf_variables(cnf, NULL));
  TOLD(VELL_NULL, cnf, vell_cnf_clauses(cnf, NULL));
  TOLD(VELL_NULL, cnf, vell_cnf_arrays(cnf, NULL, &numbers));
  TOLD(VELL_NULL, cnf, vell_cnf_arrays(cnf, &literals, NULL));
  TOLD(VELL_NULL, cnf, vell_cnf_bits(cnf, b, NULL, 1, &count));
  TOLD(VELL_NULL, cnf, vell_cnf_bits(cnf, b, &literal, 1, NULL));
  TOLD(VELL_NULL, cnf, vell_cnf_write(cnf, NULL));
  TOLD(VELL_NULL, cnf, vell_cnf_decode(cnf, NULL, 1, &no_model));
  TOLD(VELL_NULL, cnf, vell_cnf_decode(cnf, &literal, 1, NULL));
  TOLD(VELL_NULL, terms, vell_model_new(terms, NULL));
  TOLD(VELL_NULL, model, vell_model_set(model, x, NULL, 1));
  TOLD(VELL_NULL, model, vell_model_words(model, x, NULL, 1, &count));
  TOLD(VELL_NULL, model, vell_model_words(model, x, &number, 1, NULL));
  TOLD(VELL_NULL, model, vell_model_text(model, x, NULL));
  TOLD(VELL_NULL, terms, vell_solver_new(terms, NULL, NULL));
  TOLD(VELL_NULL, solver, vell_solver_check(solver, NULL, 0, NULL));
  TOLD(VELL_NULL, solver, vell_solver_check(solver, NULL, 1, &answer));
  TOLD(VELL_NULL, solver, vell_solver_reason(solver, NULL));
  GOOD(vell_solver_check(solver, NULL, 0, &answer));
  TOLD(VELL_NULL, solver, vell_solver_words(solver, x, NULL, 1, &count));
  TOLD(VELL_NULL, solver, vell_solver_words(solver, x, &number, 1, NULL));
  TOLD(VELL_NULL, solver, vell_solver_text(solver, x, NULL));
  TOLD(VELL_NULL, solver, vell_solver_core(solver, NULL, &count));
  TOLD(VELL_NULL, solver, vell_solver_core(solver, &names, NULL));
  TOLD(VELL_NULL, solver, vell_solver_failed(solver, NULL, &count));
  TOLD(VELL_NULL, solver, vell_solver_failed(solver, &list, NULL));
  TOLD(VELL_NULL, solver, vell_solver_statistics(solver, NULL));
  vell_string_free(NULL);
  /* Out of range, or of another sort. */
  TOLD(VELL_VALUE, terms, vell_variable(terms, "x", (uint64_t)1 << 32, &t));
  TOLD(VELL_VALUE, terms, vell_number(terms, 256, 8, &t));
  TOLD(VELL_VALUE, terms, vell_number(terms, 0, 0, &t));
  TOLD(VELL_VALUE, terms, vell_number_text(terms, "256", 10, 8, &t));
  TOLD(VELL_VALUE, terms, vell_number_text(terms, "-1", 10, 8, &t));
  TOLD(VELL_VALUE, terms, vell_number_text(terms, "0x1", 16, 8, &t));
  TOLD(VELL_VALUE, terms, vell_number_text(terms, "", 10, 8, &t));
  TOLD(VELL_VALUE, terms, vell_number_text(terms, "1", 7, 8, &t));
  TOLD(VELL_VALUE, terms, vell_number_text(terms, "1", 10, 0, &t));
  TOLD(VELL_SORT, terms, vell_apply(terms, "bvnothing", &x, 1, NULL, 0, &t));
  TOLD(VELL_SORT, terms, vell_apply(terms, "bvadd", &b, 1, NULL, 0, &t));
  TOLD(VELL_SORT, terms, vell_apply(terms, "bvadd", NULL, 0, NULL, 0, &t));
  TOLD(VELL_SORT, terms, vell_apply(terms, "extract", &x, 1, NULL, 0, &t));
  TOLD(VELL_VALUE, terms, vell_cnf_new(terms, &x, 1, NULL, 0, &cnf));
  TOLD(VELL_VALUE, terms, vell_cnf_new(terms, &b, 1, "some", 0, &cnf));
  TOLD(VELL_VALUE, terms, vell_cnf_new(terms, &b, 1, NULL, 4, &cnf));
  TOLD(VELL_VALUE, terms, vell_solver_new(terms, "some", &solver));
  TOLD(VELL_VALUE, solver, vell_solver_assert(solver, x, NULL));
  TOLD(VELL_VALUE, solver, vell_solver_check(solver, &x, 1, &answer));
  sink.new_literal = no_literal;
  {
    vell_clausifier *stubborn = NULL;
    GOOD(vell_clausifier_new(terms, &sink, &stubborn));
    TOLD(VELL_STOPPED, stubborn, vell_clausifier_translate(stubborn, x, &literal));
    GOOD(vell_clausifier_free(stubborn));
  }
  EXPECT(t == 0 && text == NULL && no_model == NULL);
  GOOD(vell_cnf_free(cnf));
  GOOD(vell_solver_free(solver));
  GOOD(vell_model_free(model));
  GOOD(vell_script_free(script));
  GOOD(vell_clausifier_free(clausifier));
  GOOD(vell_terms_free(others));
  GOOD(vell_terms_free(terms));
}

int main(void) {
  EXPECT(strcmp(vell_version(), "0.1.0") == 0);
  for (int code = 0; code < 14; ++code) EXPECT(vell_error_text((vell_error)code)[0] != '\0');
  use_terms();
  use_clausifier();
  use_cnf();
  use_solver();
  use_script();
  wrong_handles();
  wrong_arguments();
  if (failures == 0) printf("all as documented\n");
  return failures != 0;
}
