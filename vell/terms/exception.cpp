#include "vell/terms/exception.h"

#ifdef VELL_ABORT_ON_EXCEPTION
#include <cstdio>
#include <cstdlib>
#endif

namespace vell {

char const* Exception::what() const noexcept {
  try {
    what_ = stream_.str();
    return what_.c_str();
  } catch (...) {
    return "out of memory";
  }
}

void Exception::dump_msg_and_raise_assertion() const {
#ifdef VELL_ABORT_ON_EXCEPTION
  std::fprintf(stderr, "vell: exception: %s\n", what());
  std::abort();
#endif
}

}  // namespace vell
