#include "vell/report/pages.h"

#include <nlohmann/json.hpp>

namespace vell::report {

namespace {

std::string escaped(std::string_view text) {
  std::string out;
  for (char const c : text) {
    switch (c) {
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      case '&': out += "&amp;"; break;
      case '"': out += "&quot;"; break;
      default: out += c;
    }
  }
  return out;
}

}  // namespace

std::string safe_json(nlohmann::ordered_json const& data) {
  using Json = nlohmann::ordered_json;
  std::string const plain = data.dump(-1, ' ', false, Json::error_handler_t::replace);
  std::string out;
  out.reserve(plain.size() + plain.size() / 16);
  // These characters stand in strings only, where they can be written by number.
  for (char const c : plain) {
    switch (c) {
      case '<': out += "\\u003c"; break;
      case '>': out += "\\u003e"; break;
      case '&': out += "\\u0026"; break;
      default: out += c;
    }
  }
  return out;
}

std::string filled_page(std::string_view page, std::string_view title, nlohmann::ordered_json const& data,
                        std::string_view svg) {
  std::string out;
  std::string const title_text = escaped(title);
  std::string const data_text = safe_json(data);
  std::pair<std::string_view, std::string_view> const marks[] = {
      {"@TITLE@", title_text}, {"@DATA@", data_text}, {"@SVG@", svg}};
  while (!page.empty()) {
    std::size_t const at = page.find('@');
    out += page.substr(0, at);
    if (at == std::string_view::npos) break;
    page.remove_prefix(at);
    bool found = false;
    for (auto const& [mark, text] : marks)
      if (!found && page.starts_with(mark)) {
        out += text;
        page.remove_prefix(mark.size());
        found = true;
      }
    if (found) continue;
    out += '@';
    page.remove_prefix(1);
  }
  return out;
}

}  // namespace vell::report
