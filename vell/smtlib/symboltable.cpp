#include "vell/smtlib/symboltable.h"

#include <cstring>

#include "vell/smtlib/macro.h"
#include "vell/terms/exception.h"

namespace vell::smtlib {

namespace {

std::uint64_t load8(char const* p) {
  std::uint64_t w;
  std::memcpy(&w, p, 8);
  return w;
}
std::uint64_t load4(char const* p) {
  std::uint32_t w;
  std::memcpy(&w, p, 4);
  return w;
}

constexpr std::uint64_t multiplier = 0x9e3779b97f4a7c15u;

// The last 1 to 8 bytes as a word, read by overlapping loads instead of a loop over bytes. For a given number
// of bytes, different bytes give different words.
std::uint64_t tail_word(char const* p, std::size_t n) {
  if (n >= 4) return load4(p) << 32 | load4(p + n - 4);
  if (n == 0) return 0;
  auto byte = [p](std::size_t i) { return static_cast<std::uint64_t>(static_cast<unsigned char>(p[i])); };
  return byte(0) << 16 | byte(n / 2) << 8 | byte(n - 1);
}

std::uint64_t mix(std::uint64_t h, std::uint64_t w) {
  h = (h ^ w) * multiplier;
  return h ^ (h >> 32);
}

}  // namespace

SymbolTable::SymbolTable() : slots_(1024) {
  struct Word {
    char const* text;
    Reserved reserved;
  };
  constexpr Word words[] = {{"!", Reserved::annotation},
                            {"_", Reserved::underscore},
                            {"as", Reserved::as},
                            {"let", Reserved::let},
                            {"exists", Reserved::exists},
                            {"forall", Reserved::forall},
                            {"match", Reserved::match},
                            {"par", Reserved::par},
                            {"lambda", Reserved::lambda},
                            {"BINARY", Reserved::token_class},
                            {"DECIMAL", Reserved::token_class},
                            {"HEXADECIMAL", Reserved::token_class},
                            {"NUMERAL", Reserved::token_class},
                            {"STRING", Reserved::token_class}};
  for (Word const& w : words) intern(w.text)->reserved = w.reserved;
}

Name* SymbolTable::intern(std::string_view symbol) {
  char const* p = symbol.data();
  std::size_t n = symbol.size();
  std::uint64_t h = n * multiplier;
  for (; n > 8; n -= 8, p += 8) h = mix(h, load8(p));
  std::uint64_t const tail = tail_word(p, n);
  std::uint32_t const hash = static_cast<std::uint32_t>((mix(h, tail) * multiplier) >> 32);
  std::size_t const mask = slots_.size() - 1;
  std::size_t i = hash & mask;
  for (; slots_[i].number != 0; i = (i + 1) & mask) {
    if (slots_[i].hash != hash) continue;
    Name* const name = entry(slots_[i].number - 1);
    if (name->length == symbol.size() && name->tail == tail &&
        (symbol.size() <= 8 || std::memcmp(name->text, symbol.data(), symbol.size()) == 0))
      return name;
  }
  return insert(symbol, hash, tail, i);
}

Name* SymbolTable::insert(std::string_view symbol, std::uint32_t hash, std::uint64_t tail, std::size_t slot) {
  if (symbol.size() > UINT32_MAX || count_ == UINT32_MAX - 1) throw Exception("too many or too long symbols");
  if (count_ >> chunk_bits == chunks_.size())
    chunks_.push_back(std::make_unique<Name[]>(std::size_t{1} << chunk_bits));
  Name* const n = entry(count_);
  n->text = text_.copy(symbol);
  n->length = static_cast<std::uint32_t>(symbol.size());
  n->tail = tail;
  slots_[slot] = {hash, ++count_};
  if (std::size_t{count_} * 2 > slots_.size()) {
    std::vector<Slot> old(slots_.size() * 2);
    old.swap(slots_);
    std::size_t const mask = slots_.size() - 1;
    for (Slot const& s : old) {
      if (s.number == 0) continue;
      std::size_t i = s.hash & mask;
      while (slots_[i].number != 0) i = (i + 1) & mask;
      slots_[i] = s;
    }
  }
  return n;
}

void SymbolTable::log(Name* name, bool sort) { (global_ ? unscoped_ : scoped_).push_back({name, sort}); }

void SymbolTable::bind(Name* name, Name::Meaning meaning, Term_ const* term) {
  name->meaning = meaning;
  name->term = term;
  log(name, false);
}

void SymbolTable::bind(Name* name, std::unique_ptr<Macro> macro) {
  name->meaning = Name::Meaning::macro;
  name->macro = macro.get();
  macros_.push_back(std::move(macro));
  log(name, false);
}

void SymbolTable::bind_sort(Name* name, SortDefinition const& sort) {
  sorts_.push_back(std::make_unique<SortDefinition const>(sort));
  name->sort = sorts_.back().get();
  log(name, true);
}

void SymbolTable::forget(std::vector<Declared>& list, std::size_t mark) {
  while (list.size() > mark) {
    Declared const d = list.back();
    if (d.sort)
      d.name->sort = nullptr;
    else
      d.name->meaning = Name::Meaning::none;
    list.pop_back();
  }
}

void SymbolTable::push(std::uint64_t levels) { scopes_.insert(scopes_.end(), levels, scoped_.size()); }

void SymbolTable::pop(std::uint64_t levels) {
  if (levels == 0) return;
  std::size_t const mark = scopes_[scopes_.size() - levels];
  scopes_.resize(scopes_.size() - levels);
  forget(scoped_, mark);
}

void SymbolTable::reset_assertions() {
  scopes_.clear();
  forget(scoped_, 0);
}

void SymbolTable::reset() {
  reset_assertions();
  forget(unscoped_, 0);
  global_ = false;
  macros_.clear();
  sorts_.clear();
}

void SymbolTable::forget_since(Mark mark) {
  forget(scoped_, mark.scoped);
  forget(unscoped_, mark.unscoped);
}

std::uint32_t SymbolTable::new_stamp() {
  if (++stamp_ == 0) {
    for (std::uint32_t i = 0; i < count_; ++i) entry(i)->stamp = 0;
    stamp_ = 1;
  }
  return stamp_;
}

}  // namespace vell::smtlib
