// DIMACS text at the speed of the clausifier.
//
// A clausifier makes a clause in a few nanoseconds; printing one through a stream costs several hundred. The
// clauses of a gate mention the same few variables again and again (a full adder 46 literals over five), and
// most variables are used soon after they were drawn. So the text of a variable, blank included, is made
// once, when it is drawn, and kept in a small direct-mapped table of 16 bytes an entry; writing a literal is
// then one comparison, one copy of 16 bytes of which the length says how many count, and a sign that is
// always stored and sometimes skipped. Constants are never in the table of the clean form, so only the way
// past it looks for them.
//
// The room for a whole clause is reserved once, so the inner loop has no bounds test, and a clause that turns
// out to be satisfied is dropped by not moving the write position.

#include "vell/sinks/dimacssink.h"

#include <bit>
#include <cassert>
#include <cstring>
#include <string>

namespace vell::sinks {

namespace {

// Fits the second-level cache of a processor beside the clausifier's own data.
constexpr std::size_t buffer_bytes = std::size_t{1} << 18;
constexpr std::size_t literal_bytes = 12;  // sign, ten digits, blank
constexpr std::size_t copy_bytes = 16;     // what the last literal's copy may write past its first byte

// The eight decimal digits of n < 10^8, one in each byte, the most significant in the lowest: halves,
// quarters and eighths of the number are split off in parallel, divisions by 100 and 10 being multiplications
// that are exact here.
std::uint64_t eight_digits(std::uint32_t n) {
  std::uint64_t const high = n / 10000;
  std::uint64_t const fours = high | (n - high * 10000) << 32;
  std::uint64_t const hundreds = (fours * 10486 >> 20) & 0x0000007f0000007f;
  std::uint64_t const twos = hundreds | (fours - hundreds * 100) << 16;
  std::uint64_t const tens = (twos * 103 >> 10) & 0x000f000f000f000f;
  return tens | (twos - tens * 10) << 8;
}

constexpr std::uint64_t ascii_zeros = 0x3030303030303030;

// Bytes in the order of memory, the first in the lowest eight bits, as a word to be stored.
std::uint64_t as_stored(std::uint64_t bytes) {
  if constexpr (std::endian::native == std::endian::big) return __builtin_bswap64(bytes);
  return bytes;
}

// Moved as one, by both compilers.
using Words = std::uint64_t __attribute__((vector_size(16)));

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

// The entry is put together in registers and stored at once: a copy that follows at its heels, as that for
// the first clause of a gate does, is forwarded from one store, while it would have to wait for several to
// reach the cache.
void DimacsSink::make_text(std::uint32_t magnitude) {
  std::uint32_t const n = magnitude - offset_;
  std::uint64_t first = 0;
  std::uint64_t rest = 0;
  std::uint64_t length = 0;
  if (n < 100000000) [[likely]] {
    std::uint64_t const digits = eight_digits(n);
    unsigned const zeros = digits == 0 ? 7 : static_cast<unsigned>(std::countr_zero(digits)) / 8;
    first = (digits | ascii_zeros) >> (8 * zeros);
    if (zeros == 0)
      rest = ' ';
    else
      first |= std::uint64_t{' '} << (64 - 8 * zeros);
    length = 9 - zeros;
  } else {
    std::uint32_t const top = n / 100000000;
    unsigned const bits = top >= 10 ? 16 : 8;
    std::uint64_t const leading = top >= 10 ? ('0' + top / 10) | ('0' + top % 10) << 8 : '0' + top;
    std::uint64_t const digits = eight_digits(n % 100000000) | ascii_zeros;
    first = leading | digits << bits;
    rest = digits >> (64 - bits) | std::uint64_t{' '} << bits;
    length = 9 + bits / 8;
  }
  rest = as_stored(rest | length << 24);
  rest |= std::uint64_t{magnitude} << (std::endian::native == std::endian::big ? 0 : 32);
  Words const words{as_stored(first), rest};
  std::memcpy(&texts_[text_index(magnitude)], &words, sizeof words);
}

bv::BvLit DimacsSink::new_lit() {
  make_text(static_cast<std::uint32_t>(next_));
  return next_++;
}

void DimacsSink::add_clause() {
  char* p = reserve(lits.size() * literal_bytes + 2 + copy_bytes);
  for (bv::BvLit l : lits) {
    assert(l != bv::l_undef);
    std::uint32_t const negative = static_cast<std::uint32_t>(l) >> 31;
    std::uint32_t const magnitude =
        negative != 0 ? 0u - static_cast<std::uint32_t>(l) : static_cast<std::uint32_t>(l);
    Text const& t = texts_[text_index(magnitude)];
    if (t.magnitude != magnitude) [[unlikely]] {
      if (magnitude == offset_) {  // the constant, in the clean form
        if (negative == 0) return;
        continue;
      }
      make_text(magnitude);
    }
    *p = '-';
    p += negative;
    Words words;
    std::memcpy(&words, &t, sizeof words);
    std::memcpy(p, &words, sizeof words);
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
