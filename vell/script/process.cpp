#include "vell/script/process.h"

#include "vell/replay/replay.h"
#include "vell/run/cleanup.h"
#include "vell/run/shortage.h"
#include "vell/run/statistics.h"
#include "vell/script/border.h"

namespace vell::script {

void prepare_for_shortage() { run::prepare_for_shortage(); }
void discard_temporaries() { run::cleanup::discard_all(); }
std::uint64_t present_memory() { return run::present_memory(); }

void replay(std::string const& name, std::istream& in, std::ostream& out) {
  across_border([&] { vell::replay::Replay(name, out).run(in); });
}

}  // namespace vell::script
