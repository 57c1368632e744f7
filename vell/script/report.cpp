#include "vell/script/report.h"

#include <nlohmann/json.hpp>

#include "vell/io/digest.h"
#include "vell/io/outputfile.h"
#include "vell/io/samefile.h"
#include "vell/report/profilejson.h"
#include "vell/report/profilepage.h"
#include "vell/report/tables.h"
#include "vell/script/border.h"
#include "vell/script/controlparts.h"

namespace vell::script {

namespace {

report::Profile measured(std::string const& script, ProfileOptions const& options, ControlOrOwn const& work) {
  cnf::CnfOptions inner;
  inner.input = script;
  inner.query = options.query;
  inner.free_division = options.free_division;
  inner.tunables = tunables_of(options);
  inner.passes = passes_of(options);
  inner.logger = options.logger;
  return report::measure(inner, work.limits(), work.statistics());
}

void write(std::string const& output, std::string const& text) {
  io::OutputFile file(output);
  file.write(text.data(), text.size());
  file.commit();
}

}  // namespace

std::string profile(std::string const& script, ProfileOptions const& options, Control* control) {
  return across_border([&] {
    ControlOrOwn const work(control);
    nlohmann::ordered_json other;
    if (!options.against.empty()) other = report::read_profile(options.against);
    report::Profile const profile = measured(script, options, work);
    work.statistics().enter(run::Phase::writing);
    std::string const text =
        options.json ? report::json_text(report::to_json(profile, options.top, work.limits()))
        : options.against.empty()
            ? report::tables(profile, options.top, work.limits())
            : report::difference(other, report::to_json(profile, 0, work.limits()), options.top);
    work.limits().check();
    return text;
  });
}

void write_profile(std::string const& script, std::string const& output, ProfileOptions const& options,
                   Control* control) {
  across_border([&] {
    for (std::string const& input : {script, options.against})
      if (!input.empty()) io::refuse_same_file(output, input);
    write(output, profile(script, options, control));
  });
}

void write_profile_page(std::string const& script, std::string const& output, ProfileOptions const& options,
                        Control* control) {
  across_border([&] {
    ControlOrOwn const work(control);
    io::refuse_same_file(output, script);
    std::string const text = io::whole_input(script);
    report::Profile const profile = measured(script, options, work);
    work.statistics().enter(run::Phase::writing);
    std::string const page = report::profile_page(profile, text, work.limits());
    work.limits().check();
    write(output, page);
  });
}

}  // namespace vell::script
