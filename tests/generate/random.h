#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <vector>

namespace vell::generate {

// Random choices that are the same for a seed on every platform (SplitMix64: Steele, Lea, Flood, "Fast
// splittable pseudorandom number generators", 2014).
class Random {
 public:
  explicit Random(std::uint64_t seed) : state_(seed * 0x9e3779b97f4a7c15u + 0x2545f4914f6cdd1du) {}

  std::uint64_t next() {
    std::uint64_t z = state_ += 0x9e3779b97f4a7c15u;
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9u;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebu;
    return z ^ (z >> 31);
  }
  // In 0 .. n - 1; n > 0.
  std::uint64_t below(std::uint64_t n) { return next() % n; }
  // In low .. high, both included.
  std::int64_t between(std::int64_t low, std::int64_t high) {
    return low + static_cast<std::int64_t>(below(static_cast<std::uint64_t>(high - low) + 1));
  }
  bool percent(unsigned p) { return below(100) < p; }
  template <typename T>
  T const& pick(std::vector<T> const& v) {
    return v[below(v.size())];
  }
  template <typename T>
  T pick(std::initializer_list<T> v) {
    return v.begin()[below(v.size())];
  }

 private:
  std::uint64_t state_;
};

}  // namespace vell::generate
