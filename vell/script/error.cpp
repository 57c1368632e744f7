#include "vell/script/error.h"

#include "vell/script/border.h"

namespace vell::script {

Error::Error(std::string const& file, Position position, std::string const& message,
             std::string const& excerpt)
    : Exception(file + ":" + std::to_string(position.line) + ":" + std::to_string(position.column) + ": " +
                message),
      file_(file),
      position_(position),
      message_(message),
      excerpt_(excerpt) {}

// Here, so that there is one type information for all libraries and programs that throw and catch these.
Error::~Error() = default;

char const* reason_text(Reason reason) { return run::reason_text(to_internal(reason)); }

Stopped::Stopped(Reason reason) : Exception(reason_text(reason)), reason_(reason) {}
Stopped::~Stopped() = default;

}  // namespace vell::script
