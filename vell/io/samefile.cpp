#include "vell/io/samefile.h"

#include <sys/stat.h>
#include <unistd.h>

#include "vell/io/outputfile.h"

namespace vell::io {

namespace {

bool regular_file(std::string const& path, int standard, struct stat& info) {
  int const failed = path == "-" ? fstat(standard, &info) : stat(path.c_str(), &info);
  return failed == 0 && S_ISREG(info.st_mode);
}

}  // namespace

bool same_file(std::string const& output, std::string const& input) {
  struct stat a {};
  struct stat b {};
  return regular_file(output, STDOUT_FILENO, a) && regular_file(input, STDIN_FILENO, b) &&
         a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

void refuse_same_file(std::string const& output, std::string const& input) {
  if (same_file(output, input))
    throw OutputError((output == "-" ? "<stdout>" : output) + ": it is the input as well");
}

}  // namespace vell::io
