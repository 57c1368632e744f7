#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace vell::test {

// A folder that lives as long as the object.
class Scratch {
 public:
  Scratch() {
    std::string name = testing::TempDir() + "/vell-XXXXXX";
    path_ = mkdtemp(name.data());
  }
  ~Scratch() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  Scratch(Scratch const&) = delete;
  Scratch& operator=(Scratch const&) = delete;

  std::string file(std::string const& name) const { return path_ + "/" + name; }
  std::string write(std::string const& name, std::string const& text) const {
    std::ofstream(file(name), std::ios::binary) << text;
    return file(name);
  }
  std::string read(std::string const& name) const {
    std::ifstream in(file(name), std::ios::binary);
    std::ostringstream out;
    out << in.rdbuf();
    return out.str();
  }
  // Number of files in the folder.
  std::size_t files() const {
    auto const all = std::filesystem::directory_iterator(path_);
    return static_cast<std::size_t>(std::distance(begin(all), end(all)));
  }

 private:
  std::string path_;
};

}  // namespace vell::test
