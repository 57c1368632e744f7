#pragma once

// A sink that is known here by its interface only.

#include <memory>

#include "vell/terms/clausesink.h"

std::unique_ptr<vell::bv::ClauseSink> make_sink();
bool made_here(vell::bv::ClauseSink const& sink);
std::size_t clause_count(vell::bv::ClauseSink const& sink);
