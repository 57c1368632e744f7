#include "vell/cubes/verdict.h"

#include <sys/stat.h>

#include <cerrno>
#include <charconv>
#include <fstream>
#include <iterator>
#include <string_view>

#include "vell/io/digest.h"
#include "vell/io/outputfile.h"
#include "vell/terms/exception.h"

namespace vell::cubes {

namespace {

constexpr std::size_t values_per_line = 16;
constexpr char end_line[] = "c end ";

std::string head(Manifest const& manifest, std::size_t k) {
  return "c vell-bv verdict\nc cube " + std::to_string(k) + "\nc manifest " + manifest.hash + "\nc cnf " +
         manifest.cnf_hash + "\n";
}

// Takes the text from the front; false where something else stands there.
bool take(std::string_view& text, std::string_view wanted) {
  if (!text.starts_with(wanted)) return false;
  text.remove_prefix(wanted.size());
  return true;
}

// The values of all variables, in v lines up to the end of the text.
bool take_values(std::string_view& text, std::int32_t variables, std::vector<std::int32_t>& values) {
  for (std::int32_t v = 1; v <= variables + 1; ++v) {
    take(text, "v");
    if (!take(text, " ")) return false;
    std::int32_t literal = 0;
    auto const [end, status] = std::from_chars(text.data(), text.data() + text.size(), literal);
    if (status != std::errc()) return false;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    take(text, "\n");
    if (v > variables) return literal == 0;
    if (literal != v && literal != -v) return false;
    values.push_back(literal);
  }
  return false;
}

}  // namespace

void write_verdict(Manifest const& manifest, std::size_t k, Verdict const& verdict) {
  std::string text = head(manifest, k);
  if (!verdict.proof_hash.empty())
    text += "c proof " + manifest.proof_name(k) + " " + verdict.proof_hash + "\n";
  text += verdict.sat ? "s SATISFIABLE\n" : "s UNSATISFIABLE\n";
  if (verdict.sat) {
    std::size_t on_line = 0;
    text += "v";
    for (std::int32_t l : verdict.values) {
      if (on_line++ == values_per_line) {
        text += "\nv";
        on_line = 1;
      }
      text += " " + std::to_string(l);
    }
    text += " 0\n";
  }
  text += end_line + io::text_digest(text) + "\n";
  io::OutputFile file(manifest.verdict(k));
  file.write(text.data(), text.size());
  file.commit();
}

std::optional<Verdict> read_verdict(Manifest const& manifest, std::size_t k) {
  std::string const path = manifest.verdict(k);
  struct stat info {};
  if (stat(path.c_str(), &info) != 0 && errno == ENOENT) return std::nullopt;
  auto const refuse = [&](std::string const& why) { throw Exception(path + ": " + why); };
  std::ifstream file(path, std::ios::binary);
  if (!file) refuse("cannot be read");
  std::string const whole{std::istreambuf_iterator<char>(file), {}};
  std::size_t const end = whole.rfind(end_line);
  if (end == std::string::npos || (end != 0 && whole[end - 1] != '\n') ||
      whole.substr(end) != end_line + io::text_digest(std::string_view(whole).substr(0, end)) + "\n")
    refuse("a verdict that is cut or changed");

  std::string_view text = std::string_view(whole).substr(0, end);
  if (!take(text, head(manifest, k))) refuse("the verdict of another run: other cubes, or another CNF");
  Verdict out;
  if (take(text, "c proof " + manifest.proof_name(k) + " ")) {
    out.proof_hash = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(text.size(), out.proof_hash.size() + 1));
  }
  out.sat = take(text, "s SATISFIABLE\n");
  bool const good =
      out.sat ? take_values(text, manifest.variables, out.values) : take(text, "s UNSATISFIABLE\n");
  if (!good || !text.empty()) refuse("no verdict");
  return out;
}

}  // namespace vell::cubes
