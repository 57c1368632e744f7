#pragma once

// What must not outlive the process, however it ends: temporary files and folders, child processes.
//
// Each is made and remembered in one step, so that a thread that ends the process while another works misses nothing.
//
// Tested by tests/engine/leftovers_test.cpp.

#include <sys/types.h>

#include <functional>
#include <string>

namespace vell::engine::leftovers {

// A new file, open for writing, -1 with errno set where it cannot be made; a new folder, false likewise. name ends in
// XXXXXX, which is replaced.
int make_file(std::string& name);
bool make_folder(std::string& name);
// Gives a file that make_file() made its lasting name; false with errno set when that fails.
bool keep_file(std::string const& name, std::string const& as);
// Remove and forget it, a folder with everything in it.
void remove_file(std::string const& name);
void remove_folder(std::string const& name);

// `start` starts a child that leads a process group of its own, and answers its id, 0 when it failed. forget_group()
// when the child is waited for.
pid_t start_group(std::function<pid_t()> const& start);
void forget_group(pid_t group);

// Kills every group and removes every file and folder, from any thread. The process is about to end: who calls any of
// these functions from now on waits for that.
void discard_all();

}  // namespace vell::engine::leftovers
