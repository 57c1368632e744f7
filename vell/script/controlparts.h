#pragma once

// What a Control is made of. Not installed.

#include <optional>

#include "vell/run/limits.h"
#include "vell/run/statistics.h"
#include "vell/script/control.h"

namespace vell::script {

struct Control::Parts {
  run::Limits limits;
  run::Statistics statistics;
};

// The control that was given, or one that nobody stops.
class ControlOrOwn {
 public:
  explicit ControlOrOwn(Control* control) : control_(control == nullptr ? &own_.emplace() : control) {}
  run::Limits& limits() const { return control_->parts().limits; }
  run::Statistics& statistics() const { return control_->parts().statistics; }

 private:
  std::optional<Control> own_;
  Control* control_;
};

}  // namespace vell::script
