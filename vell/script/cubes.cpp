#include "vell/script/cubes.h"

#include "vell/cubes/cubesolver.h"
#include "vell/cubes/cubewriter.h"
#include "vell/cubes/join.h"
#include "vell/script/border.h"
#include "vell/script/controlparts.h"

namespace vell::script {

std::size_t write_cubes(std::string const& script, std::string const& folder, CubeOptions const& options,
                        Control* control) {
  return across_border([&] {
    ControlOrOwn const work(control);
    cubes::CubeOptions inner;
    inner.cnf.input = script;
    inner.cnf.query = options.query;
    inner.cnf.free_division = options.free_division;
    inner.cnf.tunables = tunables_of(options);
    inner.cnf.passes = passes_of(options);
    inner.cnf.logger = options.logger;
    inner.folder = folder;
    inner.count = options.count;
    inner.split = options.lookahead ? cubes::Split::lookahead : cubes::Split::words;
    return cubes::write_cubes(inner, work.limits(), work.statistics());
  });
}

Answer solve_cube(std::string const& folder, std::size_t cube, CubeSolverOptions const& options,
                  Control* control) {
  return across_border([&] {
    ControlOrOwn const work(control);
    cubes::CubeSolverOptions inner;
    inner.folder = folder;
    inner.cube = cube;
    inner.seed = options.seed;
    inner.command = options.command;
    inner.ipasir = options.ipasir;
    inner.proof = options.proof;
    inner.conflict_limit = options.conflict_limit;
    return cubes::solve_cube(inner, work.limits(), work.statistics());
  });
}

JoinedCubes join_cubes(std::string const& folder, std::string const& proof, WordFormat format,
                       Control* control) {
  return across_border([&] {
    ControlOrOwn const work(control);
    cubes::Joined const joined = cubes::join({folder, proof, to_internal(format)}, work.limits());
    return JoinedCubes{joined.answer,         joined.model, cubes::ranges_text(joined.missing),
                       joined.missing.size(), joined.cubes, joined.refused};
  });
}

}  // namespace vell::script
