#include "vell/report/pages.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace vell::report {
namespace {

TEST(Pages, DataCannotEndItsElement) {
  std::string const text = safe_json({{"a", "</script><!-- & \xff"}});
  EXPECT_EQ("{\"a\":\"\\u003c/script\\u003e\\u003c!-- \\u0026 \xef\xbf\xbd\"}", text);
  EXPECT_EQ("</script><!-- & \xef\xbf\xbd", nlohmann::json::parse(text)["a"].get<std::string>());
}

TEST(Pages, MarksAreReplacedOnce) {
  EXPECT_EQ("a@b <t>&lt;@DATA@&quot;</t> \"@SVG@@TITLE@\" <svg/> @X@",
            filled_page("a@b <t>@TITLE@</t> @DATA@ @SVG@ @X@", "<@DATA@\"", "@SVG@@TITLE@", "<svg/>"));
}

TEST(Pages, TemplatesAreWhole) {
  for (std::string_view page : {profile_template(), circuit_template()}) {
    EXPECT_EQ(0u, page.find("<!DOCTYPE html>"));
    EXPECT_NE(std::string_view::npos, page.find("@DATA@"));
    EXPECT_EQ(std::string_view::npos, page.find("@STYLE@"));
    EXPECT_EQ(std::string_view::npos, page.find("@SCRIPT@"));
    EXPECT_NE(std::string_view::npos, page.find("default-src 'none'"));
    EXPECT_EQ(std::string_view::npos, page.find("http:"));
    EXPECT_EQ(std::string_view::npos, page.find("https:"));
    EXPECT_EQ("</html>\n", page.substr(page.size() - 8));
  }
}

}  // namespace
}  // namespace vell::report
