#include "vell/cnf/mapline.h"

#include <cstdlib>

#include "vell/terms/exception.h"
#include "vell/terms/operators.h"

namespace vell::cnf {

std::string bits_text(bv::BvLitList const* bits, std::uint64_t width, sinks::DimacsSink::Form form) {
  std::string out;
  for (std::uint64_t i = 0; i < width; ++i) {
    bv::BvLit const l = bits == nullptr ? bv::l_undef : (*bits)[i];
    if (l == bv::l_undef)
      out += " ?";
    else if (bv::is_constant(l))
      out += l == bv::l_true ? " T" : " F";
    else
      out += (l < 0 ? " -" : " ") + std::to_string(sinks::DimacsSink::variable(std::abs(l), form));
  }
  return out;
}

namespace {

// Line breaks, which only a quoted symbol can hold, as \n and \r; no backslash can stand there.
std::string escaped(std::string const& text) {
  std::string out;
  out.reserve(text.size());
  for (char c : text) {
    if (c == '\n')
      out += "\\n";
    else if (c == '\r')
      out += "\\r";
    else
      out += c;
  }
  return out;
}

}  // namespace

std::string map_line(std::string const& symbol, Term_ const* term, bv::BvLitList const* bits,
                     std::uint64_t width, sinks::DimacsSink::Form form) {
  return "map " + escaped(symbol) + " " + sort_text(term->symbol->get_output_type()) +
         bits_text(bits, width, form);
}

std::string def_line(std::string const& symbol, Term_ const* term, std::string const& value) {
  return "def " + escaped(symbol) + " " + sort_text(term->symbol->get_output_type()) + " " + escaped(value);
}

namespace {

// Takes one word, one quoted symbol or one list in parentheses from the front of the line.
std::string_view take(std::string_view& line) {
  while (!line.empty() && line[0] == ' ') line.remove_prefix(1);
  std::size_t end = 0;
  if (!line.empty() && line[0] == '|') {
    end = line.find('|', 1);
    end = end == std::string_view::npos ? line.size() : end + 1;
  } else if (!line.empty() && line[0] == '(') {
    end = line.find(')');
    end = end == std::string_view::npos ? line.size() : end + 1;
  } else {
    end = std::min(line.find(' '), line.size());
  }
  std::string_view const piece = line.substr(0, end);
  line.remove_prefix(end);
  return piece;
}

std::string unescaped(std::string_view text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    bool const escape = text[i] == '\\' && i + 1 < text.size();
    if (escape)
      out += text[++i] == 'n' ? '\n' : '\r';
    else
      out += text[i];
  }
  return out;
}

bool is_bit(std::string_view b) {
  if (b == "T" || b == "F" || b == "?") return true;
  if (b.starts_with('-')) b.remove_prefix(1);
  return !b.empty() && b.size() <= 10 && b.find_first_not_of("0123456789") == std::string_view::npos &&
         b[0] != '0';
}

}  // namespace

std::optional<MapLine> parse_map_line(std::string_view line) {
  if (!line.starts_with("c map ")) return std::nullopt;
  std::string_view rest = line.substr(6);
  MapLine out;
  out.symbol = unescaped(take(rest));
  out.sort = take(rest);
  for (std::string_view bit = take(rest); !bit.empty(); bit = take(rest)) {
    if (!is_bit(bit)) throw Exception("no bit in a map line: " + std::string(bit));
    out.bits.emplace_back(bit);
  }
  if (out.symbol.empty() || out.sort.empty()) throw Exception("broken map line: " + std::string(line));
  return out;
}

std::optional<DefLine> parse_def_line(std::string_view line) {
  if (!line.starts_with("c def ")) return std::nullopt;
  std::string_view rest = line.substr(6);
  DefLine out;
  out.symbol = unescaped(take(rest));
  out.sort = take(rest);
  if (rest.starts_with(' ')) rest.remove_prefix(1);
  out.term = unescaped(rest);
  if (out.symbol.empty() || out.sort.empty() || out.term.empty())
    throw Exception("broken def line: " + std::string(line.substr(0, 80)));
  return out;
}

}  // namespace vell::cnf
