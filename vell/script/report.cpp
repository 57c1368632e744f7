#include "vell/script/report.h"

#include <nlohmann/json.hpp>

#include "vell/io/outputfile.h"
#include "vell/io/samefile.h"
#include "vell/report/profilejson.h"
#include "vell/report/tables.h"
#include "vell/script/border.h"
#include "vell/script/controlparts.h"

namespace vell::script {

std::string profile(std::string const& script, ProfileOptions const& options, Control* control) {
  return across_border([&] {
    ControlOrOwn const work(control);
    nlohmann::ordered_json other;
    if (!options.against.empty()) other = report::read_profile(options.against);
    cnf::CnfOptions inner;
    inner.input = script;
    inner.query = options.query;
    inner.free_division = options.free_division;
    inner.tunables = tunables_of(options);
    inner.passes = passes_of(options);
    inner.logger = options.logger;
    report::Profile const measured = report::measure(inner, work.limits(), work.statistics());
    work.statistics().enter(run::Phase::writing);
    std::string const text =
        options.json ? report::json_text(report::to_json(measured, options.top, work.limits()))
        : options.against.empty()
            ? report::tables(measured, options.top, work.limits())
            : report::difference(other, report::to_json(measured, 0, work.limits()), options.top);
    work.limits().check();
    return text;
  });
}

void write_profile(std::string const& script, std::string const& output, ProfileOptions const& options,
                   Control* control) {
  across_border([&] {
    for (std::string const& input : {script, options.against})
      if (!input.empty()) io::refuse_same_file(output, input);
    std::string const text = profile(script, options, control);
    io::OutputFile file(output);
    file.write(text.data(), text.size());
    file.commit();
  });
}

}  // namespace vell::script
