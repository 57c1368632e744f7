// DIMACS text at the speed of the clausifier.
//
// A clausifier makes a clause in a few nanoseconds; printing one through a stream costs several hundred. The clauses of
// a gate mention the same few variables again and again (a full adder 46 literals over five), and most variables are
// used soon after they were drawn. So the text of a variable, blank included, is made once, when it is drawn, and kept
// in a small direct-mapped table of 16 bytes an entry; writing a literal is then one comparison, one copy of 16 bytes of
// which the length says how many count, and a sign that is always stored and sometimes skipped. Constants are never in
// the table of the clean form, so only the way past it looks for them.
//
// The room for a whole clause is reserved once, so the inner loop has no bounds test, and a clause that turns out to be
// satisfied is dropped by not moving the write position.

#include "vell/sinks/dimacssink.h"

#include <bit>
#include <cstring>
#include <string>

namespace vell::sinks {

namespace {

// Fits the second-level cache of a processor beside the clausifier's own data.
constexpr std::size_t buffer_bytes = std::size_t{1} << 18;
constexpr std::size_t literal_bytes = 12;  // sign, ten digits, blank
constexpr std::size_t copy_bytes = 16;     // what the last literal's copy may write past its first byte

// The eight decimal digits of n < 10^8, one in each byte, the most significant in the lowest: halves, quarters and
// eighths of the number are split off in parallel, divisions by 100 and 10 being multiplications that are exact here.
std::uint64_t eight_digits(std::uint32_t n) {
  std::uint64_t const high = n / 10000;
  std::uint64_t const fours = high | (n - high * 10000) << 32;
  std::uint64_t const hundreds = (fours * 10486 >> 20) & 0x0000007f0000007f;
  std::uint64_t const twos = hundreds | (fours - hundreds * 100) << 16;
  std::uint64_t const tens = (twos * 103 >> 10) & 0x000f000f000f000f;
  return tens | (twos - tens * 10) << 8;
}

constexpr std::uint64_t ascii_zeros = 0x3030303030303030;

void put_eight(char* p, std::uint64_t digits) {
  if constexpr (std::endian::native == std::endian::big) digits = __builtin_bswap64(digits);
  std::memcpy(p, &digits, 8);
}

// Writes n > 0 without leading zeros and a blank; returns how many bytes that are, at most 11. Writes 8 bytes at least.
std::size_t put_number(char* p, std::uint32_t n) {
  char* start = p;
  if (n >= 100000000) {
    std::uint32_t const top = n / 100000000;
    if (top >= 10) *p++ = static_cast<char>('0' + top / 10);
    *p++ = static_cast<char>('0' + top % 10);
    put_eight(p, eight_digits(n % 100000000) | ascii_zeros);
    p += 8;
  } else {
    std::uint64_t const digits = eight_digits(n);
    int const zeros = std::countr_zero(digits) / 8;
    put_eight(p, (digits | ascii_zeros) >> (8 * zeros));
    p += 8 - zeros;
  }
  *p++ = ' ';
  return static_cast<std::size_t>(p - start);
}

}  // namespace

DimacsSink::DimacsSink(ByteOutput& out, Form form)
    : out_(out),
      offset_(form == Form::raw ? 0 : 1),
      texts_(new Text[text_count]()),
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

void DimacsSink::make_text(std::uint32_t magnitude) {
  Text& t = texts_[magnitude % text_count];
  t.length = static_cast<std::uint8_t>(put_number(t.bytes, magnitude - offset_));
  t.magnitude = magnitude;
}

bv::BvLit DimacsSink::new_lit() {
  make_text(static_cast<std::uint32_t>(next_));
  return next_++;
}

void DimacsSink::add_clause() {
  char* p = reserve(lits.size() * literal_bytes + 2 + copy_bytes);
  for (bv::BvLit l : lits) {
    std::uint32_t const negative = static_cast<std::uint32_t>(l) >> 31;
    std::uint32_t const magnitude = negative != 0 ? 0u - static_cast<std::uint32_t>(l) : static_cast<std::uint32_t>(l);
    Text const& t = texts_[magnitude % text_count];
    if (t.magnitude != magnitude) [[unlikely]] {
      if (magnitude == offset_) {  // the constant, in the clean form
        if (negative == 0) return;
        continue;
      }
      make_text(magnitude);
    }
    *p = '-';
    p += negative;
    std::memcpy(p, &t, sizeof t);
    p += t.length;
  }
  *p++ = '0';
  *p++ = '\n';
  next_byte_ = p;
  ++written_;
}

void DimacsSink::header(std::uint64_t variables, std::uint64_t clauses) {
  text("p cnf " + std::to_string(variables) + " " + std::to_string(clauses) + "\n");
  if (offset_ != 0) return;
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
