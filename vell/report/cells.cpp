#include "vell/report/cells.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <span>
#include <sstream>

namespace vell::report {

namespace {

using Event = sinks::RecordingSink::Event;

// The clauses of a cell over names; x is the literal that it draws. As in docs/encodings.md, in this order.
struct Pattern {
  char const* kind;
  char const* inputs;
  char const* clauses;
};
constexpr Pattern equality_first = {"equal", "a b", "-a b -x|a -b -x|-a -b x|a b x"};
constexpr Pattern patterns[] = {
    {"and", "a b", "-a -b x|a -x|b -x"},
    {"or", "a b", "-a x|-b x|a b -x"},
    {"xor", "a b", "-a -b -x|a b -x|-a b x|a -b x"},
    {"ite", "c t e", "-c -t x|-c t -x|c -e x|c e -x"},
    {"sum", "a b c", "-a -b -c x|-a -b c -x|-a b -c -x|a -b -c -x|-a b c x|a -b c x|a b -c x|a b c -x"},
    {"carry", "a b c", "-a -b x|-a -c x|-b -c x|a b -x|a c -x|c b -x"},
    {"less or equal", "a b r", "-a -b -r x|-a -b r -x|-a b -x|a -b x|a b -r x|a b r -x"},
    {"less", "a b r", "a b r -x|a b -r x|a -b x|-a b -x|-a -b r -x|-a -b -r x"},
    {"signs", "a b c", "-a -b -c x|-a -b c -x|a b -c x|a b c -x|-a b x|a -b -x"},
    {"equal", "a b r", "-a b -x|a -b -x|r -x|-a -b -r x|a b -r x"},
};

// Binds the names of the pattern to literals; false where the clauses are others.
bool matches(Pattern const& pattern, bv::BvLit output, std::span<bv::BvLitList const> clauses,
             std::vector<Cell::Pin>& inputs) {
  std::map<char, bv::BvLit> bound{{'x', output}};
  std::size_t clause = 0;
  std::size_t literal = 0;
  for (char const* p = pattern.clauses;; ++p) {
    if (*p == ' ') continue;
    if (*p == '|' || *p == '\0') {
      if (clause == clauses.size() || literal != clauses[clause].size()) return false;
      ++clause;
      literal = 0;
      if (*p == '\0') break;
      continue;
    }
    bool const negative = *p == '-';
    if (negative) ++p;
    if (clause == clauses.size() || literal == clauses[clause].size()) return false;
    bv::BvLit const l = negative ? -clauses[clause][literal] : clauses[clause][literal];
    ++literal;
    if (bound.emplace(*p, l).first->second != l) return false;
  }
  if (clause != clauses.size()) return false;
  std::istringstream names(pattern.inputs);
  for (std::string name; names >> name;) inputs.push_back({name, bound.at(name[0])});
  return true;
}

Cell cell_of(bv::BvLit output, std::vector<bv::BvLitList> clauses, bool for_equality) {
  Cell cell;
  cell.outputs.push_back({"x", output});
  cell.clauses = std::move(clauses);
  if (cell.clauses.empty()) {
    cell.kind = "free";
    return cell;
  }
  if (for_equality && matches(equality_first, output, cell.clauses, cell.inputs)) {
    cell.kind = equality_first.kind;
    return cell;
  }
  for (Pattern const& p : patterns) {
    cell.inputs.clear();
    if (!matches(p, output, cell.clauses, cell.inputs)) continue;
    cell.kind = p.kind;
    return cell;
  }
  cell.kind = "gate";
  cell.inputs.clear();
  for (bv::BvLitList const& c : cell.clauses)
    for (bv::BvLit const l : c) {
      bv::BvLit const v = std::abs(l);
      bool const known = std::any_of(cell.inputs.begin(), cell.inputs.end(),
                                     [&](Cell::Pin const& pin) { return pin.literal == v; });
      if (v != output && !bv::is_constant(v) && !known) cell.inputs.push_back({"", v});
    }
  return cell;
}

bool same_inputs(Cell const& a, Cell const& b) {
  return std::equal(
      a.inputs.begin(), a.inputs.end(), b.inputs.begin(), b.inputs.end(),
      [](Cell::Pin const& x, Cell::Pin const& y) { return x.literal == y.literal && x.role == y.role; });
}

// A sum and the carry that follows it are one adder. Its sum is the negated exclusive or where a carry that
// is constantly true went in; the cell then says what its literal is.
bool merge(Cell& first, Cell& second) {
  if (!same_inputs(first, second)) return false;
  bool const full = first.kind == "sum" && second.kind == "carry";
  bool const half = first.kind == "xor" && second.kind == "and";
  bool const plus_one = first.kind == "xor" && second.kind == "or";
  if (!full && !half && !plus_one) return false;
  first.kind = full ? "full adder" : half ? "half adder" : "half adder + 1";
  first.outputs[0].role = plus_one ? "-sum" : "sum";
  first.outputs.push_back({"carry", second.outputs[0].literal});
  std::move(second.clauses.begin(), second.clauses.end(), std::back_inserter(first.clauses));
  return true;
}

}  // namespace

std::vector<Cell> cells_of(std::vector<Event> const& events, bool for_equality) {
  std::vector<Cell> cells;
  auto const add = [&](Cell cell) {
    if (cells.empty() || cells.back().outputs.size() != 1 || !merge(cells.back(), cell))
      cells.push_back(std::move(cell));
  };
  bv::BvLit output = bv::l_undef;
  std::vector<bv::BvLitList> clauses;
  auto const finish = [&] {
    if (output != bv::l_undef) add(cell_of(output, std::move(clauses), for_equality));
    clauses.clear();
  };
  for (Event const& e : events) {
    if (e.kind == Event::Kind::clause) clauses.push_back(e.clause);
    if (e.kind != Event::Kind::new_lit) continue;
    finish();
    output = e.literal;
  }
  finish();
  return cells;
}

bool cell_value(Cell const& cell, std::size_t output, std::vector<bool> const& values) {
  bv::BvLit const x = cell.outputs[output].literal;
  // x is true where a clause with x has no other true literal. A clause may speak of a later output; then it
  // does not speak of this one.
  for (bv::BvLitList const& clause : cell.clauses) {
    if (std::find(clause.begin(), clause.end(), x) == clause.end()) continue;
    bool const satisfied = std::any_of(clause.begin(), clause.end(), [&](bv::BvLit l) {
      if (l == x) return false;
      if (bv::is_constant(l)) return l == bv::l_true;
      return values[static_cast<std::size_t>(std::abs(l))] == (l > 0);
    });
    if (!satisfied) return true;
  }
  return false;
}

}  // namespace vell::report
