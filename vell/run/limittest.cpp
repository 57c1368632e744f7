#include "vell/run/limittest.h"

namespace vell::run {

void LimitTest::operator()() const {
  limits_.check();
  ++statistics_.clausified_terms;
  if (statistics_.clausified_terms % 1024 == 0) observe_();
}

}  // namespace vell::run
