#include "other.h"

#include "vell/sinks/recordingsink.h"

std::unique_ptr<vell::bv::ClauseSink> make_sink() { return std::make_unique<vell::sinks::RecordingSink>(); }
bool made_here(vell::bv::ClauseSink const& sink) {
  return dynamic_cast<vell::sinks::RecordingSink const*>(&sink) != nullptr;
}
std::size_t clause_count(vell::bv::ClauseSink const& sink) {
  return dynamic_cast<vell::sinks::RecordingSink const&>(sink).clauses().size();
}
