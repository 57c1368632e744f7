#pragma once

// HTML pages: a template of vell/report/page with its style and its script, filled with a title and data.
//
// Tested by tests/report/pages_test.cpp.

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>

namespace vell::report {

// Made of the files in vell/report/page when the program is built.
std::string_view profile_template();
std::string_view circuit_template();

// The template with its marks @TITLE@, @DATA@ and @SVG@ replaced, each as often as it stands there. The title
// and the data may hold any text: the title becomes text of HTML, and the data JSON that cannot end the
// script element around it. svg: goes in as it is.
std::string filled_page(std::string_view page, std::string_view title, nlohmann::ordered_json const& data,
                        std::string_view svg = {});

// The text of the data: JSON without line breaks, and without < and other characters that mean something in
// HTML.
std::string safe_json(nlohmann::ordered_json const& data);

}  // namespace vell::report
