#include "tests/generate/scriptwriter.h"

#include <algorithm>

namespace vell::generate {

ScriptWriter::ScriptWriter(std::uint64_t seed) : random_(seed) {
  // Words are short mostly; some scripts have a few of up to 70 bits, past the machine word.
  max_width_ = random_.percent(70)   ? static_cast<unsigned>(random_.between(1, 8))
               : random_.percent(70) ? 12
                                     : 70;
  commands_ = static_cast<unsigned>(random_.between(4, 40));
  budget_ = 6000;
  if (random_.below(40) == 0) {  // many cheap terms: the table grows, and grows again
    commands_ = static_cast<unsigned>(random_.between(80, 260));
    max_width_ = std::min(max_width_, 4u);
  }
  null_config_ = random_.percent(8);
  hooks_ = random_.percent(25);
  if (hooks_) max_width_ = std::min(max_width_, 10u);  // any word operator may become a multiplication
  floating_ = random_.percent(30);
  atoms_ = random_.percent(40);
  circuits_ = random_.percent(35);
  calls_ = random_.percent(45);
  backtracking_ = random_.percent(60);
  imposing_ = random_.percent(40);
  unsupported_ = random_.percent(25);
  small_literals_ = random_.percent(30);
  zero_literals_ = random_.percent(8);
  empty_words_ = !hooks_ && random_.percent(8);
  termination_ = random_.percent(30);
  numbering_ = random_.percent(20);
}

Script ScriptWriter::write() {
  if (null_config_) emit("config null");
  if (random_.percent(60)) emit("verbosity " + std::to_string(random_.pick({0, 1, 2, 3, 3, 4, 5, 6})));
  if (!null_config_ && random_.percent(30)) emit("config div 1");
  leaf(word_sort(random_width()));
  for (unsigned i = 0; i < commands_; ++i) {
    compound();
    if (random_.percent(15)) compound();
    command();
  }
  // What is left at the end can be seen.
  emit("dumptrail");
  if (random_.percent(50)) emit("dumpcache");
  emit("dumptable");
  emit("dumppools");
  return std::move(script_);
}

}  // namespace vell::generate
