#include "vell/smtlib/rationalliteral.h"

#include <string>
#include <vector>

#include "vell/terms/exception.h"
#include "vell/terms/termbuilder.h"
#include "vell/terms/theory.h"
#include "vell/values/fparithmetic.h"

namespace vell::smtlib {

namespace {

// The digits, a point among them or not.
mpq_class number(std::string digits) {
  std::size_t const point = digits.find('.');
  mpz_class denominator = 1;
  if (point != std::string::npos) {
    mpz_ui_pow_ui(denominator.get_mpz_t(), 10, digits.size() - point - 1);
    digits.erase(point, 1);
  }
  mpq_class value(mpz_class(digits, 10), denominator);
  value.canonicalize();
  return value;
}

// An open `-` or `/` and what it was given so far.
struct Operation {
  char op;
  std::vector<mpq_class> operands;
};

mpq_class applied(Lexer& lexer, Operation const& o) {
  std::size_t const n = o.op == '-' ? 1 : 2;
  if (o.operands.size() != n)
    lexer.fail(std::string("`") + o.op + "` takes " + std::to_string(n) +
               (n == 1 ? " number here, not " : " numbers here, not ") + std::to_string(o.operands.size()));
  if (n == 1) return -o.operands[0];
  if (o.operands[1] == 0) lexer.fail("the number to be rounded is a quotient by zero");
  return o.operands[0] / o.operands[1];
}

}  // namespace

bool RationalLiteral::is_negative_number(std::string_view symbol) {
  if (symbol.size() < 2 || symbol[0] != '-') return false;
  std::size_t points = 0;
  for (char c : symbol.substr(1)) {
    points += c == '.' ? 1 : 0;
    if (c != '.' && (c < '0' || c > '9')) return false;
  }
  return points <= 1 && symbol[1] != '.' && symbol.back() != '.';
}

RationalLiteral::RationalLiteral(Lexer& lexer) {
  std::vector<Operation> open;
  if (lexer.kind() == Token::symbol && !is_negative_number(lexer.text()))
    open.push_back({lexer.text()[0], {}});
  for (bool first = open.empty();; first = false) {
    if (!first) lexer.next();
    mpq_class value;
    switch (lexer.kind()) {
      case Token::numeral:
      case Token::decimal: value = number(std::string(lexer.text())); break;
      case Token::symbol:
        if (!is_negative_number(lexer.text())) lexer.fail("expected a number, found " + lexer.describe());
        value = -number(std::string(lexer.text().substr(1)));
        break;
      case Token::open:
        lexer.next();
        if (lexer.kind() != Token::symbol || (lexer.text() != "-" && lexer.text() != "/"))
          lexer.fail("expected a number, found " + lexer.describe());
        open.push_back({lexer.text()[0], {}});
        continue;
      case Token::close:
        value = applied(lexer, open.back());
        open.pop_back();
        break;
      default: lexer.fail("expected a number, found " + lexer.describe());
    }
    if (open.empty()) {
      value_ = std::move(value);
      return;
    }
    open.back().operands.push_back(std::move(value));
  }
}

void RationalLiteral::scale(mpq_class const& exponent) {
  // Twice as far as the exponents of the largest format.
  long const most = 1L << (theory::max_exponent_width + 1);
  if (exponent.get_den() != 1 || abs(exponent) > most)
    throw Exception("the exponent of a number is an integer of at most " + std::to_string(most));
  long const places = exponent.get_num().get_si();
  if (places >= 0) {
    mpq_mul_2exp(value_.get_mpq_t(), value_.get_mpq_t(), static_cast<mp_bitcnt_t>(places));
  } else {
    mpq_div_2exp(value_.get_mpq_t(), value_.get_mpq_t(), static_cast<mp_bitcnt_t>(-places));
  }
}

Term_ const* RationalLiteral::rounded(TermManager& terms, Term_ const* mode, std::uint64_t exponent_width,
                                      std::uint64_t significand_width) const {
  using Role = Symbol::Role;
  values::FpFormat const format{exponent_width, significand_width - 1};
  auto const under = [&](values::Rounding rounding) {
    std::vector<std::uint64_t> words((format.width() + 63) / 64, 0);
    values::fp_from_rational(value_.get_num_mpz_t(), value_.get_den_mpz_t(), format, rounding, words.data());
    return terms.mk_number(QNumber::from_words(words.data(), words.size()),
                           terms.fp_type(exponent_width, significand_width - 1));
  };
  constexpr Role roles[] = {Role::rounding_even, Role::rounding_zero, Role::rounding_plus_inf,
                            Role::rounding_minus_inf, Role::rounding_away};
  for (unsigned i = 0; i < 5; ++i)
    if (mode->symbol->role() == roles[i]) return under(static_cast<values::Rounding>(i));
  TermBuilder const make{terms};
  Term_ const* out = under(values::Rounding::away);
  for (unsigned i = 0; i < 4; ++i) {
    Term_ const* const value = under(static_cast<values::Rounding>(i));
    if (value != out) out = make.ite(make.equal(mode, terms.mk_rounding_mode(roles[i])), value, out);
  }
  return out;
}

}  // namespace vell::smtlib
