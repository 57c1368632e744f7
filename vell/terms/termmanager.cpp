#include "vell/terms/termmanager.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <new>

#include "vell/terms/exception.h"
#include "vell/terms/operators.h"

namespace vell {

namespace {

// Term memory comes in chunks of 2^18 words of 8 bytes, two megabytes. A place is a word number: chunk number
// and offset in one.
constexpr unsigned chunk_bits = 18;
constexpr std::uint64_t chunk_words = std::uint64_t{1} << chunk_bits;
constexpr std::uint64_t max_places = UINT32_MAX;

std::uint64_t mix(std::uint64_t h, std::uint64_t w) {
  h = (h ^ w) * 0x9e3779b97f4a7c15u;
  return h ^ (h >> 32);
}

// Symbols and terms differ by their addresses; interning makes the addresses stand for the structure.
std::uint32_t term_hash(Symbol const* symbol, Term_ const* const* children, std::uint64_t n) {
  std::uint64_t h = mix(0, reinterpret_cast<std::uintptr_t>(symbol));
  for (std::uint64_t i = 0; i < n; ++i) h = mix(h, reinterpret_cast<std::uintptr_t>(children[i]));
  return static_cast<std::uint32_t>(h >> 16);
}

// The slot that a term's youngest child points to. Ids reach two thirds of the number of slots, so this
// spreads them over the whole table. A term without children is where its symbol's place among the symbols
// points to.
std::uint64_t near_slot(Symbol const* symbol, Term_ const* const* children, std::uint64_t n) {
  if (n == 0) return reinterpret_cast<std::uintptr_t>(symbol) / 32;
  std::uint64_t youngest = 0;
  for (std::uint64_t i = 0; i < n; ++i) youngest = std::max(youngest, children[i]->id);
  return youngest + youngest / 2;
}

// Slots tried near there, from one of as many on, before the hash alone decides: a child of very many terms
// must not make a long row.
constexpr std::uint64_t near_slots = 16;

}  // namespace

TermManager::TermManager() : numerals_(64, Slot{0, 0}), table_(1024) {
  bool_type = new_type(Type::Kind::boolean);
  bv_type_marker = new_type(Type::Kind::marker);
  fp_type_marker = new_type(Type::Kind::marker);
  int_type = new_type(Type::Kind::integer);
  real_type = new_type(Type::Kind::real);
  rounding_mode_type = new_type(Type::Kind::rounding_mode);
}

TermManager::~TermManager() {
  for (QNumber* n : numbers_) n->~QNumber();
  for (char* c : chunks_) std::free(c);
}

// ---- types ----

Type const* TermManager::new_type(Type::Kind kind, std::uint64_t a, std::uint64_t b) {
  types_.push_back(std::unique_ptr<Type>(new Type(kind, a, b)));
  return types_.back().get();
}

Type const* TermManager::bv_type(std::uint64_t width) {
  Type const*& slot = bv_types_[width];
  if (slot == nullptr) {
    Type const* w = new_type(Type::Kind::width, width);
    Type const* t = new_type(Type::Kind::bit_vector, width);
    types_.back()->components = {bv_type_marker, w};
    slot = t;
  }
  return slot;
}

Type const* TermManager::fp_type(std::uint64_t exponent_width, std::uint64_t fraction_width) {
  Type const*& slot = fp_types_[exponent_width][fraction_width];
  if (slot == nullptr) {
    Type const* format = new_type(Type::Kind::format, exponent_width, fraction_width);
    Type const* t = new_type(Type::Kind::floating_point, exponent_width, fraction_width);
    types_.back()->components = {fp_type_marker, format};
    slot = t;
  }
  return slot;
}

Type const* TermManager::function_type(std::span<Type const* const> arguments, Type const* result) {
  std::vector<Type const*> components(arguments.begin(), arguments.end());
  components.push_back(result);
  for (Type const* t : function_types_)
    if (t->components == components) return t;
  Type const* t = new_type(Type::Kind::function);
  types_.back()->components = std::move(components);
  function_types_.push_back(t);
  return t;
}

bool TermManager::is_function_type(Type const* type, std::vector<Type const*>* arguments,
                                   Type const** result) const {
  if (type->kind() != Type::Kind::function) return false;
  if (arguments != nullptr) arguments->assign(type->components.begin(), type->components.end() - 1);
  if (result != nullptr) *result = type->components.back();
  return true;
}

bool TermManager::is_term_ite(Symbol const* symbol, Type const** type) const {
  if (symbol->role_ != Symbol::Role::term_ite) return false;
  if (type != nullptr) *type = symbol->output_type_;
  return true;
}

namespace {
void put(std::uint64_t* out, std::uint64_t value) {
  if (out != nullptr) *out = value;
}
}  // namespace

bool TermManager::is_bv_extract(Symbol const* symbol, std::uint64_t* msb, std::uint64_t* lsb,
                                std::uint64_t* selected_width) const {
  if (symbol->role_ != Symbol::Role::extract) return false;
  put(msb, symbol->parameters_[0]);
  put(lsb, symbol->parameters_[1]);
  if (selected_width != nullptr) is_bv_type(symbol->output_type_, selected_width);
  return true;
}

bool TermManager::is_bv_rotate_left(Symbol const* symbol, std::uint64_t* amount, std::uint64_t* width) const {
  if (symbol->role_ != Symbol::Role::rotate_left) return false;
  put(amount, symbol->parameters_[0]);
  if (width != nullptr) is_bv_type(symbol->output_type_, width);
  return true;
}

bool TermManager::is_bv_rotate_right(Symbol const* symbol, std::uint64_t* amount,
                                     std::uint64_t* width) const {
  if (symbol->role_ != Symbol::Role::rotate_right) return false;
  put(amount, symbol->parameters_[0]);
  if (width != nullptr) is_bv_type(symbol->output_type_, width);
  return true;
}

bool TermManager::is_bv_slt(Symbol const* symbol, std::uint64_t* width) const {
  if (symbol->role_ != Symbol::Role::slt) return false;
  put(width, symbol->parameters_[0]);
  return true;
}

// ---- symbols ----

Symbol const* TermManager::make_symbol(SymbolSpec const& spec) {
  assert(spec.output_type != nullptr);
  assert((spec.role == Symbol::Role::number) == (spec.number != nullptr));
  Symbol* s = ::new (symbol_arena_.alloc(sizeof(Symbol))) Symbol;
  s->name = symbol_arena_.copy(spec.name);
  s->arity = spec.arity;
  s->output_type_ = spec.output_type;
  s->number_ = nullptr;
  if (spec.number != nullptr) {
    numbers_.push_back(::new (symbol_arena_.alloc(sizeof(QNumber))) QNumber);
    *numbers_.back() = *spec.number;
    s->number_ = numbers_.back();
  }
  s->label_ = spec.label.empty() ? nullptr : symbol_arena_.copy(spec.label);
  s->parameters_[0] = spec.parameter0;
  s->parameters_[1] = spec.parameter1;
  s->tag_ = spec.tag;
  s->role_ = spec.role;
  if (spec.output_type == rounding_mode_type) has_rounding_modes_ = true;
  return s;
}

Symbol const* TermManager::operator_symbol(SymbolTag::tag tag, std::uint64_t arity, Type const* output_type,
                                           std::uint64_t parameter0, std::uint64_t parameter1) {
  assert(output_type != nullptr);
  std::uint64_t h = mix(mix(tag, arity), reinterpret_cast<std::uintptr_t>(output_type));
  h = mix(mix(h, parameter0), parameter1);
  auto same = [&](Symbol const* s) {
    return s->tag_ == tag && s->arity == arity && s->output_type_ == output_type &&
           s->parameters_[0] == parameter0 && s->parameters_[1] == parameter1;
  };
  Symbol const*& recent = recent_symbols_[h % std::size(recent_symbols_)];
  if (recent != nullptr && same(recent)) return recent;
  auto const [begin, end] = operator_symbols_.equal_range(h);
  for (auto i = begin; i != end; ++i)
    if (same(i->second)) return recent = i->second;

  SymbolSpec spec;
  spec.name = operator_name(tag);
  spec.arity = arity;
  spec.output_type = output_type;
  spec.tag = tag;
  spec.parameter0 = parameter0;
  spec.parameter1 = parameter1;
  spec.role = operator_role(tag);
  Symbol const* s = make_symbol(spec);
  if (tag < 64) operators_ |= std::uint64_t{1} << tag;
  operator_symbols_.emplace(h, s);
  return recent = s;
}

// ---- terms ----

Term_ const* TermManager::at(std::uint32_t place) const {
  std::uint64_t const p = place - 1;
  return reinterpret_cast<Term_ const*>(chunks_[p >> chunk_bits] + (p & (chunk_words - 1)) * 8);
}

template <typename Same>
TermManager::Slot& TermManager::find_slot(std::uint32_t hash, std::uint64_t near, Same same) {
  std::uint64_t const mask = table_.size() - 1;
  auto const ends = [&](Slot const& s) { return s.place == 0 || (s.hash == hash && same(at(s.place))); };
  near += hash % near_slots;
  for (std::uint64_t i = near; i < near + near_slots; ++i)
    if (ends(table_[i & mask])) return table_[i & mask];
  std::uint64_t i = (hash * std::uint64_t{0x9e3779b97f4a7c15u}) >> 24 & mask;
  while (!ends(table_[i])) i = (i + 1) & mask;
  return table_[i];
}

void TermManager::reserve_terms(std::uint64_t terms) {
  constexpr std::uint64_t most = std::uint64_t{1} << 23;  // slots; a table that needs more grows
  std::uint64_t const slots = std::bit_ceil(std::min(terms + terms / 2, most));
  if (slots > table_.size()) resize_term_table(slots);
}

void TermManager::resize_term_table(std::size_t slots) {
  ZeroedArray<Slot> old(slots);
  old.swap(table_);
  for (Slot const& s : old) {
    if (s.place == 0) continue;
    Term_ const* t = at(s.place);
    find_slot(s.hash, near_slot(t->symbol, t->children, t->symbol->arity),
              [](Term_ const*) { return false; }) = s;
  }
}

// Room for `words` words in one piece; the place is kept in next_place_.
void TermManager::reserve_words(std::uint64_t words) {
  if (next_place_ + words <= chunk_end_place_) return;
  std::uint64_t const spans =
      (words + chunk_words - 1) >> chunk_bits;  // above 1 only for terms of huge arity
  std::uint64_t const start = chunks_.size() << chunk_bits;
  if (start + (spans << chunk_bits) >= max_places) throw Exception("too many terms");
  // A manager of few terms does with little memory; one of many is read in large pages.
  std::uint64_t const bytes = (spans << chunk_bits) * 8;
  char* memory =
      chunks_.empty() ? static_cast<char*>(std::malloc(bytes)) : HugePageAllocator<char>().allocate(bytes);
  if (memory == nullptr) throw std::bad_alloc();
  chunks_.push_back(memory);
  // A long chunk holds the one term it was made for: a term is found by its first word, and only the first
  // span of the chunk is known by its place, so nothing may start in what is left of the last one.
  for (std::uint64_t i = 1; i < spans; ++i) chunks_.push_back(nullptr);
  next_place_ = start;
  chunk_end_place_ = start + (spans > 1 ? words : chunk_words);
}

Term_ const* TermManager::mk_term(Symbol const* symbol, std::span<Term_ const* const> children) {
  assert(symbol != nullptr && children.size() == symbol->arity);
  assert(std::all_of(children.begin(), children.end(),
                     [this](Term_ const* c) { return c != nullptr && c->id <= term_count_; }));
  std::uint64_t const n = symbol->arity;
  std::uint32_t const h = term_hash(symbol, children.data(), n);
  Slot& slot = find_slot(h, near_slot(symbol, children.data(), n), [&](Term_ const* t) {
    return t->symbol == symbol && std::equal(children.begin(), children.begin() + n, t->children);
  });
  if (slot.place != 0) return at(slot.place);

  reserve_words(2 + n);
  std::uint64_t const place = next_place_;
  Term_* t = const_cast<Term_*>(at(static_cast<std::uint32_t>(place + 1)));
  t->id = ++term_count_;
  t->symbol = symbol;
  std::copy_n(children.data(), n, t->children);
  next_place_ += 2 + n;
  slot = Slot{h, static_cast<std::uint32_t>(place + 1)};
  if (term_count_ * 3 > table_.size() * 2) resize_term_table(table_.size() * 2);
  return t;
}

Term_ const* TermManager::mk_variable(std::string_view name, Type const* type) {
  SymbolSpec spec;
  spec.name = name;
  spec.output_type = type;
  spec.role = Symbol::Role::uninterpreted;
  return mk_term(make_symbol(spec));
}

Term_ const* TermManager::mk_number(QNumber const& value, Type const* type) {
  std::uint32_t const h =
      static_cast<std::uint32_t>(mix(value.hash(), reinterpret_cast<std::uintptr_t>(type)) >> 16);
  std::uint64_t i = h & (numerals_.size() - 1);
  for (; numerals_[i].place != 0; i = (i + 1) & (numerals_.size() - 1)) {
    if (numerals_[i].hash != h) continue;
    Term_ const* t = at(numerals_[i].place);
    Symbol const* s = t->symbol;
    if (s->output_type_ == type && s->number_->is_big() == value.is_big() && *s->number_ == value) return t;
  }
  SymbolSpec spec;
  std::string name = value.to_str();
  std::uint64_t width = 0;
  if (is_bv_type(type, &width)) name = "(_ bv" + name + " " + std::to_string(width) + ")";
  spec.name = name;
  spec.output_type = type;
  spec.role = Symbol::Role::number;
  spec.number = &value;
  Term_ const* t = mk_term(make_symbol(spec));
  numerals_[i] = {h, static_cast<std::uint32_t>(next_place_ - 2 + 1)};  // the term just made, of two words
  if (++numeral_count_ * 2 > numerals_.size()) {
    std::vector<Slot> old(numerals_.size() * 2, Slot{0, 0});
    old.swap(numerals_);
    for (Slot const& s : old) {
      if (s.place == 0) continue;
      for (i = s.hash & (numerals_.size() - 1); numerals_[i].place != 0;
           i = (i + 1) & (numerals_.size() - 1)) {
      }
      numerals_[i] = s;
    }
  }
  return t;
}

Term_ const* TermManager::mk_bv(std::uint64_t value, std::uint64_t width) {
  assert(width >= 64 || value >> width == 0);
  if (width < 64) value &= (std::uint64_t{1} << width) - 1;
  return mk_number(QNumber::from_words(&value, 1), bv_type(width));
}

Term_ const* TermManager::mk_bool(bool value) {
  Term_ const*& t = value ? true_ : false_;
  if (t == nullptr)
    t = mk_term(operator_symbol(value ? SymbolTag::bool_true : SymbolTag::bool_false, 0, bool_type));
  return t;
}

Term_ const* TermManager::mk_rounding_mode(Symbol::Role role) {
  static constexpr char const* names[] = {"roundNearestTiesToEven", "roundTowardZero", "roundTowardPositive",
                                          "roundTowardNegative", "roundNearestTiesToAway"};
  auto const i = static_cast<std::size_t>(role) - static_cast<std::size_t>(Symbol::Role::rounding_even);
  assert(i < std::size(names));
  if (rounding_modes_[i] == nullptr) {
    SymbolSpec spec;
    spec.name = names[i];
    spec.output_type = rounding_mode_type;
    spec.role = role;
    rounding_modes_[i] = mk_term(make_symbol(spec));
  }
  return rounding_modes_[i];
}

std::uint64_t TermManager::bytes_reserved() const {
  return symbol_arena_.bytes_reserved() + (table_.size() + numerals_.capacity()) * sizeof(Slot) +
         chunks_.size() * chunk_words * 8;
}

}  // namespace vell
