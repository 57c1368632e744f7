// DIMACS text at the speed of the clausifier.
//
// A clausifier makes a clause in some ten nanoseconds; printing one through a stream costs several hundred. Here a
// literal is written straight into a buffer of a megabyte, four decimal digits at a time from a table of 40 KB, and the
// buffer is handed over when it is full. The room for a whole clause is reserved once, so the inner loop has no bounds
// test, and a clause that turns out to be satisfied is dropped by setting the write position back.

#include "vell/sinks/dimacssink.h"

#include <array>
#include <cstring>
#include <string>

namespace vell::sinks {

namespace {

constexpr std::size_t buffer_bytes = std::size_t{1} << 20;
constexpr std::size_t literal_bytes = 12;  // sign, ten digits, blank

// The four digits of every number below 10000.
struct Digits {
  std::array<char, 40000> text{};
  constexpr Digits() {
    for (unsigned i = 0; i < 10000; ++i) {
      text[4 * i] = static_cast<char>('0' + i / 1000);
      text[4 * i + 1] = static_cast<char>('0' + i / 100 % 10);
      text[4 * i + 2] = static_cast<char>('0' + i / 10 % 10);
      text[4 * i + 3] = static_cast<char>('0' + i % 10);
    }
  }
};
constexpr Digits digits;

char* put_four(char* p, std::uint32_t n) {
  std::memcpy(p, &digits.text[4 * n], 4);
  return p + 4;
}

// n below 10000 without leading zeros.
char* put_short(char* p, std::uint32_t n) {
  unsigned const skip = (n < 1000) + (n < 100) + (n < 10);
  std::uint32_t word;
  std::memcpy(&word, &digits.text[4 * n], 4);
  char four[4];
  std::memcpy(four, &word, 4);
  for (unsigned i = skip; i < 4; ++i) *p++ = four[i];
  return p;
}

char* put_number(char* p, std::uint32_t n) {
  if (n < 10000) return put_short(p, n);
  if (n < 100000000) return put_four(put_short(p, n / 10000), n % 10000);
  return put_four(put_four(put_short(p, n / 100000000), n / 10000 % 10000), n % 10000);
}

char* put_literal(char* p, bv::BvLit literal) {
  std::uint32_t magnitude = static_cast<std::uint32_t>(literal);
  if (literal < 0) {
    *p++ = '-';
    magnitude = 0u - magnitude;
  }
  p = put_number(p, magnitude);
  *p++ = ' ';
  return p;
}

}  // namespace

DimacsSink::DimacsSink(ByteOutput& out, Form form)
    : out_(out),
      form_(form),
      capacity_(buffer_bytes),
      buffer_(new char[buffer_bytes]),
      next_byte_(buffer_.get()),
      end_(buffer_.get() + buffer_bytes) {}

void DimacsSink::make_room(std::size_t bytes) {
  flush();
  if (bytes <= capacity_) return;
  buffer_.reset();
  buffer_.reset(new char[bytes]);
  capacity_ = bytes;
  next_byte_ = buffer_.get();
  end_ = next_byte_ + bytes;
}

void DimacsSink::flush() {
  std::size_t const size = static_cast<std::size_t>(next_byte_ - buffer_.get());
  next_byte_ = buffer_.get();
  if (size != 0) out_.write(buffer_.get(), size);
}

void DimacsSink::add_clause() {
  char* p = reserve(lits.size() * literal_bytes + 2);
  if (form_ == Form::raw) {
    for (bv::BvLit l : lits) p = put_literal(p, l);
  } else {
    for (bv::BvLit l : lits) {
      if (l == bv::l_true) return;
      if (l == bv::l_false) continue;
      p = put_literal(p, l > 0 ? l - 1 : l + 1);
    }
  }
  *p++ = '0';
  *p++ = '\n';
  next_byte_ = p;
  ++written_;
}

void DimacsSink::header(std::uint64_t variables, std::uint64_t clauses) {
  text("p cnf " + std::to_string(variables) + " " + std::to_string(clauses) + "\n");
  if (form_ != Form::raw) return;
  text("1 0\n");
  ++written_;
}

void DimacsSink::comment(std::string_view line) {
  text("c ");
  text(line);
  text("\n");
}

void DimacsSink::text(std::string_view bytes) {
  if (bytes.empty()) return;
  std::memcpy(reserve(bytes.size()), bytes.data(), bytes.size());
  next_byte_ += bytes.size();
}

}  // namespace vell::sinks
