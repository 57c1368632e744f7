#pragma once

// What must not outlive the process, however it ends: temporary files and folders, child processes.
//
// Each is made and remembered in one step, so that a thread that ends the process while another works misses
// nothing.
//
// Tested by tests/run/cleanup_test.cpp.

#include <sys/types.h>

#include <functional>
#include <string>

namespace vell::run::cleanup {

// A new file, open for writing, -1 with errno set where it cannot be made. name ends in XXXXXX, which is
// replaced. Throws std::bad_alloc, and then there is no file.
int make_file(std::string& name);
// A new folder in `base`, whose name begins with `prefix` and tells which process it belongs to; false with
// errno set where it cannot be made. Folders of that prefix whose processes were killed are removed first.
// Throws std::bad_alloc.
bool make_folder(std::string const& base, std::string const& prefix, std::string& name);
// Gives a file that make_file() made its final name; false with errno set when that fails.
bool keep_file(std::string const& name, std::string const& as);
// Remove and forget it, a folder with everything in it.
void remove_file(std::string const& name);
void remove_folder(std::string const& name);

// `start` starts a child that leads a process group of its own, and answers its id, 0 when it failed.
// forget_group() when the child is waited for. Throws std::bad_alloc before anything is started.
pid_t start_group(std::function<pid_t()> const& start);
void forget_group(pid_t group);

// Kills every group and removes every file and folder, from any thread, without allocating. The process is
// about to end: who calls any of these functions from now on waits for that.
void discard_all();

}  // namespace vell::run::cleanup
