#pragma once

namespace vell::bench {

// Machine, compiler and revision, above every table.
void print_heading();

// Each prints a table and returns the exit code.
int floor_table();
int scale_table();

}  // namespace vell::bench
