#include "tests/support/formula.h"

#include <algorithm>

namespace vell::test {

namespace {

bool is_letter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; }
bool is_digit(char c) { return c >= '0' && c <= '9'; }

// Precedence climbing. The first error stands; from then on every rule returns 0 and takes nothing.
class Parser {
 public:
  Parser(std::string_view text, Variables const& variables) : text_(text), variables_(variables) {}

  FormulaResult run() {
    std::int64_t const value = expression(0);
    if (peek() != '\0') fail("text after the formula");
    return {error_.empty() ? value : 0, error_};
  }

 private:
  static constexpr int sign_binding = 3;
  static constexpr int depth_limit = 100;

  // 0 for what is no operator.
  static int binding(char op) {
    switch (op) {
      case '+':
      case '-': return 1;
      case '*':
      case '/': return 2;
      case '^': return 4;
      default: return 0;
    }
  }

  // An expression of operators that bind stronger than `weakest`.
  std::int64_t expression(int weakest) {
    if (++depth_ > depth_limit) fail("nested too deeply");
    std::int64_t value = error_.empty() ? operand() : 0;
    for (char op = peek(); error_.empty() && binding(op) > weakest; op = peek()) {
      ++next_;
      std::int64_t const right = expression(op == '^' ? binding(op) - 1 : binding(op));
      if (error_.empty()) value = apply(op, value, right);
    }
    --depth_;
    return value;
  }

  std::int64_t operand() {
    char const c = peek();
    if (c == '-') {
      ++next_;
      return apply('-', 0, expression(sign_binding));
    }
    if (c == '(') {
      ++next_;
      std::int64_t const value = expression(0);
      expect(')');
      return value;
    }
    if (is_digit(c)) return number();
    if (is_letter(c)) return name();
    fail(c == '\0' ? "an operand is missing" : std::string("unexpected ") + c);
    return 0;
  }

  std::int64_t number() {
    std::int64_t value = 0;
    while (next_ < text_.size() && is_digit(text_[next_]))
      if (__builtin_mul_overflow(value, 10, &value) ||
          __builtin_add_overflow(value, text_[next_++] - '0', &value)) {
        fail("the number is too large");
        return 0;
      }
    return value;
  }

  std::int64_t name() {
    std::size_t const start = next_;
    while (next_ < text_.size() && (is_letter(text_[next_]) || is_digit(text_[next_]))) ++next_;
    std::string_view const word = text_.substr(start, next_ - start);
    if (word == "min" || word == "max") {
      expect('(');
      std::int64_t const a = expression(0);
      expect(',');
      std::int64_t const b = expression(0);
      expect(')');
      return word == "min" ? std::min(a, b) : std::max(a, b);
    }
    auto const found = variables_.find(word);
    if (found == variables_.end()) {
      fail("unknown name " + std::string(word));
      return 0;
    }
    return found->second;
  }

  std::int64_t apply(char op, std::int64_t a, std::int64_t b) {
    std::int64_t value = 0;
    bool overflow = false;
    switch (op) {
      case '+': overflow = __builtin_add_overflow(a, b, &value); break;
      case '-': overflow = __builtin_sub_overflow(a, b, &value); break;
      case '*': overflow = __builtin_mul_overflow(a, b, &value); break;
      case '/':
        if (b == -1) return apply('-', 0, a);  // the quotient of the most negative value overflows
        if (b == 0 || a % b != 0) {
          fail(b == 0 ? "division by zero" : "the division leaves a remainder");
          return 0;
        }
        value = a / b;
        break;
      default:
        if (b < 0) {
          fail("the exponent is negative");
          return 0;
        }
        value = 1;
        if (a == 0 || a == 1) return b == 0 ? 1 : a;
        if (a == -1) return b % 2 == 0 ? 1 : -1;
        for (; b > 0 && !overflow; --b) overflow = __builtin_mul_overflow(value, a, &value);
    }
    if (overflow) fail("the value is too large");
    return overflow ? 0 : value;
  }

  void expect(char c) {
    if (peek() == c)
      ++next_;
    else
      fail(std::string("missing ") + c);
  }

  // The next character that is no blank; NUL at the end.
  char peek() {
    while (next_ < text_.size() && text_[next_] == ' ') ++next_;
    return next_ < text_.size() ? text_[next_] : '\0';
  }

  void fail(std::string message) {
    if (error_.empty()) error_ = std::move(message) + " at " + std::to_string(next_);
  }

  std::string_view text_;
  Variables const& variables_;
  std::size_t next_ = 0;
  int depth_ = 0;
  std::string error_;
};

}  // namespace

FormulaResult evaluate(std::string_view formula, Variables const& variables) {
  return Parser(formula, variables).run();
}

}  // namespace vell::test
