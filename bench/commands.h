#pragma once

namespace vell::bench {

// Machine, compiler and revision, above every table.
void print_heading();

// Processor time of this process, which a busy machine stretches less than the clock on the wall.
double processor_seconds();

// Each prints a table and returns the exit code.
int floor_table();
int stage_table();
int scale_table();

}  // namespace vell::bench
