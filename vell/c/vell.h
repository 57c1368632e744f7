/* Vell in C: terms over bit-vectors, their clauses, and an incremental solver.
 *
 * Part of the library vell-script: link with `pkg-config --cflags --libs vell-script`. C99 and C++.
 *
 * Errors. Every function that can fail returns a vell_error; VELL_OK is 0. Results go through pointers, which
 * are untouched after an error. vell_message() gives the error as one line of text. No exception leaves the
 * library.
 *
 * Handles. Pointers to the structs below are handles, not addresses: they are never followed, and no two
 * objects ever have the same one. So a handle that is null, freed, of another kind or invented is an error,
 * VELL_NULL or VELL_HANDLE, in every function. What cannot be detected: a pointer to memory that is not the
 * caller's, or is too small, and text without a final 0.
 *
 * Ownership. vell_X_new() makes an object that the caller frees with vell_X_free(); freeing a null handle
 * does nothing. Objects over a vell_terms keep its terms: they may be freed in any order. A `char **` result
 * is the caller's, to be freed with vell_string_free(). Any other pointer that is handed out belongs to the
 * object of the call, and is valid until the next call with that object.
 *
 * Threads. A vell_terms and all objects over it are used by one thread at a time; different ones by different
 * threads. vell_solver_interrupt() and vell_string_free() may be called by any thread at any time, and
 * vell_message(NULL) is about the calling thread. Callbacks run in the thread of the call that they belong
 * to.
 */
#ifndef VELL_H
#define VELL_H

#include <stddef.h>
#include <stdint.h>

#ifndef VELL_STATIC
#define VELL_C_API __attribute__((visibility("default")))
#else
#define VELL_C_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

typedef struct vell_terms vell_terms;
typedef struct vell_script vell_script;
typedef struct vell_clausifier vell_clausifier;
typedef struct vell_cnf vell_cnf;
typedef struct vell_model vell_model;
typedef struct vell_solver vell_solver;

/* A term, with the number of its vell_terms in it: two are equal where they are the same term. 0 is no term.
 */
typedef uint64_t vell_term;

typedef enum vell_error {
  VELL_OK = 0,
  VELL_NULL = 1,         /* an argument is null that may not be */
  VELL_HANDLE = 2,       /* a handle that is freed, of another kind, or none at all */
  VELL_TERM = 3,         /* no term of this object's vell_terms */
  VELL_SORT = 4,         /* no such operator, or arguments that do not fit it */
  VELL_VALUE = 5,        /* a number or text out of its range */
  VELL_SCRIPT_ERROR = 6, /* a script that is not well formed: FILE:LINE:COLUMN: message */
  VELL_UNSUPPORTED = 7,  /* a term that has no clauses */
  VELL_STATE = 8,        /* no model, no core, no such level */
  VELL_STOPPED = 9,      /* a callback, or a limit, ended the work */
  VELL_FILE = 10,        /* a file that cannot be read or written */
  VELL_MEMORY = 11,      /* memory ran out */
  VELL_INTERNAL = 12     /* a defect of the library */
} vell_error;

typedef enum vell_answer { VELL_UNKNOWN = 0, VELL_SAT = 10, VELL_UNSAT = 20 } vell_answer;

/* "0.1.0" */
VELL_C_API char const* vell_version(void);
/* A few words about an error code; never null. */
VELL_C_API char const* vell_error_text(vell_error error);
/* The message of the last call with this handle, "" where it succeeded. For NULL, or a handle that is not
 * live: that of the last call of this thread whose handle was not live. Never null. Valid until the next such
 * call. */
VELL_C_API char const* vell_message(void const* handle);
/* Frees a text that was handed out; NULL does nothing. */
VELL_C_API void vell_string_free(char* text);

/* ---- terms ---- */

VELL_C_API vell_error vell_terms_new(vell_terms** out);
VELL_C_API vell_error vell_terms_free(vell_terms* terms);
/* A new variable, also when the name was used before. width: bits of a bit-vector, up to 2^32 - 1; 0 for
 * Bool. */
VELL_C_API vell_error vell_variable(vell_terms* terms, char const* name, uint64_t width, vell_term* out);
/* A numeral below 2^width, width from 1. */
VELL_C_API vell_error vell_number(vell_terms* terms, uint64_t value, uint64_t width, vell_term* out);
/* The same from digits of base 2, 10 or 16. */
VELL_C_API vell_error vell_number_text(vell_terms* terms, char const* digits, int base, uint64_t width,
                                       vell_term* out);
/* true for a value other than 0. */
VELL_C_API vell_error vell_boolean(vell_terms* terms, int value, vell_term* out);
/* The application of the operator that SMT-LIB names so ("bvadd", "=", "extract", "bvumulo", ...) to `count`
 * arguments, with the indices that stand in its parentheses ("extract" has two). */
VELL_C_API vell_error vell_apply(vell_terms* terms, char const* name, vell_term const* arguments,
                                 size_t count, uint64_t const* indices, size_t index_count, vell_term* out);
/* Bits of a bit-vector; 0 for Bool. VELL_SORT for a term of another sort. */
VELL_C_API vell_error vell_width(vell_terms* terms, vell_term term, uint64_t* out);
/* The term as SMT-LIB text. */
VELL_C_API vell_error vell_term_text(vell_terms* terms, vell_term term, char** out);

/* ---- scripts ---- */

/* Reads an SMT-LIB script from a file ("-": standard input; may be compressed), or from a text, whose name
 * stands for the file in messages. */
VELL_C_API vell_error vell_script_file(vell_terms* terms, char const* path, vell_script** out);
VELL_C_API vell_error vell_script_text(vell_terms* terms, char const* text, char const* name,
                                       vell_script** out);
VELL_C_API vell_error vell_script_free(vell_script* script);
/* Number of its check-sats. */
VELL_C_API vell_error vell_script_queries(vell_script* script, uint64_t* out);
/* The formulas that hold at a check-sat, assumptions last. query counts from 1; 0 is the first one, or the
 * script's end where it has none. */
VELL_C_API vell_error vell_script_formulas(vell_script* script, uint64_t query, vell_term const** out,
                                           size_t* count);
/* The constant declared last under the name, without bars; VELL_VALUE where there is none. */
VELL_C_API vell_error vell_script_find(vell_script* script, char const* name, vell_term* out);

/* ---- clausifier ---- */

/* What the clausifier calls. A literal is a signed number: 1 is true, -1 false, v >= 2 a variable of the
 * sink, and minus negates. Clauses may contain 1 and -1. */
typedef struct vell_sink {
  void* data; /* first argument of both functions */
  /* A new variable, from 2 on; anything below 2 ends the work with VELL_STOPPED. */
  int32_t (*new_literal)(void* data);
  /* A clause. The literals are valid during the call. A result other than 0 ends the work with VELL_STOPPED.
   */
  int (*add_clause)(void* data, int32_t const* literals, size_t count);
} vell_sink;

/* The sink is copied; its data must outlive the clausifier. The functions must not call this clausifier. */
VELL_C_API vell_error vell_clausifier_new(vell_terms* terms, vell_sink const* sink, vell_clausifier** out);
VELL_C_API vell_error vell_clausifier_free(vell_clausifier* clausifier);
/* Translates a term and all below it that has no bits yet. The result is the literal of a Boolean term, or
 * that of the least significant bit. Nothing is asserted. */
VELL_C_API vell_error vell_clausifier_translate(vell_clausifier* clausifier, vell_term term,
                                                int32_t* literal);
/* The literals of a translated term, least significant first: writes as many as there is room for, and their
 * number to count. VELL_STATE for a term without bits. bits may be null where capacity is 0. */
VELL_C_API vell_error vell_clausifier_bits(vell_clausifier* clausifier, vell_term term, int32_t* bits,
                                           size_t capacity, size_t* count);
/* A pop forgets the bits of every term translated since the push. */
VELL_C_API vell_error vell_clausifier_push(vell_clausifier* clausifier);
VELL_C_API vell_error vell_clausifier_pop(vell_clausifier* clausifier);

/* ---- CNF ---- */

/* Bits that are no literals: constant, or in no clause, so that any value will do. */
#define VELL_TRUE_BIT INT32_MAX
#define VELL_FALSE_BIT (-INT32_MAX)
#define VELL_ANY_BIT 0

/* Flags. RAW: variable 1 is the constant true, and every clause stands as the clausifier made it.
 * FREE_DIVISION: a quotient or remainder by zero is left open. */
#define VELL_RAW 1u
#define VELL_FREE_DIVISION 2u

/* The clauses of Boolean terms. words: the passes that simplify them first, "all", "none" or names with + or
 * - in front; NULL is "all". */
VELL_C_API vell_error vell_cnf_new(vell_terms* terms, vell_term const* formulas, size_t count,
                                   char const* words, unsigned flags, vell_cnf** out);
VELL_C_API vell_error vell_cnf_free(vell_cnf* cnf);
VELL_C_API vell_error vell_cnf_variables(vell_cnf* cnf, uint64_t* out);
VELL_C_API vell_error vell_cnf_clauses(vell_cnf* cnf, uint64_t* out);
/* Clause i is literals[offsets[i]] up to, not including, literals[offsets[i + 1]]. Valid as long as the cnf.
 */
VELL_C_API vell_error vell_cnf_arrays(vell_cnf* cnf, int32_t const** literals, uint64_t const** offsets);
/* DIMACS literals of a term's bits, least significant first, as vell_clausifier_bits() gives them. */
VELL_C_API vell_error vell_cnf_bits(vell_cnf* cnf, vell_term term, int32_t* bits, size_t capacity,
                                    size_t* count);
/* Writes DIMACS with a map line for each variable; "-" is standard output; .gz, .xz, .zst and .bz2 are
 * compressed. */
VELL_C_API vell_error vell_cnf_write(vell_cnf* cnf, char const* path);
/* The values of a model, which must satisfy the clauses: `count` literals that are true. */
VELL_C_API vell_error vell_cnf_decode(vell_cnf* cnf, int32_t const* literals, size_t count, vell_model** out);

/* ---- models ---- */

/* Values of variables, each 0 until it is set. */
VELL_C_API vell_error vell_model_new(vell_terms* terms, vell_model** out);
VELL_C_API vell_error vell_model_free(vell_model* model);
/* `count` words of 64 bits, least significant first. Missing ones are 0, bits beyond the width are ignored.
 */
VELL_C_API vell_error vell_model_set(vell_model* model, vell_term variable, uint64_t const* words,
                                     size_t count);
/* The value of any term in the same form: writes as many words as there is room for, and their number to
 * count. */
VELL_C_API vell_error vell_model_words(vell_model* model, vell_term term, uint64_t* words, size_t capacity,
                                       size_t* count);
/* The value as SMT-LIB writes it: true, #b0101. */
VELL_C_API vell_error vell_model_text(vell_model* model, vell_term term, char** out);

/* ---- incremental solver ---- */

/* words: see vell_cnf_new(). */
VELL_C_API vell_error vell_solver_new(vell_terms* terms, char const* words, vell_solver** out);
VELL_C_API vell_error vell_solver_free(vell_solver* solver);
/* Asserts a Boolean term until its level is popped. A name makes it one that vell_solver_core() tells; NULL
 * for none. */
VELL_C_API vell_error vell_solver_assert(vell_solver* solver, vell_term formula, char const* name);
VELL_C_API vell_error vell_solver_push(vell_solver* solver, uint64_t levels);
VELL_C_API vell_error vell_solver_pop(vell_solver* solver, uint64_t levels);
/* Decides the assertions together with the assumptions, which hold for this check only. */
VELL_C_API vell_error vell_solver_check(vell_solver* solver, vell_term const* assumptions, size_t count,
                                        vell_answer* out);
/* After VELL_UNKNOWN: timeout, resourceout, memout, interrupted or incomplete. */
VELL_C_API vell_error vell_solver_reason(vell_solver* solver, char const** out);
/* For each check from now on; 0 for none. */
VELL_C_API vell_error vell_solver_time_limit(vell_solver* solver, uint64_t milliseconds);
VELL_C_API vell_error vell_solver_conflict_limit(vell_solver* solver, uint64_t conflicts);
/* After VELL_SAT: the value of a term, as vell_model_words() and vell_model_text() give it. */
VELL_C_API vell_error vell_solver_words(vell_solver* solver, vell_term term, uint64_t* words, size_t capacity,
                                        size_t* count);
VELL_C_API vell_error vell_solver_text(vell_solver* solver, vell_term term, char** out);
/* After VELL_UNSAT: names of assertions, and assumptions, that cannot hold together with the assertions
 * without one. */
VELL_C_API vell_error vell_solver_core(vell_solver* solver, char const* const** names, size_t* count);
VELL_C_API vell_error vell_solver_failed(vell_solver* solver, vell_term const** assumptions, size_t* count);
/* Ends the check that runs in another thread; without one nothing happens. */
VELL_C_API vell_error vell_solver_interrupt(vell_solver* solver);
/* Counters and times (seconds), as one JSON object. */
VELL_C_API vell_error vell_solver_statistics(vell_solver* solver, char** out);

#ifdef __cplusplus
}
#endif

#endif
